#include "siplib/address_text.h"

#include <gtest/gtest.h>

#include <string>

using namespace siplib;

namespace {

// "display|uri|params" or "none".
std::string split(std::string_view header, std::string_view value)
{
    AddressParts parts;
    if (!split_address(header, value, parts)) return "none";
    return std::string(parts.display).append("|").append(parts.uri.text).append("|").append(parts.params);
}

} // namespace

TEST(AnAddressValue, IsADisplayNameAUriInBracketsAndParameters)
{
    EXPECT_EQ(split("To", "<sip:a@h>"), "|sip:a@h|");
    EXPECT_EQ(split("To", "\"A. G. <Bell>\" <sip:a@h;lr> ;tag=1"), "\"A. G. <Bell>\"|sip:a@h;lr| ;tag=1");
    EXPECT_EQ(split("To", " Bob  The\tBuilder <sip:b@h>;tag=1 "), "Bob  The\tBuilder|sip:b@h|;tag=1");
    EXPECT_EQ(split("To", "\"\"<sip:b@h>"), "\"\"|sip:b@h|");
}

// RFC 3261 section 20.10: without brackets all parameters are the header's.
TEST(AnAddressValue, GivesTheParametersOfABareUriToTheHeader)
{
    for (const char* header : {"Contact", "m", "FROM", "t", "Refer-To", "X-Anything", ""})
        EXPECT_EQ(split(header, "sip:a@h;transport=tcp"), "|sip:a@h|;transport=tcp") << header;
}

TEST(AnAddressValue, LeavesThemInTheUriWhereTheHeaderHasNoBareForm)
{
    for (const char* header : {"Route", "record-route", "Path", "Service-Route", "P-Asserted-Identity"})
        EXPECT_EQ(split(header, "sip:h:5060;lr;transport=tcp"), "|sip:h:5060;lr;transport=tcp|") << header;
    EXPECT_EQ(split("Route", "<sip:h;lr>;x=1"), "|sip:h;lr|;x=1");
}

TEST(AnAddressValue, IsTheFirstOfAListWhereTheHeaderMayBeOne)
{
    for (const char* header : {"Contact", "Route", "Path", "X-Anything"}) {
        EXPECT_EQ(split(header, "<sip:a@h>;q=1 , <sip:b@h>"), "|sip:a@h|;q=1") << header;
        EXPECT_EQ(split(header, "sip:a@h,sip:b@h"), "|sip:a@h|") << header;
    }
    for (const char* header : {"From", "To", "f", "T", "Reply-To", "Refer-To", "Referred-By"}) {
        EXPECT_EQ(split(header, "<sip:a@h>, <sip:b@h>"), "none") << header;
        EXPECT_EQ(split(header, "sip:a@h,sip:b@h"), "none") << header;
    }
}

TEST(AnAddressValue, IsNoneWithoutAUri)
{
    for (const char* value : {"", " ", "\t", "*", " * ", "<>", "\"A\"", "\"A\" <>", ";tag=1", ",", "Alice",
                              "alice@h", "<alice@h>", "<*>"})
        EXPECT_EQ(split("Contact", value), "none") << value;
}

// RFC 4475 sections 3.1.2.6 and 3.1.2.13 to 3.1.2.15 among them.
TEST(AnAddressValue, IsNoneWhenItBreaksTheGrammar)
{
    for (const char* value : {"\"Mr. J. User <sip:j@h>",
                              "\"A\" \"B\" <sip:a@h>",
                              "\"A\" B <sip:a@h>",
                              "Bell, Alexander <sip:a@h>",
                              "Caf\xC3\xA9 <sip:a@h>",
                              "A:B <sip:a@h>",
                              "A<B <sip:a@h>",
                              "< sip:a@h>",
                              "<sip:a@h >",
                              "<sip:a@h",
                              "sip:a@h>",
                              "<<sip:a@h>>",
                              "<sip:a@h>x",
                              "<sip:a@h> x",
                              "<sip:a@h>;",
                              "<sip:a@h>;;a",
                              "<sip:a@h>;a=",
                              "<sip:a@h>;a=\"b",
                              "<sip:a@h>;a=b c",
                              "<sip:a@h>;a b",
                              "<sip:a@h>?x=y",
                              "sip:a b@h",
                              "sip:a@h \"A\"",
                              "\\<sip:a@h>"})
        EXPECT_EQ(split("Contact", value), "none") << value;
}

TEST(AnAddressValue, MayNotSmuggleALineOrAZero)
{
    for (const std::string_view end : {std::string_view("\r"), std::string_view("\n"),
                                       std::string_view("\r\n "), std::string_view("\0", 1)}) {
        for (const std::string_view value : {"<sip:a@h>", "\"A\" <sip:a@h>;tag=1", "sip:a@h, sip:b@h"}) {
            for (std::size_t i = 0; i <= value.size(); ++i) {
                std::string broken(value);
                broken.insert(i, end);
                EXPECT_EQ(split("Contact", broken), "none") << broken;
            }
        }
    }
}

TEST(AnAddressValue, MayBeSpacedAroundItsParameters)
{
    EXPECT_EQ(split("From", "\"J Rosenberg \\\\\\\"\" <sip:j@h> ; tag = 98asjd8"),
              "\"J Rosenberg \\\\\\\"\"|sip:j@h| ; tag = 98asjd8");
    EXPECT_EQ(split("To", "sip:v@h ;   tag    = 1918181833n"), "|sip:v@h| ;   tag    = 1918181833n");
}
