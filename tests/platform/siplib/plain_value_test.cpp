#include "siplib/plain_value.h"

#include "siplib/header_check.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using siplib::header_parses;
using siplib::is_plain_value;

namespace {

TEST(APlainValue, IsWhatMostRequestsAreMadeOf)
{
    EXPECT_TRUE(is_plain_value("From", "<sip:link@127.0.0.1:5070>;tag=a-1_b.2"));
    EXPECT_TRUE(is_plain_value("To", "<sip:127.0.0.1>"));
    EXPECT_TRUE(is_plain_value("Contact", "<sip:a@b.example;transport=tcp;lr>"));
    EXPECT_TRUE(is_plain_value("Event", "kiv-link-event"));
    EXPECT_TRUE(is_plain_value("Subscription-State", "active"));
    EXPECT_TRUE(is_plain_value("Expires", "3600"));
    EXPECT_TRUE(is_plain_value("Content-Type", "application/xml"));
    EXPECT_TRUE(is_plain_value("Call-ID", "f81d4fae-7dec@host.example"));
    EXPECT_TRUE(is_plain_value("Call-ID", "f81d4fae"));
}

TEST(APlainValue, IsNothingThatNeedsAJudge)
{
    for (const char* header : {"From", "To", "Contact"}) {
        for (const char* value : {"",
                                  "sip:a@b",
                                  "<sip:>",
                                  "<sip:@b>",
                                  "<sip:a@>",
                                  "<sip:a@b",
                                  "<sip:a@b>;x=y",
                                  "<sip:a@b>;tag=",
                                  "<tel:1>",
                                  "<sip:a@b:>",
                                  "<sip:a@b:123456>",
                                  "<sip:a@b;>",
                                  "<sip:a@b;x=>",
                                  "\"A\" <sip:a@b>",
                                  "<sip:a@b>, <sip:c@d>",
                                  "<sip:a%41@b>",
                                  "<sip:a@[::1]>",
                                  " <sip:a@b>",
                                  "<sip:a@b> ",
                                  "<SIP:a@b>"})
            EXPECT_FALSE(is_plain_value(header, value)) << header << ": " << value;
    }
    EXPECT_FALSE(is_plain_value("Event", "reg;id=1"));
    EXPECT_FALSE(is_plain_value("Event", ""));
    EXPECT_FALSE(is_plain_value("Expires", "soon"));
    EXPECT_FALSE(is_plain_value("Expires", "1234567890"));
    EXPECT_FALSE(is_plain_value("Content-Type", "application"));
    EXPECT_FALSE(is_plain_value("Call-ID", "a@b@c"));
    EXPECT_FALSE(is_plain_value("Call-ID", "a@"));
    EXPECT_FALSE(is_plain_value("CSeq", "1 NOTIFY"));
    EXPECT_FALSE(is_plain_value("from", "<sip:a@b>")); // other spellings go to the judge
    EXPECT_FALSE(is_plain_value("X-Anything", "a"));
}

// Whatever is taken for plain, the stack's parser must take too: texts put together at random of what matters
// to either.
TEST(APlainValue, IsRightToTheStacksParser)
{
    const char* const pieces[] = {"<sip:", "a",     "b.c",   "-",  "_",         ".",      "@",
                                  ":",     "5060",  "99999", "0",  ";",         "=",      "tag",
                                  ">",     ";tag=", "/",     "x1", "transport", "1.2.3.4"};
    std::mt19937 random(20); // the same texts in every run
    std::uniform_int_distribution<std::size_t> any_piece(0, std::size(pieces) - 1);
    int plain = 0;
    for (int i = 0; i < 300000; ++i) {
        std::string value = i % 2 == 0 ? "<sip:" : "";
        for (std::size_t n = any_piece(random) % 9 + 1; n > 0; --n)
            value += pieces[any_piece(random)];
        if (i % 4 == 0) value += ">";
        for (const char* header :
             {"From", "To", "Contact", "Event", "Subscription-State", "Expires", "Content-Type", "Call-ID"}) {
            if (!is_plain_value(header, value)) continue;
            ++plain;
            ASSERT_TRUE(header_parses(header, value.c_str())) << header << ": " << value;
        }
    }
    EXPECT_GT(plain, 1000);
}

} // namespace
