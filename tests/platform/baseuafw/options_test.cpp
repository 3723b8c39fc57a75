#include "baseuafw/options.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> taken;

void take_flag(const char* value)
{
    taken.push_back(std::string("flag=") + value);
}

void take_file(const char* value)
{
    taken.push_back(std::string("file=") + value);
}

std::vector<std::string> take(std::vector<const char*> arguments)
{
    static constexpr baseuafw::Option rows[] = {{"-flag", false, take_flag}, {"-file", true, take_file}};
    taken.clear();
    baseuafw::take_options(static_cast<int>(arguments.size()), const_cast<char**>(arguments.data()), rows, 2);
    return taken;
}

using Taken = std::vector<std::string>;

TEST(TakingOptions, HandsEachValueToItsRow)
{
    EXPECT_EQ(take({"prog", "-file", "a", "-flag", "-file", "b"}), (Taken{"file=a", "flag=", "file=b"}));
}

TEST(TakingOptions, PassesOverWhatItDoesNotKnow)
{
    EXPECT_EQ(take({"prog", "-files", "a", "FLAG", "-fla", "-Flag"}), Taken{});
}

TEST(TakingOptions, IgnoresAnOptionWithoutItsValue)
{
    EXPECT_EQ(take({"prog", "-file"}), Taken{});
}

TEST(TakingOptions, ExaminesAValueAsAnOptionToo)
{
    EXPECT_EQ(take({"prog", "-file", "-flag"}), (Taken{"file=-flag", "flag="}));
    EXPECT_EQ(take({"prog", "-file", "-file", "x"}), (Taken{"file=-file", "file=x"}));
}

TEST(TakingOptions, NeverExaminesTheProgramName)
{
    EXPECT_EQ(take({"-flag", "-flag"}), Taken{"flag="});
}

TEST(TakingOptions, CopesWithNothingToTake)
{
    static constexpr baseuafw::Option rows[] = {{"-flag", false, take_flag}};
    taken.clear();
    baseuafw::take_options(0, nullptr, rows, 1);
    baseuafw::take_options(5, nullptr, rows, 1);
    EXPECT_EQ(taken, Taken{});
    EXPECT_EQ(take({"prog", nullptr, "-file", nullptr, "-flag"}), Taken{"flag="});
}

} // namespace
