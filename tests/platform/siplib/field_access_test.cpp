#include "siplib/field_access.h"

#include "siplib/SIPLIB_Stack.h"
#include "tests/support/log_records.h"

#include <gtest/gtest.h>

using namespace siplib;

namespace {

TEST(AHeaderCopy, EndsInsideTheCapacityAndTellsWhatItCut)
{
    Message m;
    m.add("X", "abcdef");
    char buf[8];
    int len = 7;
    EXPECT_EQ(copy_header(m, "x", buf, len), SIPLIB_OK);
    EXPECT_STREQ(buf, "abcdef");
    EXPECT_EQ(len, 6);
    len = 4;
    EXPECT_EQ(copy_header(m, "x", buf, len), SIPLIB_ERR_TRUNCATED);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(len, 3);
    len = 1;
    EXPECT_EQ(copy_header(m, "x", buf, len), SIPLIB_ERR_TRUNCATED);
    EXPECT_STREQ(buf, "");
}

TEST(AHeaderCopy, RefusesWhatItCannotFill)
{
    Message m;
    char buf[8] = "before";
    int len = 8;
    EXPECT_EQ(copy_header(m, "x", nullptr, len), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(copy_header(m, nullptr, buf, len), SIPLIB_ERR_ARGUMENT);
    len = 0;
    EXPECT_EQ(copy_header(m, "x", buf, len), SIPLIB_ERR_ARGUMENT);
    len = -5;
    EXPECT_EQ(copy_header(m, "x", buf, len), SIPLIB_ERR_ARGUMENT);
    len = 8;
    EXPECT_EQ(copy_header(m, "x", buf, len), SIPLIB_ERR_NOT_FOUND);
    EXPECT_STREQ(buf, "");
}

TEST(ABodyCopy, NeverReportsMoreThanTheCapacityAndSaysSo)
{
    LogRecords log;
    Message m;
    m.set_body("0123456789");
    char buf[16] = {};
    int len = 4;
    EXPECT_EQ(copy_body(m, "NOTIFY", buf, len), SIPLIB_ERR_TRUNCATED);
    EXPECT_EQ(len, 4);
    EXPECT_EQ(std::string(buf, 5), std::string("0123\0", 5));
    EXPECT_EQ(log.all(),
              (std::vector<LogRecord>{
                  {4, "getBody", "the body of NOTIFY has 10 bytes and was cut to the reader's 4"}}));
    len = 10;
    EXPECT_EQ(copy_body(m, "NOTIFY", buf, len), SIPLIB_OK);
    EXPECT_EQ(len, 10);
    EXPECT_EQ(log.all().size(), 1u);
}

TEST(ABodyCopy, CountsEachBodyThatItCuts)
{
    Message m;
    m.set_body("0123456789");
    char buf[16];
    const unsigned before = SIPLIB_SIPCutBodies();
    for (int capacity : {10, 16, 9, 1}) {
        int len = capacity;
        copy_body(m, "MESSAGE", buf, len);
    }
    int len = 0;
    EXPECT_EQ(copy_body(m, "MESSAGE", buf, len), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(SIPLIB_SIPCutBodies() - before, 2u);
}

TEST(AMethodCopy, IsEmptyWhenTheNameDoesNotFit)
{
    char buf[256] = "before";
    EXPECT_EQ(copy_method("NOTIFY", buf, 7), SIPLIB_OK);
    EXPECT_STREQ(buf, "NOTIFY");
    EXPECT_EQ(copy_method("NOTIFY", buf, 6), SIPLIB_ERR_TRUNCATED);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(copy_method("NOTIFY", nullptr, 6), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(copy_method("NOTIFY", buf, 0), SIPLIB_ERR_ARGUMENT);
}

TEST(AHeader, IsNotAcceptedWhenItWouldAddOthers)
{
    Message m;
    EXPECT_EQ(put_header(m, "X", "a\r\nEvil: yes", false), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_header(m, "X", "a\nb", false), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_header(m, "X\r\nEvil", "a", false), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_header(m, "X Y", "a", true), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_header(m, "", "a", true), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_header(m, nullptr, "a", true), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_header(m, "X", nullptr, true), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(m.count(), 0u);
}

TEST(AHeader, OfAKnownKindMustParse)
{
    Message m;
    EXPECT_EQ(put_header(m, "From", "sip:", false), SIPLIB_ERR_SYNTAX);
    EXPECT_EQ(put_header(m, "CSeq", "one NOTIFY", false), SIPLIB_ERR_SYNTAX);
    EXPECT_EQ(put_header(m, "Expires", "soon", false), SIPLIB_ERR_SYNTAX);
    EXPECT_EQ(m.count(), 0u);
    EXPECT_EQ(put_header(m, "Kiv-Profile-ID", "-1", false), SIPLIB_OK);
    EXPECT_EQ(put_header(m, "Subscription-State", "active;expires=600", false), SIPLIB_OK);
}

TEST(AHeader, ThatAMessageHasOnceIsNotAddedTwice)
{
    Message m;
    EXPECT_EQ(put_header(m, "Event", "reg", true), SIPLIB_OK);
    EXPECT_EQ(put_header(m, "o", "presence", true), SIPLIB_ERR_SYNTAX);
    EXPECT_EQ(put_header(m, "Event", "presence", false), SIPLIB_OK);
    EXPECT_EQ(put_header(m, "Route", "<sip:a;lr>", true), SIPLIB_OK);
    EXPECT_EQ(put_header(m, "Route", "<sip:b;lr>", true), SIPLIB_OK);
    EXPECT_EQ(m.occurrences("Route"), 2u);
}

TEST(AHeader, CannotMakeAMessageLargerThanAllowed)
{
    Message m;
    const std::string big(6000, 'x');
    EXPECT_EQ(put_header(m, "A", big.c_str(), true), SIPLIB_OK);
    EXPECT_EQ(put_header(m, "A", big.c_str(), true), SIPLIB_OK);
    EXPECT_EQ(put_header(m, "A", big.c_str(), true), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_header(m, "A", std::string(20000, 'x').c_str(), true), SIPLIB_ERR_ARGUMENT);
}

TEST(ABody, IsCheckedBeforeItIsTaken)
{
    Message m;
    EXPECT_EQ(put_body(m, nullptr, 0), SIPLIB_OK);
    EXPECT_EQ(put_body(m, nullptr, 3), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_body(m, "abc", -1), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(put_body(m, "abc", 3), SIPLIB_OK);
    EXPECT_EQ(m.body(), "abc");
    const std::string big(20000, 'x');
    EXPECT_EQ(put_body(m, big.data(), 20000), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(m.body(), "abc");
    EXPECT_EQ(put_body(m, nullptr, 0), SIPLIB_OK);
    EXPECT_EQ(m.body(), "");
}

TEST(AMethodName, IsATokenOf255CharactersAtMost)
{
    EXPECT_EQ(check_method("NOTIFY"), SIPLIB_OK);
    EXPECT_EQ(check_method(std::string(255, 'A').c_str()), SIPLIB_OK);
    EXPECT_EQ(check_method(std::string(256, 'A').c_str()), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(check_method(""), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(check_method("A B"), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(check_method(nullptr), SIPLIB_ERR_ARGUMENT);
}

TEST(AMessagesMethod, OfAResponseWithoutCSeqIsEmpty)
{
    Message m;
    const std::string text = "SIP/2.0 200 OK\r\nTo: x\r\n\r\n";
    ASSERT_TRUE(m.parse(text, text.size()));
    char buf[16] = "before";
    EXPECT_EQ(copy_method(method_of(m), buf, sizeof buf), SIPLIB_OK);
    EXPECT_STREQ(buf, "");
}

TEST(AMessagesMethod, OfAResponseIsTheOneInCSeq)
{
    Message m;
    const std::string text = "SIP/2.0 200 OK\r\nCSeq: 7  NOTIFY\r\n\r\n";
    ASSERT_TRUE(m.parse(text, text.size()));
    EXPECT_EQ(method_of(m), "NOTIFY");
}

} // namespace
