#include "siplib/sip_chars.h"

#include <gtest/gtest.h>

#include <string>

using namespace siplib;

namespace {

// Every character of `set`, in the order of its code.
std::string members(CharSet set)
{
    std::string found;
    for (int c = 0; c < 256; ++c)
        if (in_set(static_cast<char>(c), set)) found += static_cast<char>(c);
    return found;
}

const std::string digits = "0123456789";
const std::string upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
const std::string small = "abcdefghijklmnopqrstuvwxyz";

} // namespace

// RFC 3261 section 25.1.
TEST(SipChars, HoldTheSetsOfTheGrammar)
{
    EXPECT_EQ(members(chars_token), "!%'*+-." + digits + upper + "_`" + small + "~");
    EXPECT_EQ(members(chars_user), "!$&'()*+,-./" + digits + ";=?" + upper + "_" + small + "~");
    EXPECT_EQ(members(chars_password), "!$&'()*+,-." + digits + "=" + upper + "_" + small + "~");
    EXPECT_EQ(members(chars_uri_param), "!$&'()*+-./" + digits + ":" + upper + "[]_" + small + "~");
    EXPECT_EQ(members(chars_header), "!$&'()*+-./" + digits + ":=?" + upper + "[]_" + small + "~");
    EXPECT_EQ(members(chars_value), "!$%&'()*+-./" + digits + ":" + upper + "[]_`" + small + "~");
    EXPECT_EQ(members(chars_phone), "#()*+-." + digits + "ABCDEFabcdef");
    EXPECT_EQ(members(chars_label), "-" + digits + upper + "_" + small);
    EXPECT_EQ(members(chars_hex), digits + "ABCDEFabcdef");
}

TEST(SipChars, KnowWhatBreaksALine)
{
    for (int c = 0; c < 256; ++c)
        EXPECT_EQ(in_set(static_cast<char>(c), chars_unbroken), c != '\r' && c != '\n' && c != 0) << c;
}

TEST(SipChars, WantTwoHexadecimalDigitsInAnEscape)
{
    EXPECT_TRUE(only_chars("a%20b%Ff", chars_user, true));
    for (const char* bad : {"%", "%2", "a%2", "%g0", "%0g", "%%20"})
        EXPECT_FALSE(only_chars(bad, chars_user, true)) << bad;
    EXPECT_FALSE(only_chars("a%20b", chars_user, false));
    EXPECT_TRUE(only_chars("a%zz", chars_token, false))
        << "in a token a percent sign is an ordinary character";
}

TEST(SipChars, FindNoTextInNothing)
{
    EXPECT_FALSE(only_chars("", chars_token, false));
    EXPECT_EQ(leading_chars("", chars_token), 0u);
    EXPECT_EQ(leading_chars("ab cd", chars_token), 2u);
}

TEST(SipChars, AreFoundWhereTheFirstOfThemStands)
{
    EXPECT_EQ(first_of("host:5060;lr?x", ";?"), 9u);
    EXPECT_EQ(first_of("host?x;lr", ";?"), 4u);
    EXPECT_EQ(first_of({"a\0b", 3}, {"\r\n\0", 3}), 1u);
    EXPECT_EQ(first_of("host", ";?"), std::string_view::npos);
    EXPECT_EQ(first_of("", ";?"), std::string_view::npos);
    EXPECT_EQ(first_of("host", ""), std::string_view::npos);
}

TEST(SipChars, TrimSpacesAndTabsOnly)
{
    EXPECT_EQ(without_blanks(" \t a b\t "), "a b");
    EXPECT_EQ(without_blanks(" \t "), "");
    EXPECT_EQ(without_leading_blanks("\ta "), "a ");
    EXPECT_EQ(without_blanks("\r\na\n"), "\r\na\n");
}

TEST(SipChars, CompareNamesWithoutCaseInAsciiOnly)
{
    EXPECT_TRUE(same_name("Contact", "cONTACT"));
    EXPECT_TRUE(same_name("", ""));
    EXPECT_FALSE(same_name("Contact", "Contac"));
    EXPECT_FALSE(same_name("[", "{")) << "bit 5 apart, but no letters";
    EXPECT_FALSE(same_name("\xC4", "\xE4")) << "letters of Latin-1, not of ASCII";
}
