#include "xml/AppToRegUaXmlData.h"

#include "tests/xml/document_checks.h"
#include "xml/NotifyUaXmlData.h"

namespace {

using D = AppToRegUaXmlData;

const TextFields<D> FIELDS = {
    {&D::request_type, "request-type"},
    {&D::error, "error"},
    {&D::diagnostic, "diagnostic"},
};

TEST(AnApplicationsRequest, IsWrittenInOrder)
{
    D d;
    EXPECT_EQ(d.request_type + d.error + d.diagnostic, "");
    d.request_type = "register";
    d.error = "403";
    d.diagnostic = "not allowed";
    expect_encoding(d,
                    "<eventinfo>\n"
                    "  <request-type>register</request-type>\n"
                    "  <error>403</error>\n"
                    "  <diagnostic>not allowed</diagnostic>\n"
                    "</eventinfo>\n",
                    "Buff size = %d ptr: %p");
}

TEST(AnApplicationsRequest, WithoutValuesIsTheWholeTreeOfEmptyElements)
{
    D d;
    expect_encoding(d, "<eventinfo>\n  <request-type/>\n  <error/>\n  <diagnostic/>\n</eventinfo>\n",
                    "Buff size = %d ptr: %p");
}

TEST(AnApplicationsRequest, ReadsEachFieldFromItsElement)
{
    expect_each_element_fills_its_field(FIELDS);
    expect_first_of_each_name_counts(FIELDS);
    expect_nothing_is_found_in_a_namespace(FIELDS);
    expect_lookups_in_order<D>({"//request-type", "//error", "//diagnostic"});
}

TEST(AnApplicationsRequest, TellsWhereItsTreeStandsBeforeTheLookUps)
{
    expect_place_of_the_tree<D>();
}

TEST(AnApplicationsRequest, RefusesWhatCannotBeRead)
{
    expect_refusals(FIELDS);
}

TEST(AnApplicationsRequest, ReadBackIsTheSame)
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

// The two share their root: the message that carries a body tells them apart, the body does not.
TEST(AnApplicationsRequest, IsReadWithoutComplaintFromARegistrationStatus)
{
    NotifyUaXmlData status;
    status.name = "internet";
    ASSERT_EQ(status.encodeXml(), 0);
    D d;
    EXPECT_EQ(parse(d, encoded(status)), 0);
    EXPECT_EQ(d.request_type + d.error + d.diagnostic, "");
}

} // namespace
