#include "daemons/common/header_value.h"

#include <gtest/gtest.h>

namespace {

using List = std::vector<std::string>;

Header_value parsed(const std::string& text)
{
    Header_value value;
    EXPECT_TRUE(parse_header_value(text, value)) << text;
    return value;
}

TEST(AHeaderValue, IsTakenApartWhateverItsBlanksAndCapitals)
{
    const auto value = parsed(" active ; Expires = 3600;\r\n  reason=\"no; \\\"way\\\"\" ;flag");
    EXPECT_EQ(value.value, "active");
    ASSERT_NE(value.parameter("expires"), nullptr);
    EXPECT_EQ(*value.parameter("EXPIRES"), "3600");
    EXPECT_EQ(*value.parameter("reason"), "no; \"way\"");
    EXPECT_EQ(*value.parameter("flag"), "");
    EXPECT_EQ(value.parameter("absent"), nullptr);
}

TEST(AHeaderValue, KeepsTheParametersOfAUriInsideItsBrackets)
{
    const auto value = parsed("\"a;b<c\" <sip:x@127.0.0.1;transport=tcp>;tag=t1");
    EXPECT_EQ(value.value, "\"a;b<c\" <sip:x@127.0.0.1;transport=tcp>");
    EXPECT_EQ(value.parameter("transport"), nullptr);
    EXPECT_EQ(*value.parameter("tag"), "t1");
}

TEST(AHeaderValue, ThatIsBrokenLeavesTheOutputAlone)
{
    for (const char* text : {"", "   ", ";id=1", "active;", "active;=1", "active;;a", "\"open", "<sip:x",
                             "a;b=\"c", "a;\"q\"=1"}) {
        Header_value value;
        value.value = "before";
        EXPECT_FALSE(parse_header_value(text, value)) << text;
        EXPECT_EQ(value.value, "before");
    }
}

TEST(AList, IsSplitAtCommasOutsideQuotesAndBrackets)
{
    EXPECT_EQ(split_list("a, \"b,c\" <sip:d,e> ,,f;g=\"h,i\""),
              (List{"a", "\"b,c\" <sip:d,e>", "f;g=\"h,i\""}));
    EXPECT_EQ(split_list(""), List{});
    EXPECT_EQ(split_list(" , ,"), List{});
    EXPECT_EQ(split_list("a,\"open, b"), (List{"a", "\"open, b"}));
}

TEST(Seconds, AreDigitsOnlyAndSaturate)
{
    std::uint32_t out = 7;
    EXPECT_TRUE(parse_seconds(" 3600 ", out));
    EXPECT_EQ(out, 3600u);
    EXPECT_TRUE(parse_seconds("4294967296", out));
    EXPECT_EQ(out, UINT32_MAX);
    EXPECT_TRUE(parse_seconds("99999999999999999999999999", out));
    EXPECT_EQ(out, UINT32_MAX);
    out = 7;
    for (const char* text : {"", " ", "-1", "+1", "1 2", "0x10", "12a", "1.5"})
        EXPECT_FALSE(parse_seconds(text, out)) << text;
    EXPECT_EQ(out, 7u);
}

TEST(ATag, IsTheHeadersParameterAndNotTheUris)
{
    EXPECT_EQ(tag_of("<sip:a@127.0.0.1;tag=uri>;tag=header"), "header");
    EXPECT_EQ(tag_of("sip:a@127.0.0.1;tag=header"), "header");
    EXPECT_EQ(tag_of("<sip:a@127.0.0.1;tag=uri>"), "");
    EXPECT_EQ(tag_of("\"open <sip:a@b>;tag=x"), "");
}

TEST(AUri, IsTheTextInBracketsOrTheBareValue)
{
    EXPECT_EQ(uri_of("\"<name>\" < sip:a@127.0.0.1:5070;transport=tcp >;x=y"),
              "sip:a@127.0.0.1:5070;transport=tcp");
    EXPECT_EQ(uri_of("sip:a@127.0.0.1;x=y"), "sip:a@127.0.0.1");
    EXPECT_EQ(uri_of("*"), "*");
    EXPECT_EQ(uri_of(""), "");
    EXPECT_EQ(uri_of("<>"), "");
}

} // namespace
