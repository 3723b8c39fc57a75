#include "xml/DALinkEvXmlData.h"

#include "tests/support/log_records.h"
#include "tests/support/sample_documents.h"
#include "tests/support/temp_dir.h"
#include "tests/xml/documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::IsEmpty;

IMS_DA_PROXY_INFO proxy(const char* address, const char* kind, int port)
{
    IMS_DA_PROXY_INFO p;
    p.address = address;
    p.kind = kind;
    p.port = port;
    return p;
}

const char* const PROFILE_TEXT =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<link-info>\n"
    "  <profile-info>\n"
    "    <name>internet</name>\n"
    "    <kiv-profile-id>3</kiv-profile-id>\n"
    "    <link-reference>17</link-reference>\n"
    "    <network>\n"
    "      <access-network>IEEE</access-network>\n"
    "      <IEEE>\n"
    "        <access-type>IEEE-802.11g</access-type>\n"
    "        <AP>00:11:22:33:44:55</AP>\n"
    "      </IEEE>\n"
    "      <proxy-list>192.0.2.1:pcscf:5060;proxy.example.com:backup:5061</proxy-list>\n"
    "    </network>\n"
    "    <device>\n"
    "      <name>wlan0</name>\n"
    "      <ue-mac>02:00:00:00:00:01</ue-mac>\n"
    "      <ip-address>192.0.2.7</ip-address>\n"
    "      <status>up</status>\n"
    "      <cause>carrier</cause>\n"
    "    </device>\n"
    "  </profile-info>\n"
    "</link-info>\n";

const char* const COVERAGE_TEXT = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<link-info>\n"
                                  "  <network-coverage>\n"
                                  "    <_3gpp>\n"
                                  "      <access-type>3GPP-UTRAN-FDD</access-type>\n"
                                  "      <hplmn>26201</hplmn>\n"
                                  "      <utran-cell-id-3gpp>C1A2</utran-cell-id-3gpp>\n"
                                  "    </_3gpp>\n"
                                  "  </network-coverage>\n"
                                  "</link-info>\n";

const char* const EMPTY_TEXT = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                               "<link-info>\n"
                               "  <profile-info>\n"
                               "    <name/>\n"
                               "    <kiv-profile-id>0</kiv-profile-id>\n"
                               "    <link-reference>0</link-reference>\n"
                               "    <network>\n"
                               "      <access-network/>\n"
                               "      <IEEE>\n"
                               "        <access-type/>\n"
                               "        <AP/>\n"
                               "      </IEEE>\n"
                               "      <proxy-list/>\n"
                               "    </network>\n"
                               "    <device>\n"
                               "      <name/>\n"
                               "      <ue-mac/>\n"
                               "      <ip-address/>\n"
                               "      <status/>\n"
                               "      <cause/>\n"
                               "    </device>\n"
                               "  </profile-info>\n"
                               "</link-info>\n";

TEST(ALinkEvent, StartsEmptyWithZeroNumbers)
{
    DALinkEvXmlData d;
    EXPECT_EQ(d.profile_id, 0);
    EXPECT_EQ(d.link_reference, 0);
    EXPECT_THAT(d.proxy_list, IsEmpty());
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), EMPTY_TEXT);
}

TEST(ALinkEvent, IsWrittenInTheProfileForm)
{
    DALinkEvXmlData d;
    samples::fill(d);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), PROFILE_TEXT);
}

TEST(ALinkEvent, IsWrittenInTheCoverageFormAloneWhateverElseItHolds)
{
    DALinkEvXmlData d;
    samples::fill(d);
    samples::fill_coverage(d);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), COVERAGE_TEXT);
}

TEST(ALinkEvent, ChoosesItsFormByTheCoverageAccessTypeAlone)
{
    DALinkEvXmlData d;
    samples::fill(d);
    samples::fill_coverage(d);
    d.coverage.access_type.clear();
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), PROFILE_TEXT);
}

TEST(ALinkEvent, LogsSizeAndPlaceOfWhatItWrote)
{
    LogRecords log;
    DALinkEvXmlData d;
    ASSERT_EQ(d.encodeXml(), 0);
    const std::string wrote =
        "Buff size = " + std::to_string(d.buffer_length) + " ptr: " + pointer(d.encoded_buffer);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "encodeXml", wrote}}));
}

