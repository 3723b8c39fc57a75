#include "xml/IMSSetRouteXml.h"

#include "tests/xml/document_checks.h"

namespace {

using D = IMSSetRouteXml;

const TextFields<D> FIELDS = {
    {&D::profile_id, "kiv-profile-id"}, {&D::action, "action"},           {&D::name, "name"},
    {&D::ip_address, "ip-address"},     {&D::ue_sip_port, "ue-sip-port"},
};

TEST(ARoute, IsWrittenInOrder)
{
    D d;
    d.profile_id = "3";
    d.action = "set";
    d.name = "wlan0";
    d.ip_address = "192.0.2.1";
    d.ue_sip_port = "5062";
    expect_encoding(d,
                    "<route-info>\n"
                    "  <profile-info>\n"
                    "    <kiv-profile-id>3</kiv-profile-id>\n"
                    "  </profile-info>\n"
                    "  <action>set</action>\n"
                    "  <device>\n"
                    "    <name>wlan0</name>\n"
                    "  </device>\n"
                    "  <proxy>\n"
                    "    <ip-address>192.0.2.1</ip-address>\n"
                    "  </proxy>\n"
                    "  <ue-sip-port>5062</ue-sip-port>\n"
                    "</route-info>\n",
                    "Buff size = %d ptr: %p");
}

TEST(ARoute, WithoutValuesIsTheWholeTreeOfEmptyElements)
{
    D d;
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, "");
    expect_encoding(d,
                    "<route-info>\n"
                    "  <profile-info>\n"
                    "    <kiv-profile-id/>\n"
                    "  </profile-info>\n"
                    "  <action/>\n"
                    "  <device>\n"
                    "    <name/>\n"
                    "  </device>\n"
                    "  <proxy>\n"
                    "    <ip-address/>\n"
                    "  </proxy>\n"
                    "  <ue-sip-port/>\n"
                    "</route-info>\n",
                    "Buff size = %d ptr: %p");
}

TEST(ARoute, ReadsEachFieldFromItsElement)
{
    expect_each_element_fills_its_field(FIELDS);
    expect_first_of_each_name_counts(FIELDS);
    expect_nothing_is_found_in_a_namespace(FIELDS);
    expect_refusals(FIELDS);
}

TEST(ARoute, ReadsItsFieldsInOrder)
{
    expect_lookups_in_order<D>({"//kiv-profile-id", "//action", "//ip-address", "//name", "//ue-sip-port"});
}

TEST(ARoute, KeepsNumbersAsTheyAreWritten)
{
    D d;
    ASSERT_EQ(parse(d, "<r><kiv-profile-id>007x</kiv-profile-id><ue-sip-port>-1</ue-sip-port></r>"), 0);
    EXPECT_EQ(d.profile_id, "007x");
    EXPECT_EQ(d.ue_sip_port, "-1");
}

TEST(ARoute, ReadBackIsTheSame)
{
    D sent;
    for (const auto& each : FIELDS)
        sent.*each.field = std::string("some ") + each.element;
    ASSERT_EQ(sent.encodeXml(), 0);
    D d;
    ASSERT_EQ(parse(d, encoded(sent)), 0);
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, sent.*each.field);
}

} // namespace
