#include "xml/DAMessageXmlData.h"

#include "tests/xml/document_checks.h"

#include <climits>

namespace {

using testing::IsEmpty;
using D = DAMessageXmlData;

const TextFields<D> FIELDS = {
    {&D::name, "name"},
    {&D::napi_profile_name, "napi-profile-name"},
    {&D::action, "action"},
    {&D::disc_pref, "disc-pref"},
    {&D::ip_address, "ip-address"},
    {&D::dns_realm, "dns-realm"},
    {&D::dns_services, "dns-services"},
};

const char* const WROTE = "Buff size =%d ptr: %p";
const LogRecord MALFORMED{4, "parse_proxy_list", "Wrong number of elements in the proxy_list"};

void fill(D& d)
{
    d.name = "internet";
    d.profile_id = 3;
    d.link_reference = -17;
    d.action = "discover";
    d.napi_profile_name = "ap1";
    d.disc_pref = "dns";
    d.dns_realm = "home.example";
    d.dns_services = "sip+d2u";
}

// What `fill` gives, with `last` behind the DNS services.
std::string text_with(const std::string& last)
{
    return "<link-info>\n"
           "  <profile-info>\n"
           "    <name>internet</name>\n"
           "    <kiv-profile-id>3</kiv-profile-id>\n"
           "    <link-reference>-17</link-reference>\n"
           "    <action>discover</action>\n"
           "    <napi-profile-name>ap1</napi-profile-name>\n"
           "    <proxy>\n"
           "      <disc-pref>dns</disc-pref>\n"
           "      <dns-realm>home.example</dns-realm>\n"
           "      <dns-services>sip+d2u</dns-services>\n" +
           last +
           "    </proxy>\n"
           "  </profile-info>\n"
           "</link-info>\n";
}

TEST(AProxyDiscovery, StartsEmptyWithZeroNumbers)
{
    const D d;
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, "");
    EXPECT_EQ(d.profile_id, 0);
    EXPECT_EQ(d.link_reference, 0);
    EXPECT_THAT(d.proxy_list, IsEmpty());
}

TEST(AProxyDiscovery, WithoutProxiesIsWrittenWithoutTheAddressElement)
{
    D d;
    fill(d);
    expect_encoding(d, text_with(""), WROTE);
}

TEST(AProxyDiscovery, WritesItsListOfProxiesJoinedByCommas)
{
    D d;
    fill(d);
    d.proxy_list = {{"192.0.2.1", 5060, "pcscf"}, {"proxy.example.com", 5061, "backup"}};
    expect_encoding(
        d, text_with("      <ip-address>192.0.2.1:pcscf:5060,proxy.example.com:backup:5061</ip-address>\n"),
        WROTE);
}

TEST(AProxyDiscovery, WritesItsAddressTextAsItStandsAndThenNotTheList)
{
    D d;
    fill(d);
    d.ip_address = "anything; at all";
    d.proxy_list = {{"192.0.2.1", 5060, "pcscf"}};
    expect_encoding(d, text_with("      <ip-address>anything; at all</ip-address>\n"), WROTE);
}

TEST(AProxyDiscovery, WritesAProxyWithoutValuesToo)
{
    D d;
    fill(d);
    d.proxy_list.resize(2);
    expect_encoding(d, text_with("      <ip-address>::0,::0</ip-address>\n"), WROTE);
}

TEST(AProxyDiscovery, WithoutValuesIsTheWholeTreeOfEmptyElements)
{
    D d;
    expect_encoding(d,
                    "<link-info>\n"
                    "  <profile-info>\n"
                    "    <name/>\n"
                    "    <kiv-profile-id>0</kiv-profile-id>\n"
                    "    <link-reference>0</link-reference>\n"
                    "    <action/>\n"
                    "    <napi-profile-name/>\n"
                    "    <proxy>\n"
                    "      <disc-pref/>\n"
                    "      <dns-realm/>\n"
                    "      <dns-services/>\n"
                    "    </proxy>\n"
                    "  </profile-info>\n"
                    "</link-info>\n",
                    WROTE);
}

TEST(AProxyDiscovery, ReadsEachTextFromItsElement)
{
    expect_each_element_fills_its_field(FIELDS);
    expect_first_of_each_name_counts(FIELDS);
    expect_nothing_is_found_in_a_namespace(FIELDS);
    expect_refusals(FIELDS);
}

TEST(AProxyDiscovery, ReadsItsFieldsInOrder)
{
    expect_lookups_in_order<D>({"//name", "//kiv-profile-id", "//link-reference", "//napi-profile-name",
                                "//action", "//disc-pref", "//ip-address", "//dns-realm", "//dns-services"});
}

