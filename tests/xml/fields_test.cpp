#include "xml/fields.h"

#include "tests/support/log_records.h"
#include "tests/xml/documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

namespace {

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;
using testing::IsEmpty;

std::string text_of(xmlDocPtr doc)
{
    xmlChar* text = nullptr;
    int length = 0;
    xmlDocDumpFormatMemoryEnc(doc, &text, &length, "UTF-8", 1);
    const std::string all(reinterpret_cast<char*>(text), static_cast<std::size_t>(length));
    xmlFree(text);
    xmlFreeDoc(doc);
    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    EXPECT_EQ(all.substr(0, head.size()), head);
    return all.substr(head.size());
}

TEST(ATableOfElements, NestsByDepth)
{
    const std::string x = "1";
    const Element rows[] = {{1, "a"}, {2, "b"}, {3, "c", x}, {2, "d", x}, {1, "e", x}};
    EXPECT_EQ(text_of(build("root", rows)), "<root>\n"
                                            "  <a>\n"
                                            "    <b>\n"
                                            "      <c>1</c>\n"
                                            "    </b>\n"
                                            "    <d>1</d>\n"
                                            "  </a>\n"
                                            "  <e>1</e>\n"
                                            "</root>\n");
}

TEST(ATableOfElements, WritesEmptyTextsAndGroupsAlike)
{
    const std::string empty;
    const Element rows[] = {{1, "group"}, {1, "text", empty}};
    EXPECT_EQ(text_of(build("root", rows)), "<root>\n  <group/>\n  <text/>\n</root>\n");
}

TEST(ATableOfElements, WritesNumbersInDecimal)
{
    const Element rows[] = {{1, "n", 0}, {1, "n", -1}, {1, "n", INT_MAX}, {1, "n", INT_MIN}};
    EXPECT_EQ(text_of(build("root", rows)), "<root>\n  <n>0</n>\n  <n>-1</n>\n  <n>2147483647</n>\n"
                                            "  <n>-2147483648</n>\n</root>\n");
}

// An element with a text of its own is not indented inside: blanks would become part of the text.
TEST(ATableOfElements, KeepsChildrenOfAnElementWithTextOnOneLine)
{
    const std::string own = "own";
    const std::string empty;
    const Element filled[] = {{1, "aor", own}, {2, "b"}, {3, "c"}, {2, "d"}};
    EXPECT_EQ(text_of(build("root", filled)), "<root>\n  <aor>own<b><c/></b><d/></aor>\n</root>\n");
    const Element bare[] = {{1, "aor", empty}, {2, "b"}, {3, "c"}, {2, "d"}};
    EXPECT_EQ(text_of(build("root", bare)),
              "<root>\n  <aor>\n    <b>\n      <c/>\n    </b>\n    <d/>\n  </aor>\n</root>\n");
}

TEST(ATableOfElements, LeavesAnOptionalElementOutWhenItHasNoText)
{
    const std::string x = "1";
    const std::string empty;
    const Element rows[] = {{1, "a", x, Element::UNLESS_EMPTY},
                            {1, "b", empty, Element::UNLESS_EMPTY},
                            {1, "c", empty, Element::ALWAYS}};
    EXPECT_EQ(text_of(build("root", rows)), "<root>\n  <a>1</a>\n  <c/>\n</root>\n");
}

TEST(ATableOfElements, OfARowWithoutAParentGivesNoTree)
{
    const Element hole[] = {{1, "a"}, {3, "c"}};
    EXPECT_EQ(build("root", hole), nullptr);
    const Element above[] = {{0, "a"}};
    EXPECT_EQ(build("root", above), nullptr);
    const Element deep[] = {{99, "a"}};
    EXPECT_EQ(build("root", deep), nullptr);
}

TEST(ATableOfElements, OfNoRowsIsTheRootAlone)
{
    EXPECT_EQ(text_of(build("root", nullptr, 0)), "<root/>\n");
}

class ATableOfLookUps : public testing::Test {
protected:
    // Reads text and number from the elements "t" and "n" of `text`.
    void read(const std::string& text)
    {
        ParsedText parsed("inside parseXml", text.data(), static_cast<int>(text.size()));
        ASSERT_TRUE(parsed);
        const Lookup rows[] = {{"//t", t}, {"//n", n}};
        parsed.read(rows);
    }
    std::string t = "before";
    std::int32_t n = 7;
};

TEST_F(ATableOfLookUps, FillsTextsAndNumbers)
{
    read("<a><t>text</t><n>42</n></a>");
    EXPECT_EQ(t, "text");
    EXPECT_EQ(n, 42);
}

TEST_F(ATableOfLookUps, LeavesWhatIsAbsent)
{
    read("<a/>");
    EXPECT_EQ(t, "before");
    EXPECT_EQ(n, 7);
}

TEST_F(ATableOfLookUps, EmptiesATextAndLeavesANumberThatIsEmpty)
{
    read("<a><t/><n/></a>");
    EXPECT_EQ(t, "");
    EXPECT_EQ(n, 7);
    read("<a><n>  </n></a>");
    EXPECT_EQ(n, 7);
}

TEST_F(ATableOfLookUps, ReadsLeadingDigits)
{
    read("<a><n>12x</n></a>");
    EXPECT_EQ(n, 12);
    read("<a><n>none</n></a>");
    EXPECT_EQ(n, 0);
    read("<a><n>99999999999</n></a>");
    EXPECT_EQ(n, INT_MAX);
    read("<a><n>-99999999999</n></a>");
    EXPECT_EQ(n, INT_MIN);
}

TEST_F(ATableOfLookUps, LogsEachRowInOrder)
{
    LogRecords log;
    read("<a><n>1</n></a>");
    EXPECT_EQ(log.of("get_value"), (std::vector<LogRecord>{{4, "get_value", "xmlXPathNodeSetIsEmpty for //t"},
                                                           {5, "get_value", "expr=//n value =1"}}));
}

TEST(AParsedText, IsAnnouncedWithItsAddressAndLength)
{
    LogRecords log;
    const std::string text = "<a/>";
    ParsedText parsed("inside REG_UA::parseXml", text.data(), 4);
    ASSERT_TRUE(parsed);
    EXPECT_NE(parsed.tree(), nullptr);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{
                             {5, "parseXml", "inside REG_UA::parseXml " + pointer(text.data()) + " 4"}}));
}

