#include "xml/RegUaNotifyData.h"

#include "tests/xml/document_checks.h"

namespace {

using D = RegUaNotifyData;

const TextFields<D> FIELDS = {
    {&D::registration, "registration"},
    {&D::aor, "aor"},
    {&D::contact, "contact"},
    {&D::state, "state"},
    {&D::xmlns, "xmlns"},
    {&D::version, "version"},
    {&D::duration_registered, "duration-registered"},
    {&D::uri, "uri"},
    {&D::event, "event"},
};

std::string spares(const D& d)
{
    return d.spare_a + d.spare_b + d.spare_c + d.spare_d;
}

TEST(ARegistrationsValues, StartEmpty)
{
    const D d;
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, "");
    EXPECT_EQ(spares(d), "");
}

TEST(ARegistrationsValues, AreReadEachFromItsElement)
{
    expect_each_element_fills_its_field(FIELDS);
    expect_first_of_each_name_counts(FIELDS);
    expect_nothing_is_found_in_a_namespace(FIELDS);
}

TEST(ARegistrationsValues, AreReadInOrder)
{
    expect_lookups_in_order<D>({"//registration", "//aor", "//contact", "//state", "//xmlns", "//version",
                                "//duration-registered", "//uri", "//event"});
}

TEST(ARegistrationsValues, AreAnnouncedInTheirOwnWords)
{
    LogRecords log;
    D d;
    char text[] = "<a/>";
    d.buffer = text;
    d.buffer_length = 4;
    ASSERT_EQ(d.parseXml(), 0);
    EXPECT_EQ(log.all().at(0), (LogRecord{5, "parseXml", "inside REG_UA::parseXml " + pointer(text) + " 4"}));
    EXPECT_EQ(log.of("parseXml").size(), 1u);
}

TEST(ARegistrationsValues, AreRefusedWhereNothingCanBeRead)
{
    expect_refusals(FIELDS, "inside REG_UA::parseXml", "", true);
}

TEST(ARegistrationsValues, AreReadFromATextWithMildErrors)
{
    D d;
    EXPECT_EQ(parse(d, "<r><aor>sip:a@b</aor><state>active</r>"), 0);
    EXPECT_EQ(d.aor, "sip:a@b");
    EXPECT_EQ(d.state, "active");
    EXPECT_EQ(parse(d, "<r><event>registered</event><uri>cut"), 0);
    EXPECT_EQ(d.event, "registered");
    EXPECT_EQ(d.uri, "cut");
    EXPECT_EQ(parse(d, "<r><version>1 & 2</version></r>"), 0);
    EXPECT_EQ(d.version, "1  2");
}

// Recovery makes an empty tree of what is no document at all.
TEST(ARegistrationsValues, OfATextWithoutElementsAreNotFound)
{
    D d;
    d.aor = "kept";
    EXPECT_EQ(parse(d, "garbage"), 0);
    EXPECT_EQ(d.aor, "kept");
}

TEST(ARegistrationsValues, OfAReginfoAreNotFoundInItsNamespaceNorInItsAttributes)
{
    D d;
    ASSERT_EQ(parse(d, "<reginfo xmlns=\"urn:ietf:params:xml:ns:reginfo\" version=\"0\" state=\"full\">"
                       "<registration aor=\"sip:a@b\" id=\"r\" state=\"active\"><contact id=\"c\" "
                       "state=\"active\" event=\"registered\"><uri>sip:c@d</uri></contact></registration>"
                       "</reginfo>"),
              0);
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, "") << each.element;
}

TEST(ARegistrationsValues, LeaveTheSparesAlone)
{
    D d;
    d.spare_a = "a", d.spare_b = "b", d.spare_c = "c", d.spare_d = "d";
    ASSERT_EQ(parse(d, "<r><spare_a>x</spare_a><aor>y</aor></r>"), 0);
    EXPECT_EQ(spares(d), "abcd");
}

TEST(ARegistrationsValues, AreNeverWritten)
{
    expect_never_encodes<D>();
}

} // namespace
