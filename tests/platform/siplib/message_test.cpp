#include "siplib/message.h"

#include <gtest/gtest.h>

using siplib::Message;

namespace {

Message parsed(const std::string& head, const std::string& body = "")
{
    Message message;
    EXPECT_TRUE(message.parse(head + body, head.size()));
    return message;
}

TEST(AMessage, IsReadIntoStartLineHeadersAndBody)
{
    const Message m = parsed("OPTIONS sip:a SIP/2.0\r\nFrom: <sip:b>\r\nX-One:1\r\n\r\n", "abc");
    EXPECT_EQ(m.start_line(), "OPTIONS sip:a SIP/2.0");
    EXPECT_EQ(m.find("from"), "<sip:b>");
    EXPECT_EQ(m.find("x-one"), "1");
    EXPECT_EQ(m.body(), "abc");
    EXPECT_FALSE(m.has("To"));
}

// RFC 3261 section 7.3.3.
TEST(AMessage, FindsAHeaderByItsCompactNameAndTheOtherWayRound)
{
    const Message m = parsed("A b SIP/2.0\r\nf: one\r\nCall-ID: two\r\no: three\r\n\r\n");
    EXPECT_EQ(m.find("From"), "one");
    EXPECT_EQ(m.find("i"), "two");
    EXPECT_EQ(m.find("EVENT"), "three");
}

// RFC 3261 section 7.3.1.
TEST(AMessage, JoinsFoldedLines)
{
    const Message m = parsed("A b SIP/2.0\r\nSubject: I know\r\n  you are\r\n\tthere\r\nTo: x\r\n\r\n");
    EXPECT_EQ(m.find("Subject").substr(0, 6), "I know");
    EXPECT_NE(m.find("Subject").find("there"), std::string_view::npos);
    EXPECT_EQ(m.find("Subject").find('\n'), std::string_view::npos);
    EXPECT_EQ(m.find("To"), "x");
}

TEST(AMessage, ReadsBareLineFeeds)
{
    const Message m = parsed("A b SIP/2.0\nTo: x\nFrom: y\n\n", "body");
    EXPECT_EQ(m.find("To"), "x");
    EXPECT_EQ(m.find("From"), "y");
    EXPECT_EQ(m.body(), "body");
}

TEST(AMessage, TellsAnEmptyValueFromAnAbsentHeader)
{
    const Message m = parsed("A b SIP/2.0\r\nEmpty:\r\nBlank:   \r\n\r\n");
    EXPECT_TRUE(m.has("Empty"));
    EXPECT_EQ(m.find("Blank"), "");
    EXPECT_FALSE(m.has("Other"));
}

TEST(AMessage, RefusesToBeReadWithoutAStartLine)
{
    Message m;
    EXPECT_FALSE(m.parse("", 0));
    EXPECT_FALSE(m.parse("no line end", 11));
    EXPECT_FALSE(m.parse("\r\n\r\n", 4));
    EXPECT_FALSE(m.parse("a\r\nb", 1));
}

TEST(AMessage, SurvivesABodyThatStartsBeyondTheText)
{
    Message m;
    EXPECT_TRUE(m.parse("A b SIP/2.0\r\nTo: x\r\n\r\n", 5000));
    EXPECT_EQ(m.body(), "");
}

TEST(AMessage, ReplacesAllOfANameInThePlaceOfTheFirst)
{
    Message m;
    m.add("A", "1");
    m.add("B", "2");
    m.add("a", "3");
    m.add("C", "4");
    m.set("A", "new");
    ASSERT_EQ(m.count(), 3u);
    EXPECT_EQ(m.value(0), "new");
    EXPECT_EQ(m.name(1), "B");
    EXPECT_EQ(m.name(2), "C");
}

TEST(AMessage, MayBeSetToAValueOfItsOwn)
{
    Message m;
    m.add("A", "some text");
    m.set("A", m.find("A").substr(5));
    EXPECT_EQ(m.find("A"), "text");
}

TEST(AMessage, RemovesEveryHeaderOfAName)
{
    Message m;
    m.add("A", "1");
    m.add("B", "2");
    m.add("A", "3");
    EXPECT_EQ(m.remove("a"), 2u);
    EXPECT_EQ(m.remove("a"), 0u);
    EXPECT_EQ(m.count(), 1u);
}

TEST(AMessage, DoesNotGrowWhenAValueIsReplacedForEver)
{
    Message m;
    m.add("Keep", "kept");
    const std::string value(1000, 'x');
    for (int i = 0; i < 10000; ++i) {
        m.set("A", value);
        m.set_body(value);
    }
    EXPECT_EQ(m.find("Keep"), "kept");
    EXPECT_EQ(m.find("A"), value);
    EXPECT_EQ(m.body(), value);
    EXPECT_LT(m.held(), 200000u);
}

TEST(AMessage, WritesItsFieldsInOrderWithoutContentLength)
{
    Message m;
    m.add("B", "2");
    m.add("l", "17");
    m.add("A", "1");
    std::string text;
    m.append_fields_to(text);
    EXPECT_EQ(text, "B: 2\r\nA: 1\r\n");
}

} // namespace