TEST(AProxyDiscovery, ReadsItsNumbersAndKeepsThoseThatAreAbsentOrEmpty)
{
    D d;
    d.profile_id = 5;
    d.link_reference = 6;
    ASSERT_EQ(parse(d, "<l><kiv-profile-id/></l>"), 0);
    EXPECT_EQ(d.profile_id, 5);
    EXPECT_EQ(d.link_reference, 6);
    ASSERT_EQ(parse(d, "<l><kiv-profile-id>x</kiv-profile-id><link-reference>-9y</link-reference></l>"), 0);
    EXPECT_EQ(d.profile_id, 0);
    EXPECT_EQ(d.link_reference, -9);
    ASSERT_EQ(parse(d, "<l><kiv-profile-id>99999999999</kiv-profile-id></l>"), 0);
    EXPECT_EQ(d.profile_id, INT_MAX);
}

TEST(AProxyDiscovery, HoldsTheProxiesItReadTwice)
{
    D d;
    ASSERT_EQ(parse(d, "<l><ip-address> a:x:1,b:y:2\n</ip-address></l>"), 0);
    EXPECT_EQ(d.ip_address, "a:x:1,b:y:2");
    ASSERT_EQ(d.proxy_list.size(), 2u);
    EXPECT_EQ(d.proxy_list[1].address, "b");
    EXPECT_EQ(d.proxy_list[1].kind, "y");
    EXPECT_EQ(d.proxy_list[1].port, 2);
}

TEST(AProxyDiscovery, ReadTwiceHasItsProxiesTwice)
{
    D d;
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(parse(d, "<l><ip-address>a:x:1,b:y:2</ip-address></l>"), 0);
    EXPECT_EQ(d.proxy_list.size(), 4u);
}

// Also when this text does not name them: the field still holds them.
TEST(AProxyDiscovery, TakesProxiesFromAnAddressTextThatItHeldBefore)
{
    D d;
    d.ip_address = "a:x:1";
    ASSERT_EQ(parse(d, "<l/>"), 0);
    EXPECT_EQ(d.proxy_list.size(), 1u);
    ASSERT_EQ(parse(d, "<l><ip-address/></l>"), 0);
    EXPECT_EQ(d.ip_address, "");
    EXPECT_EQ(d.proxy_list.size(), 1u);
}

TEST(AProxyDiscovery, RejectsProxiesJoinedBySemicolonsAsOneEntryOfFiveItems)
{
    LogRecords log;
    D d;
    ASSERT_EQ(parse(d, "<l><ip-address>a:x:1;b:y:2</ip-address></l>"), 0);
    EXPECT_EQ(d.ip_address, "a:x:1;b:y:2");
    EXPECT_THAT(d.proxy_list, IsEmpty());
    EXPECT_EQ(log.of("parse_proxy_list"), std::vector<LogRecord>{MALFORMED});
}

TEST(AProxyDiscovery, SkipsMalformedProxiesAndKeepsTheRest)
{
    LogRecords log;
    D d;
    d.parse_proxy_list("a:x:1,bad,,b:y:none,");
    ASSERT_EQ(d.proxy_list.size(), 2u);
    EXPECT_EQ(d.proxy_list[1].address, "b");
    EXPECT_EQ(d.proxy_list[1].port, 0);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{MALFORMED, MALFORMED, MALFORMED}));
}

TEST(AProxyDiscovery, ReadsProxiesFromAStringOfItsOwn)
{
    D d;
    d.proxy_list = {{"a:x:1,b:y:2", 0, ""}};
    d.parse_proxy_list(d.proxy_list[0].address);
    EXPECT_EQ(d.proxy_list.size(), 3u);
    d.parse_proxy_list("");
    EXPECT_EQ(d.proxy_list.size(), 3u);
}

TEST(AProxyDiscovery, ReadBackIsTheSame)
{
    D sent;
    fill(sent);
    sent.proxy_list = {{"192.0.2.1", 5060, "pcscf"}, {"proxy.example.com", 5061, "backup"}};
    ASSERT_EQ(sent.encodeXml(), 0);
    D d;
    ASSERT_EQ(parse(d, encoded(sent)), 0);
    for (const auto& each : FIELDS) {
        if (each.field == &D::ip_address) continue;
        EXPECT_EQ(d.*each.field, sent.*each.field) << each.element;
    }
    EXPECT_EQ(d.profile_id, 3);
    EXPECT_EQ(d.link_reference, -17);
    EXPECT_EQ(d.ip_address, "192.0.2.1:pcscf:5060,proxy.example.com:backup:5061");
    EXPECT_EQ(d.proxy_list.size(), 2u);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), encoded(sent));
}

} // namespace
