#include "siplib/sip_text.h"

#include <gtest/gtest.h>

using namespace siplib;

namespace {

TEST(SipText, KnowsTokensAndControlCharacters)
{
    EXPECT_TRUE(is_token("SUBSCRIBE"));
    EXPECT_TRUE(is_token("a-b.c!%*_+`'~9"));
    EXPECT_FALSE(is_token(""));
    EXPECT_FALSE(is_token("a b"));
    EXPECT_FALSE(is_token("a:b"));
    EXPECT_FALSE(is_token(std::string_view("a\0b", 3)));
    EXPECT_TRUE(has_control("a\rb"));
    EXPECT_TRUE(has_control("a\nb"));
    EXPECT_TRUE(has_control(std::string_view("a\0b", 3)));
    EXPECT_TRUE(has_control("\x7f"));
    EXPECT_FALSE(has_control("a\tb \xc3\xa4"));
}

TEST(SipText, KnowsCompactNames)
{
    EXPECT_TRUE(same_header("o", "Event"));
    EXPECT_TRUE(same_header("EVENT", "O"));
    EXPECT_TRUE(same_header("u", "allow-events"));
    EXPECT_FALSE(same_header("o", "u"));
    EXPECT_FALSE(same_header("z", "Event"));
}

TEST(SipText, FindsTheUriAndTheTagOfAnAddress)
{
    EXPECT_EQ(uri_in("\"A <b>\" <sip:a@b;x=y>;tag=1"), "sip:a@b;x=y");
    EXPECT_EQ(uri_in("sip:a@b;tag=1"), "sip:a@b");
    EXPECT_EQ(uri_in("<sip:a@b"), "");
    EXPECT_EQ(tag_in("\"x;tag=no\" <sip:a@b;tag=no>;foo;TAG=yes"), "yes");
    EXPECT_EQ(tag_in("sip:a@b;tag=yes"), "yes");
    EXPECT_EQ(tag_in("<sip:a@b;tag=no>"), "");
    EXPECT_EQ(tag_in("<sip:a@b>;x=\"a;tag=no\";tag=yes"), "yes");
    EXPECT_EQ(tag_in("<sip:a@b>;tag=yes"), "yes");
    EXPECT_EQ(tag_in("<sip:a@b>;tag=yes;x=y"), "yes");
    EXPECT_EQ(tag_in("<sip:a@b>;tag=yes "), "yes");
    EXPECT_EQ(tag_in("<sip:a@b>;x=\"q>;tag=no\""), "");
    EXPECT_EQ(tag_in("<sip:a@b>;tag="), "");
    EXPECT_EQ(tag_in(""), "");
}

struct GoodUri {
    const char* text;
    const char* scheme;
    const char* host;
    int port;
    const char* transport;
};
class AUriAsText : public ::testing::TestWithParam<GoodUri> {};

TEST_P(AUriAsText, IsTakenApart)
{
    Uri uri;
    ASSERT_TRUE(read_uri(GetParam().text, uri));
    EXPECT_EQ(uri.scheme, GetParam().scheme);
    EXPECT_EQ(uri.host, GetParam().host);
    EXPECT_EQ(uri.port, GetParam().port);
    EXPECT_EQ(uri.transport, GetParam().transport);
    EXPECT_EQ(uri.text.find_first_of("<>"), std::string::npos);
}
INSTANTIATE_TEST_SUITE_P(
    Good, AUriAsText,
    ::testing::Values(GoodUri{"sip:a@b", "sip", "b", 0, ""}, GoodUri{"<sip:a@b:5070>", "sip", "b", 5070, ""},
                      GoodUri{" <SIP:127.0.0.1;transport=TCP;lr> ", "SIP", "127.0.0.1", 0, "TCP"},
                      GoodUri{"sip:[::1]:5061", "sip", "::1", 5061, ""},
                      GoodUri{"sips:user:pass@host.example;maddr=10.0.0.1", "sips", "10.0.0.1", 0, ""},
                      GoodUri{"sip:a;b=c@host:1", "sip", "host", 1, ""},
                      GoodUri{"sip:h?Subject=x", "sip", "h", 0, ""},
                      GoodUri{"tel:+49123", "tel", "", 0, ""}));

class ABadUriAsText : public ::testing::TestWithParam<const char*> {};

TEST_P(ABadUriAsText, IsRefusedAndChangesNothing)
{
    Uri uri;
    uri.host = "before";
    EXPECT_FALSE(read_uri(GetParam(), uri)) << GetParam();
    EXPECT_EQ(uri.host, "before");
}
INSTANTIATE_TEST_SUITE_P(Bad, ABadUriAsText,
                         ::testing::Values("", "sip:", "sip", "<sip:a@b", "a@b", "http://x", "sip:@b",
                                           "sip:a@", "sip:a@b:0", "sip:a@b:65536", "sip:a@b:x",
                                           "sip:a@b:", "sip:a b@c", "sip:[::1", "sip:[zz]", "sip:a@b\r\nX: y",
                                           "tel:", "<>", "<sip:a>x"));

TEST(SipText, ReadsNumbersOfDigitsOnly)
{
    long n = -1;
    EXPECT_TRUE(read_number("0", 10, n));
    EXPECT_EQ(n, 0);
    EXPECT_FALSE(read_number("11", 10, n));
    EXPECT_FALSE(read_number("-1", 10, n));
    EXPECT_FALSE(read_number("", 10, n));
    EXPECT_FALSE(read_number("99999999999999999999", 10, n));
    EXPECT_EQ(n, 0);
}

} // namespace