TEST(ALinkEvent, InTheProfileFormIsReadBackButForTheIeeeAccessType)
{
    DALinkEvXmlData sent;
    samples::fill(sent);
    ASSERT_EQ(sent.encodeXml(), 0);
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, encoded(sent)), 0);
    EXPECT_EQ(d.name, "internet");
    EXPECT_EQ(d.profile_id, 3);
    EXPECT_EQ(d.link_reference, 17);
    EXPECT_EQ(d.access_network, "IEEE");
    EXPECT_EQ(d.coverage.access_type, "IEEE-802.11g");
    EXPECT_EQ(d.coverage.hplmn, "");
    EXPECT_EQ(d.coverage.utran_cell_id, "");
    EXPECT_EQ(d.ieee.access_type, "");
    EXPECT_EQ(d.ieee.ap, "00:11:22:33:44:55");
    EXPECT_EQ(d.device.name, "wlan0");
    EXPECT_EQ(d.device.ue_mac, "02:00:00:00:00:01");
    EXPECT_EQ(d.device.ip_address, "192.0.2.7");
    EXPECT_EQ(d.device.status, "up");
    EXPECT_EQ(d.device.cause, "carrier");
    ASSERT_EQ(d.proxy_list.size(), 2u);
    EXPECT_EQ(d.proxy_list[1].address, "proxy.example.com");
    EXPECT_EQ(d.proxy_list[1].kind, "backup");
    EXPECT_EQ(d.proxy_list[1].port, 5061);
}

TEST(ALinkEvent, ReadBackFromTheProfileFormWouldBeSentInTheCoverageForm)
{
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, PROFILE_TEXT), 0);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_NE(encoded(d).find("<access-type>IEEE-802.11g</access-type>"), std::string::npos);
    EXPECT_EQ(encoded(d).find("profile-info"), std::string::npos);
}

TEST(ALinkEvent, InTheCoverageFormRestoresTheCoverageRecordOnly)
{
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, COVERAGE_TEXT), 0);
    EXPECT_EQ(d.coverage.access_type, "3GPP-UTRAN-FDD");
    EXPECT_EQ(d.coverage.hplmn, "26201");
    EXPECT_EQ(d.coverage.utran_cell_id, "C1A2");
    d.coverage = THREEGPP_INFO_T();
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), EMPTY_TEXT);
}

TEST(ALinkEvent, IsReadFromItsOwnBuffer)
{
    DALinkEvXmlData d;
    samples::fill_coverage(d);
    ASSERT_EQ(d.encodeXml(), 0);
    d.coverage = THREEGPP_INFO_T();
    ASSERT_EQ(d.parseXml(), 0);
    EXPECT_EQ(d.coverage.hplmn, "26201");
}

TEST(ALinkEvent, ReadsItsFieldsInOrder)
{
    LogRecords log;
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, "<link-info/>"), 0);
    std::vector<LogRecord> lines;
    for (const char* expression :
         {"//name", "//kiv-profile-id", "//link-reference", "//access-network", "//access-type", "//hplmn",
          "//utran-cell-id-3gpp", "//AP", "//device/name", "//ue-mac", "//ip-address", "//status", "//cause",
          "//proxy-list"})
        lines.push_back({4, "get_value", std::string("xmlXPathNodeSetIsEmpty for ") + expression});
    EXPECT_EQ(log.of("get_value"), lines);
    EXPECT_EQ(log.all().size(), lines.size() + 1);
    EXPECT_EQ(log.all()[0].function, "parseXml");
}

TEST(ALinkEvent, KeepsNumbersThatAreAbsentOrEmpty)
{
    DALinkEvXmlData d;
    d.profile_id = 5;
    d.link_reference = 6;
    ASSERT_EQ(parse(d, "<link-info><kiv-profile-id/></link-info>"), 0);
    EXPECT_EQ(d.profile_id, 5);
    EXPECT_EQ(d.link_reference, 6);
    ASSERT_EQ(
        parse(
            d,
            "<link-info><kiv-profile-id>x</kiv-profile-id><link-reference>-9y</link-reference></link-info>"),
        0);
    EXPECT_EQ(d.profile_id, 0);
    EXPECT_EQ(d.link_reference, -9);
}

TEST(ALinkEvent, WithoutADeviceTakesTheFirstNameForItself)
{
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, "<link-info><device><name>eth0</name></device><name>late</name></link-info>"), 0);
    EXPECT_EQ(d.name, "eth0");
    EXPECT_EQ(d.device.name, "eth0");
}

TEST(ALinkEvent, WithAnEmptyProxyListHasNoProxiesAndNoLineAboutThem)
{
    LogRecords log;
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, EMPTY_TEXT), 0);
    EXPECT_THAT(d.proxy_list, IsEmpty());
    EXPECT_THAT(log.of("parse_proxy_list"), IsEmpty());
}

TEST(ALinkEvent, SkipsAMalformedProxyAndKeepsTheRest)
{
    LogRecords log;
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, "<link-info><proxy-list>a:x:1;bad;b:y:none</proxy-list></link-info>"), 0);
    ASSERT_EQ(d.proxy_list.size(), 2u);
    EXPECT_EQ(d.proxy_list[1].address, "b");
    EXPECT_EQ(d.proxy_list[1].port, 0);
    EXPECT_EQ(
        log.of("parse_proxy_list"),
        (std::vector<LogRecord>{{4, "parse_proxy_list", "Wrong number of elements in the proxy_list"}}));
}

