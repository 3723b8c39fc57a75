#include "xml/RegistrarToRegUaXmlData.h"

#include "tests/xml/document_checks.h"

namespace {

using D = RegistrarToRegUaXmlData;

const TextFields<D> FIELDS = {
    {&D::name, "name"},
    {&D::kiv_profile_id, "kiv-profile-id"},
    {&D::action, "action"},
    {&D::napi_profile_name, "napi-profile-name"},
    {&D::aor, "aor"},
    {&D::reg_expiry, "reg-expiry"},
    {&D::impi, "impi"},
    {&D::impu, "impu"},
    {&D::registrar_address, "registrar-address"},
    {&D::registrar_realm, "registrar-realm"},
    {&D::domain_name, "domain-name"},
    {&D::disc_pref, "disc-pref"},
    {&D::dns_realm, "dns-realm"},
    {&D::ip_address, "ip-address"},
    {&D::ue_sip_port, "ue-sip-port"},
    {&D::max_attempts, "max-attempts"},
    {&D::interval, "interval"},
    {&D::id, "id"},
};

TEST(ARegistrarsConfiguration, StartsEmpty)
{
    const D d;
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, "") << each.element;
}

TEST(ARegistrarsConfiguration, ReadsEachOfItsEighteenFieldsFromItsElement)
{
    ASSERT_EQ(FIELDS.size(), 18u);
    expect_each_element_fills_its_field(FIELDS);
    expect_first_of_each_name_counts(FIELDS);
    expect_nothing_is_found_in_a_namespace(FIELDS);
}

TEST(ARegistrarsConfiguration, ReadsItsFieldsInOrder)
{
    expect_lookups_in_order<D>({"//name", "//kiv-profile-id", "//action", "//napi-profile-name", "//aor",
                                "//reg-expiry", "//impi", "//impu", "//id", "//registrar-address",
                                "//registrar-realm", "//domain-name", "//disc-pref", "//dns-realm",
                                "//ip-address", "//ue-sip-port", "//max-attempts", "//interval"});
}

TEST(ARegistrarsConfiguration, IsReadWhateverItsNesting)
{
    D d;
    ASSERT_EQ(parse(d, "<a><b><c><name>profile</name></c><id>7</id></b><d><name>registrar</name></d></a>"),
              0);
    EXPECT_EQ(d.name, "profile");
    EXPECT_EQ(d.id, "7");
    EXPECT_EQ(d.kiv_profile_id, "");
}

TEST(ARegistrarsConfiguration, KeepsNumbersAsTheyAreWritten)
{
    D d;
    ASSERT_EQ(parse(d, "<a><reg-expiry>0600</reg-expiry><ue-sip-port>none</ue-sip-port></a>"), 0);
    EXPECT_EQ(d.reg_expiry, "0600");
    EXPECT_EQ(d.ue_sip_port, "none");
}

TEST(ARegistrarsConfiguration, RefusesWhatCannotBeRead)
{
    expect_refusals(FIELDS);
}

TEST(ARegistrarsConfiguration, IsNeverWritten)
{
    expect_never_encodes<D>();
}

} // namespace
