#include "xml/RegUaXmlData.h"

#include "tests/support/sample_documents.h"
#include "tests/xml/document_checks.h"

namespace {

using testing::IsEmpty;

const TextFields<RegUaXmlData> FIELDS = {
    {&RegUaXmlData::aor, "aor"},         {&RegUaXmlData::name, "name"},
    {&RegUaXmlData::methods, "methods"}, {&RegUaXmlData::content_type, "content-type"},
    {&RegUaXmlData::events, "events"},   {&RegUaXmlData::ua_section, "ua-section-in-network-profile"},
};

const char* const WROTE = "Buff size=%d ptr: %p";

TEST(AUserAgentsDescription, StartsEmpty)
{
    const RegUaXmlData d;
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, "");
    EXPECT_EQ(d.header_name + d.header_value, "");
    EXPECT_THAT(d.spare_list_a, IsEmpty());
    EXPECT_THAT(d.spare_list_b, IsEmpty());
}

// "aor" has a text of its own, so it stands on one line with all that is in it.
TEST(AUserAgentsDescription, IsWrittenWithTheAddressesTextAndChildrenOnOneLine)
{
    RegUaXmlData d;
    samples::fill(d);
    d.spare_list_a = {"a"};
    d.spare_list_b = {"b"};
    expect_encoding(d,
                    "<ua-info>\n"
                    "  <profile-info>\n"
                    "    <name>internet</name>\n"
                    "  </profile-info>\n"
                    "  <aor>sip:alice@home.example"
                    "<request-routing-support>"
                    "<methods>INVITE,MESSAGE</methods>"
                    "<content-type>application/sdp</content-type>"
                    "<events>presence</events>"
                    "</request-routing-support>"
                    "<ua-specific-parameters>"
                    "<sip-headers><header>Accept-Contact: *</header></sip-headers>"
                    "<ua-section-in-network-profile>voice</ua-section-in-network-profile>"
                    "</ua-specific-parameters>"
                    "</aor>\n"
                    "</ua-info>\n",
                    WROTE);
    EXPECT_EQ(d.spare_list_a, std::vector<std::string>{"a"});
}

TEST(AUserAgentsDescription, WithoutValuesIsTheWholeTreeWithAColonAndABlankForTheHeader)
{
    RegUaXmlData d;
    expect_encoding(d,
                    "<ua-info>\n"
                    "  <profile-info>\n"
                    "    <name/>\n"
                    "  </profile-info>\n"
                    "  <aor>\n"
                    "    <request-routing-support>\n"
                    "      <methods/>\n"
                    "      <content-type/>\n"
                    "      <events/>\n"
                    "    </request-routing-support>\n"
                    "    <ua-specific-parameters>\n"
                    "      <sip-headers>\n"
                    "        <header>: </header>\n"
                    "      </sip-headers>\n"
                    "      <ua-section-in-network-profile/>\n"
                    "    </ua-specific-parameters>\n"
                    "  </aor>\n"
                    "</ua-info>\n",
                    WROTE);
}

TEST(AUserAgentsDescription, ReadsEachFieldFromItsElement)
{
    expect_each_element_fills_its_field(FIELDS);
    expect_first_of_each_name_counts(FIELDS);
    expect_nothing_is_found_in_a_namespace(FIELDS);
}

TEST(AUserAgentsDescription, ReadsItsFieldsInOrder)
{
    expect_lookups_in_order<RegUaXmlData>({"//aor", "//name", "//methods", "//content-type", "//events",
                                           "//ua-section-in-network-profile", "//sip-headers"});
}

TEST(AUserAgentsDescription, RefusesWhatCannotBeRead)
{
    expect_refusals(FIELDS);
}

TEST(AUserAgentsDescription, ReadBackIsWholeButForTheHeader)
{
    RegUaXmlData sent;
    samples::fill(sent);
    ASSERT_EQ(sent.encodeXml(), 0);
    RegUaXmlData d;
    d.header_name = "kept";
    ASSERT_EQ(parse(d, encoded(sent)), 0);
    for (const auto& each : FIELDS)
        EXPECT_EQ(d.*each.field, sent.*each.field) << each.element;
    EXPECT_EQ(d.header_name, "kept");
    EXPECT_EQ(d.header_value, "");
    EXPECT_THAT(d.spare_list_a, IsEmpty());
}

TEST(AUserAgentsDescription, WithoutValuesIsReadBackWithoutValues)
{
    RegUaXmlData d;
    ASSERT_EQ(d.encodeXml(), 0);
    ASSERT_EQ(d.parseXml(), 0);
    EXPECT_EQ(d.aor + d.name + d.header_name + d.header_value, "");
}

// The header stands directly in "sip-headers" in what peers send.
class AHeaderLine : public testing::Test {
protected:
    // "name|value" after the document read `line`; both were "kept" before.
    std::string read(const std::string& line)
    {
        RegUaXmlData d;
        d.header_name = d.header_value = "kept";
        EXPECT_EQ(parse(d, "<ua-info><sip-headers>" + line + "</sip-headers></ua-info>"), 0);
        return d.header_name + "|" + d.header_value;
    }
};

TEST_F(AHeaderLine, OfOneColonIsAPairWhoseValueKeepsItsBlank)
{
    EXPECT_EQ(read("Accept-Contact: *"), "Accept-Contact| *");
    EXPECT_EQ(read("Accept-Contact:*"), "Accept-Contact|*");
    EXPECT_EQ(read("\n  Name : value \n"), "Name | value");
}

TEST_F(AHeaderLine, MayLackItsNameOrItsValue)
{
    EXPECT_EQ(read("Name:"), "Name|");
    EXPECT_EQ(read(":value"), "|value");
    EXPECT_EQ(read(":"), "|");
}

TEST_F(AHeaderLine, OfAnyOtherNumberOfColonsIsIgnored)
{
    for (const char* line : {"", "  ", "no colon", "Route: sip:proxy", "a:b:", "::", ":::"})
        EXPECT_EQ(read(line), "kept|kept") << line;
}

TEST_F(AHeaderLine, IsTheOwnTextWithoutThatOfChildren)
{
    EXPECT_EQ(read("A<header>x:y</header>: b"), "A| b");
    EXPECT_EQ(read("<header>x:y</header>"), "kept|kept");
}

} // namespace
