#include "baseuafw/IMS_utility.h"

#include "baseuafw/IMS_log.h"
#include "tests/platform/baseuafw/failing_new.h"

#include <climits>
#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

Texts pieces(const std::string& text, const std::string& delimiters)
{
    Texts tokens{"left over"};
    IMS_utility::tokenize(text, tokens, delimiters);
    return tokens;
}

std::string without_spaces(std::string text)
{
    IMS_utility::skipspaces(text);
    return text;
}

TEST(ATokenizer, SplitsAtTheDelimiter)
{
    EXPECT_EQ(pieces("a;b;c", ";"), (Texts{"a", "b", "c"}));
}

TEST(ATokenizer, GivesOnePieceMoreThanThereAreDelimiters)
{
    EXPECT_EQ(pieces(";a;;b;", ";"), (Texts{"", "a", "", "b", ""}));
    EXPECT_EQ(pieces(";", ";"), (Texts{"", ""}));
}

TEST(ATokenizer, SplitsAtEveryCharacterOfTheSet)
{
    EXPECT_EQ(pieces("a:b;c", ";:"), (Texts{"a", "b", "c"}));
}

TEST(ATokenizer, GivesNoPieceForAnEmptyText)
{
    EXPECT_EQ(pieces("", ";"), Texts{});
}

TEST(ATokenizer, GivesTheWholeTextWhenNothingSplitsIt)
{
    EXPECT_EQ(pieces("a b", ";"), Texts{"a b"});
    EXPECT_EQ(pieces("a;b", ""), Texts{"a;b"});
}

TEST(ATokenizer, TrimsNothing)
{
    EXPECT_EQ(pieces(" a ; b\n", ";"), (Texts{" a ", " b\n"}));
}

TEST(ATokenizer, KeepsZeroBytes)
{
    EXPECT_EQ(pieces(std::string("a\0;b", 4), ";"), (Texts{std::string("a\0", 2), "b"}));
}

TEST(ATokenizer, SplitsAnElementOfItsOwnResult)
{
    Texts tokens{"x", "one;two"};
    IMS_utility::tokenize(tokens[1], tokens, ";");
    EXPECT_EQ(tokens, (Texts{"one", "two"}));
}

TEST(ATokenizer, TakesAsDelimitersAnElementOfItsOwnResult)
{
    Texts tokens{";"};
    IMS_utility::tokenize("one;two", tokens, tokens[0]);
    EXPECT_EQ(tokens, (Texts{"one", "two"}));
}

TEST(ATokenizer, GivesNothingWhenMemoryIsOut)
{
    const std::string text(100, ';');
    int granted = 0;
    int lines = 0;
    IMS_log::set_sink(
        [](void* ctx, int level, const char*, const char*) { *static_cast<int*>(ctx) += level == 3; },
        &lines);
    for (bool failed = true; failed; ++granted) {
        Texts tokens{"left over"};
        {
            FailingNew fail(granted);
            IMS_utility::tokenize(text, tokens, ";");
            failed = fail.failed();
        }
        EXPECT_EQ(tokens.size(), failed ? 0u : 101u) << granted;
    }
    IMS_log::set_sink(nullptr, nullptr);
    EXPECT_GT(granted, 1);
    EXPECT_EQ(lines, granted - 1);
}

TEST(ADecimalText, CoversTheWholeRange)
{
    EXPECT_EQ(IMS_utility::itostring(0), "0");
    EXPECT_EQ(IMS_utility::itostring(-1), "-1");
    EXPECT_EQ(IMS_utility::itostring(INT_MAX), "2147483647");
    EXPECT_EQ(IMS_utility::itostring(INT_MIN), "-2147483648");
}

TEST(SkippingSpaces, RemovesThemAtBothEnds)
{
    EXPECT_EQ(without_spaces(" \t\r\na b\t \r\n"), "a b");
    EXPECT_EQ(without_spaces("ab"), "ab");
    EXPECT_EQ(without_spaces("  ab"), "ab");
    EXPECT_EQ(without_spaces("ab  "), "ab");
}

TEST(SkippingSpaces, LeavesNothingOfBlanks)
{
    EXPECT_EQ(without_spaces(" \t\r\n"), "");
    EXPECT_EQ(without_spaces(""), "");
}

TEST(SkippingSpaces, LeavesOtherBytesAlone)
{
    EXPECT_EQ(without_spaces("\v\f\xa0 "), "\v\f\xa0");
}

} // namespace