TEST(ALinkEvent, ReadTwiceHasItsProxiesTwice)
{
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, PROFILE_TEXT), 0);
    ASSERT_EQ(parse(d, PROFILE_TEXT), 0);
    EXPECT_EQ(d.proxy_list.size(), 4u);
}

TEST(ALinkEvent, ReadsAProxyListFromAStringOfItsOwn)
{
    DALinkEvXmlData d;
    d.proxy_list = {proxy("a:x:1;b:y:2;c:z:3", "", 0)};
    d.parse_proxy_list(d.proxy_list[0].address);
    ASSERT_EQ(d.proxy_list.size(), 4u);
    EXPECT_EQ(d.proxy_list[3].kind, "z");
    d.name = "d:w:4";
    d.parse_proxy_list(d.name);
    EXPECT_EQ(d.proxy_list.size(), 5u);
}

TEST(ALinkEvent, OfANullBufferIsRefused)
{
    LogRecords log;
    DALinkEvXmlData d;
    d.name = "kept";
    EXPECT_EQ(d.parseXml(), -1);
    EXPECT_EQ(d.name, "kept");
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "parseXml", "inside parseXml (nil) 0"},
                                                 {4, "parseXml", "NULL buffer cannot be parsed"}}));
}

TEST(ALinkEvent, ThatIsNotWellFormedLeavesTheFields)
{
    DALinkEvXmlData d;
    d.name = "kept";
    EXPECT_EQ(parse(d, "<link-info><name>other</name>"), -1);
    EXPECT_EQ(d.name, "kept");
}

TEST(ALinkEvent, DoublyOwnedNamesAreWrittenAsTheyStand)
{
    DALinkEvXmlData d;
    d.name = "a&amp;b";
    d.device.status = "<up>";
    ASSERT_EQ(d.encodeXml(), 0);
    DALinkEvXmlData read;
    ASSERT_EQ(parse(read, encoded(d)), 0);
    EXPECT_EQ(read.name, "a&b");
    EXPECT_EQ(read.device.status, "<up>");
}

// Hostile texts.

TEST(AHostileLinkEvent, ReadsNoFileThroughAnExternalEntity)
{
    TempDir dir;
    const std::string secret = dir.write("secret", "top secret");
    DALinkEvXmlData d;
    parse(d, "<!DOCTYPE link-info [<!ENTITY e SYSTEM \"file://" + secret +
                 "\">]><link-info><name>&e;</name></link-info>");
    EXPECT_EQ(d.name, "");
    parse(d, "<!DOCTYPE link-info [<!ENTITY % e SYSTEM \"file://" + secret +
                 "\"> %e;]><link-info><name>x</name></link-info>");
    EXPECT_EQ(d.name, "x");
}

TEST(AHostileLinkEvent, OfNestedEntitiesIsRefused)
{
    std::string text = "<!DOCTYPE l [<!ENTITY a0 \"ha\">";
    for (int i = 1; i < 12; ++i) {
        const std::string before = "&a" + std::to_string(i - 1) + ";";
        std::string ten;
        for (int j = 0; j < 10; ++j)
            ten += before;
        text += "<!ENTITY a" + std::to_string(i) + " \"" + ten + "\">";
    }
    DALinkEvXmlData d;
    EXPECT_EQ(parse(d, text + "]><l><name>&a11;</name></l>"), -1);
    EXPECT_EQ(d.name, "");
}

// What one received body of 1024 bytes can grow to.
TEST(AHostileLinkEvent, OfABodysLengthExpandsToLessThan80Kilobytes)
{
    const std::string head = "<!DOCTYPE l [<!ENTITY a \"" + std::string(460, 'x') + "\">]><l><name>";
    const std::string tail = "</name></l>";
    std::string text = head;
    while (text.size() + tail.size() + 3 <= 1024)
        text += "&a;";
    DALinkEvXmlData d;
    EXPECT_EQ(parse(d, text + tail), 0);
    EXPECT_GT(d.name.size(), 60000u);
    EXPECT_LT(d.name.size(), 80000u);
}

TEST(AHostileLinkEvent, NestedTooDeeplyIsRefused)
{
    std::string open;
    std::string close;
    for (int i = 0; i < 300; ++i) {
        open += "<a>";
        close += "</a>";
    }
    DALinkEvXmlData d;
    EXPECT_EQ(parse(d, open + close), -1);
}

static_assert(std::is_base_of<XmlData, DALinkEvXmlData>::value, "");
static_assert(!std::is_copy_constructible<DALinkEvXmlData>::value, "");
static_assert(std::is_same<decltype(DALinkEvXmlData::profile_id), std::int32_t>::value, "");

} // namespace
