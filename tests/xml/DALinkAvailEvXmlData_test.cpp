#include "xml/DALinkAvailEvXmlData.h"

#include "tests/support/log_records.h"
#include "tests/support/sample_documents.h"
#include "tests/xml/documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

const char* const IEEE_TEXT = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<link-info>\n"
                              "  <network>\n"
                              "    <access-network>IEEE</access-network>\n"
                              "    <IEEE>\n"
                              "      <access-type>IEEE-802.11g</access-type>\n"
                              "      <AP>00:11:22:33:44:55</AP>\n"
                              "    </IEEE>\n"
                              "  </network>\n"
                              "</link-info>\n";

const char* const RADIO_TEXT = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                               "<link-info>\n"
                               "  <network>\n"
                               "    <access-network>3GPP</access-network>\n"
                               "    <3GPP>\n"
                               "      <access-type>3GPP-UTRAN-FDD</access-type>\n"
                               "      <hplmn>26201</hplmn>\n"
                               "      <utran-cell-id-3gpp>C1A2</utran-cell-id-3gpp>\n"
                               "    </3GPP>\n"
                               "  </network>\n"
                               "</link-info>\n";

TEST(ALinkAvailability, StartsEmpty)
{
    const DALinkAvailEvXmlData d;
    EXPECT_EQ(d.access_network + d.threegpp.access_type + d.threegpp.hplmn + d.threegpp.utran_cell_id +
                  d.ieee.access_type + d.ieee.ap,
              "");
}

TEST(ALinkAvailability, OfTheRadioNetworkIsWrittenWithItsDetails)
{
    DALinkAvailEvXmlData d;
    samples::fill(d, "3GPP");
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), RADIO_TEXT);
}

TEST(ALinkAvailability, OfAnythingElseIsWrittenInTheIeeeForm)
{
    DALinkAvailEvXmlData d;
    samples::fill(d, "IEEE");
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), IEEE_TEXT);
    for (const char* network : {"3gpp", "3GPP ", " 3GPP", "3GPP2", "wired", ""}) {
        d.access_network = network;
        ASSERT_EQ(d.encodeXml(), 0);
        EXPECT_NE(encoded(d).find("<IEEE>"), std::string::npos) << network;
        EXPECT_EQ(encoded(d).find("hplmn"), std::string::npos) << network;
    }
}

TEST(ALinkAvailability, WithoutValuesIsWrittenWithEmptyElements)
{
    DALinkAvailEvXmlData d;
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<link-info>\n"
                          "  <network>\n"
                          "    <access-network/>\n"
                          "    <IEEE>\n"
                          "      <access-type/>\n"
                          "      <AP/>\n"
                          "    </IEEE>\n"
                          "  </network>\n"
                          "</link-info>\n");
}

TEST(ALinkAvailability, LogsSizeAndPlaceOfWhatItWrote)
{
    LogRecords log;
    DALinkAvailEvXmlData d;
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "encodeXml",
                                                  "Buff ptr: " + std::to_string(d.buffer_length) + " " +
                                                      pointer(d.encoded_buffer)}}));
}

TEST(ALinkAvailability, PutsTheFirstAccessTypeIntoTheRadioRecord)
{
    DALinkAvailEvXmlData d;
    ASSERT_EQ(parse(d, IEEE_TEXT), 0);
    EXPECT_EQ(d.access_network, "IEEE");
    EXPECT_EQ(d.threegpp.access_type, "IEEE-802.11g");
    EXPECT_EQ(d.threegpp.hplmn, "");
    EXPECT_EQ(d.threegpp.utran_cell_id, "");
    EXPECT_EQ(d.ieee.access_type, "");
    EXPECT_EQ(d.ieee.ap, "00:11:22:33:44:55");
}

// A name cannot start with a digit, so no parser reads this form back.
TEST(ALinkAvailability, OfTheRadioNetworkCannotBeReadBack)
{
    DALinkAvailEvXmlData d;
    samples::fill(d, "3GPP");
    ASSERT_EQ(d.encodeXml(), 0);
    LogRecords log;
    d.access_network = "untouched";
    EXPECT_EQ(d.parseXml(), -1);
    EXPECT_EQ(d.access_network, "untouched");
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{
                             {5, "parseXml",
                              "inside parseXml " + pointer(d.buffer) + " " + std::to_string(d.buffer_length)},
                             {4, "parseXml", "Could not create DOM"}}));
}

TEST(ALinkAvailability, ReadsRadioDetailsUnderAnyReadableName)
{
    DALinkAvailEvXmlData d;
    ASSERT_EQ(parse(d, "<link-info><network><access-network>3GPP</access-network><_3gpp>"
                       "<access-type>t</access-type><hplmn>h</hplmn>"
                       "<utran-cell-id-3gpp>c</utran-cell-id-3gpp></_3gpp></network></link-info>"),
              0);
    EXPECT_EQ(d.access_network, "3GPP");
    EXPECT_EQ(d.threegpp.access_type, "t");
    EXPECT_EQ(d.threegpp.hplmn, "h");
    EXPECT_EQ(d.threegpp.utran_cell_id, "c");
}

TEST(ALinkAvailability, ReadsItsFieldsInOrder)
{
    LogRecords log;
    DALinkAvailEvXmlData d;
    ASSERT_EQ(parse(d, "<link-info/>"), 0);
    const auto empty = [](const char* name) {
        return LogRecord{4, "get_value", std::string("xmlXPathNodeSetIsEmpty for //") + name};
    };
    EXPECT_EQ(log.of("get_value"),
              (std::vector<LogRecord>{empty("access-network"), empty("access-type"), empty("hplmn"),
                                      empty("utran-cell-id-3gpp"), empty("AP")}));
}

TEST(ALinkAvailability, KeepsWhatAnUnreadableTextDoesNotSay)
{
    DALinkAvailEvXmlData d;
    samples::fill(d, "IEEE");
    EXPECT_EQ(d.parseXml(), -1);
    EXPECT_EQ(parse(d, "garbage"), -1);
    EXPECT_EQ(d.access_network, "IEEE");
    EXPECT_EQ(d.threegpp.hplmn, "26201");
}

static_assert(std::is_base_of<XmlData, DALinkAvailEvXmlData>::value, "");
static_assert(!std::is_copy_constructible<DALinkAvailEvXmlData>::value, "");

} // namespace