TEST(AParsedText, OfANullBufferHasNoTree)
{
    LogRecords log;
    ParsedText parsed("inside parseXml", nullptr, 3);
    EXPECT_FALSE(parsed);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "parseXml", "inside parseXml (nil) 3"},
                                                 {4, "parseXml", "NULL buffer cannot be parsed"}}));
}

TEST(AParsedText, EndsItsLinesAsAskedFor)
{
    LogRecords log;
    ParsedText parsed("inside parseXml", nullptr, 3, ParsedText::STRICT, "\n");
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "parseXml", "inside parseXml (nil) 3\n"},
                                                 {4, "parseXml", "NULL buffer cannot be parsed\n"}}));
}

TEST(AParsedText, ThatIsNoDocumentHasNoTree)
{
    const char zeros[1024] = {};
    const struct {
        const char* text;
        int length;
    } rejects[] = {{"", 0},         {"<a/>", 0},   {"<a/>", -1},       {"<a/>", INT_MIN},
                   {"plain", 5},    {"<a>", 3},    {"<a></b>", 7},     {"<3a/>", 5},
                   {"\xff\xfe", 2}, {zeros, 1024}, {"<a>\xc3(</a>", 9}};
    for (const auto& reject : rejects) {
        LogRecords log;
        ParsedText parsed("inside parseXml", reject.text, reject.length);
        EXPECT_FALSE(parsed) << reject.text << " of " << reject.length;
        EXPECT_TRUE(log.has(4, "parseXml", "Could not create DOM"));
    }
}

TEST(AParsedText, MayEndInZerosAndLineEnds)
{
    const std::string text("<a>x</a>\r\n\0\0\0", 13);
    EXPECT_TRUE(ParsedText("inside parseXml", text.data(), 13));
}

TEST(AParsedText, IsRecoveredOnlyWhenAskedFor)
{
    const std::string broken = "<a><t>x</t><u></a>";
    const int length = static_cast<int>(broken.size());
    EXPECT_FALSE(ParsedText("inside parseXml", broken.data(), length));
    ParsedText recovered("inside parseXml", broken.data(), length, ParsedText::RECOVER);
    ASSERT_TRUE(recovered);
    std::string t;
    const Lookup rows[] = {{"//t", t}};
    recovered.read(rows);
    EXPECT_EQ(t, "x");
}

} // namespace
