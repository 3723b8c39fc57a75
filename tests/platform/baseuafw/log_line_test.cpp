#include "baseuafw/log_line.h"

#include <climits>
#include <gtest/gtest.h>
#include <string>

namespace {

std::string line(const std::string& text, std::size_t capacity = 200)
{
    std::string out(capacity, '#');
    out.resize(baseuafw::format_log_line(&out[0], capacity, {"prog", 5, "fun", text.c_str()}));
    return out;
}

std::string line_of_level(int level)
{
    char out[100];
    return {out, baseuafw::format_log_line(out, sizeof out, {"p", level, "f", "t"})};
}

TEST(ALogLine, NamesProgramLevelAndFunction)
{
    EXPECT_EQ(line("text"), "prog[5] fun: text\n");
    EXPECT_EQ(line(""), "prog[5] fun: \n");
}

TEST(ALogLine, DoesNotDoubleTheLineFeedThatEndsTheText)
{
    EXPECT_EQ(line("text\n"), "prog[5] fun: text\n");
    EXPECT_EQ(line("text\n\n"), "prog[5] fun: text\\n\n");
}

TEST(ALogLine, IsOneLineWhateverTheTextHolds)
{
    EXPECT_EQ(line("a\nprog[3] forged: b\r\x1b[2J\x7f"),
              "prog[5] fun: a\\nprog[3] forged: b\\r\\x1b[2J\\x7f\n");
}

TEST(ALogLine, KeepsTabsAndBytesBeyondAscii)
{
    EXPECT_EQ(line("a\tb\xc3\xa4"), "prog[5] fun: a\tb\xc3\xa4\n");
}

TEST(ALogLine, IsCutAtItsCapacityAndStillEnds)
{
    EXPECT_EQ(line("0123456789", 20), "prog[5] fun: 012345\n");
    EXPECT_EQ(line("012345", 20), "prog[5] fun: 012345\n");
    EXPECT_EQ(line("x", 2), "p\n");
}

TEST(ALogLine, NeverEndsInHalfAnEscape)
{
    EXPECT_EQ(line("0123\x01zz", 20), "prog[5] fun: 0123\n");
}

TEST(ALogLine, WritesAnyLevel)
{
    EXPECT_EQ(line_of_level(0), "p[0] f: t\n");
    EXPECT_EQ(line_of_level(-7), "p[-7] f: t\n");
    EXPECT_EQ(line_of_level(INT_MIN), "p[-2147483648] f: t\n");
    EXPECT_EQ(line_of_level(INT_MAX), "p[2147483647] f: t\n");
}

} // namespace
