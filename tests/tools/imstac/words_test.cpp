#include "tools/imstac/words.h"

#include <gtest/gtest.h>

namespace {

using Words = std::vector<std::string>;
using namespace std::chrono_literals;

Words words_of(const std::string& line)
{
    Words words;
    std::string why;
    EXPECT_TRUE(imstac::split_words(line, words, why)) << why;
    return words;
}

std::string complaint(const std::string& line)
{
    Words words;
    std::string why;
    EXPECT_FALSE(imstac::split_words(line, words, why)) << line;
    return why;
}

} // namespace

TEST(ALine, IsWordsBetweenBlanks)
{
    EXPECT_EQ(words_of(" send\tsync  1\r"), (Words{"send", "sync", "1"}));
    EXPECT_EQ(words_of(""), Words{});
    EXPECT_EQ(words_of(" \t"), Words{});
}

TEST(ALine, EndsAtACommentWhichBeginsAWord)
{
    EXPECT_EQ(words_of("a # b"), (Words{"a"}));
    EXPECT_EQ(words_of("a#b c"), (Words{"a#b", "c"}));
    EXPECT_EQ(words_of("# all of it"), Words{});
    EXPECT_EQ(words_of("a \"# b\""), (Words{"a", "# b"}));
}

TEST(ALine, KeepsWhatStandsInQuotes)
{
    EXPECT_EQ(words_of(R"(text="two words" "" x"y"z)"), (Words{"text=two words", "", "xyz"}));
    EXPECT_EQ(words_of(R"("\n\r\t\"\\\x41\xfF")"), (Words{"\n\r\t\"\\A\xff"}));
    EXPECT_EQ(words_of(R"("\x00")"), (Words{std::string(1, '\0')}));
    EXPECT_EQ(words_of(R"(\n)"), (Words{"\\n"})) << "outside quotes a backslash is itself";
}

TEST(ALine, WithABrokenQuoteIsRefused)
{
    EXPECT_EQ(complaint("a \"b"), "a quote does not end");
    EXPECT_EQ(complaint("\"b\\"),
              R"(after a backslash stands n, r, t, ", \ or x and two hexadecimal digits)");
    for (const char* line : {"\"\\q\"", "\"\\x4\"", "\"\\x", "\"\\xg0\"", "\"\\x0g\""})
        EXPECT_NE(complaint(line), "") << line;
}

TEST(ANumber, IsDecimalOrHexadecimalUpToItsLimit)
{
    std::uint64_t value = 9;
    EXPECT_TRUE(imstac::parse_number("0", 0, value));
    EXPECT_EQ(value, 0u);
    EXPECT_TRUE(imstac::parse_number("65535", 65535, value));
    EXPECT_EQ(value, 65535u);
    EXPECT_TRUE(imstac::parse_number("0x8aFf", 65535, value));
    EXPECT_EQ(value, 0x8affu);
    for (const char* text : {"", "65536", "0x", "0x10000", "-1", "+1", " 1", "1 ", "1.0", "a", "0xg",
                             "99999999999999999999999999"})
        EXPECT_FALSE(imstac::parse_number(text, 65535, value)) << text;
    EXPECT_EQ(value, 0x8affu) << "untouched";
}

TEST(ATime, IsANumberAndItsUnit)
{
    std::chrono::steady_clock::duration time{};
    EXPECT_TRUE(imstac::parse_time("250ms", time));
    EXPECT_EQ(time, 250ms);
    EXPECT_TRUE(imstac::parse_time("1.5s", time));
    EXPECT_EQ(time, 1500ms);
    EXPECT_TRUE(imstac::parse_time("7us", time));
    EXPECT_EQ(std::chrono::round<std::chrono::microseconds>(time), 7us);
    EXPECT_TRUE(imstac::parse_time("3600s", time));
    for (const char* text :
         {"", "1", "s", ".s", "1m", "-1s", "1..5s", "1 s", "3601s", "1s ", "99999999999999999s", "1e3s"})
        EXPECT_FALSE(imstac::parse_time(text, time)) << text;
}

TEST(HexadecimalBytes, ArePairsOfDigitsWithBlanksBetween)
{
    std::string bytes = "before";
    EXPECT_TRUE(imstac::parse_hex("00 fF\t10", bytes));
    EXPECT_EQ(bytes, std::string("\0\xff\x10", 3));
    EXPECT_EQ(imstac::hex_of(bytes), "00ff10");
    EXPECT_TRUE(imstac::parse_hex("", bytes));
    EXPECT_EQ(bytes, "");
    for (const char* text : {"0", "0 0", "0g", "000", "0x00"})
        EXPECT_FALSE(imstac::parse_hex(text, bytes)) << text;
}

TEST(AnIdAndATime, AreShown)
{
    EXPECT_EQ(imstac::id_text(0x8101), "0x8101");
    EXPECT_EQ(imstac::id_text(7), "0x0007");
    EXPECT_EQ(imstac::time_text(1500ms), "1.5 s");
}
