#include "xml/NotifyUaXmlData.h"

#include "tests/xml/document_checks.h"

namespace {

using D = NotifyUaXmlData;

const TextFields<D> FIELDS = {
    {&D::name, "name"},
    {&D::ip_address, "ip-address"},
    {&D::reg_status, "reg-status"},
    {&D::access_network, "access-network"},
};

TEST(ARegistrationStatus, StartsEmpty)
{
    const D d;
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, "");
    EXPECT_EQ(d.spare_a + d.spare_b, "");
}

TEST(ARegistrationStatus, IsWrittenWithTheStatusBeforeTheAccessNetwork)
{
    D d;
    d.name = "internet";
    d.ip_address = "192.0.2.7";
    d.access_network = "IEEE";
    d.reg_status = "registered";
    d.spare_a = d.spare_b = "never written";
    expect_encoding(d,
                    "<eventinfo>\n"
                    "  <profile-info>\n"
                    "    <name>internet</name>\n"
                    "    <ip-address>192.0.2.7</ip-address>\n"
                    "    <reg-status>registered</reg-status>\n"
                    "    <access-network>IEEE</access-network>\n"
                    "  </profile-info>\n"
                    "</eventinfo>\n",
                    "Buff size = %d ptr: %p");
}

TEST(ARegistrationStatus, WithoutValuesIsTheWholeTreeOfEmptyElements)
{
    D d;
    expect_encoding(d,
                    "<eventinfo>\n"
                    "  <profile-info>\n"
                    "    <name/>\n"
                    "    <ip-address/>\n"
                    "    <reg-status/>\n"
                    "    <access-network/>\n"
                    "  </profile-info>\n"
                    "</eventinfo>\n",
                    "Buff size = %d ptr: %p");
}

TEST(ARegistrationStatus, ReadsEachFieldFromItsElement)
{
    expect_each_element_fills_its_field(FIELDS);
    expect_first_of_each_name_counts(FIELDS);
    expect_nothing_is_found_in_a_namespace(FIELDS);
}

TEST(ARegistrationStatus, ReadsItsFieldsInOrder)
{
    expect_lookups_in_order<D>({"//name", "//ip-address", "//reg-status", "//access-network"});
}

TEST(ARegistrationStatus, TellsWhereItsTreeStandsBeforeTheLookUps)
{
    expect_place_of_the_tree<D>();
}

TEST(ARegistrationStatus, RefusesWhatCannotBeReadAndThenTellsOfNoTree)
{
    expect_refusals(FIELDS);
}

TEST(ARegistrationStatus, ReadBackIsTheSame)
{
    D sent;
    for (const auto& each : FIELDS)
        sent.*each.field = std::string("some ") + each.element;
    sent.spare_a = "a";
    ASSERT_EQ(sent.encodeXml(), 0);
    D d;
    d.spare_a = "untouched";
    ASSERT_EQ(parse(d, encoded(sent)), 0);
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, sent.*each.field);
    EXPECT_EQ(d.spare_a, "untouched");
    EXPECT_EQ(d.spare_b, "");
}

} // namespace
