#include "subscriptions/capability_reader.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class ACapabilityFile : public testing::Test {
protected:
    // "no" when the file does not qualify, else "yes:" and the value.
    std::string read(const std::string& content, const std::string& match = "Event: reg",
                     const std::string& key = "Contact:")
    {
        std::string value = "untouched";
        const bool qualifies = imsua::read_capability(dir.write("f", content).c_str(), key, match, value);
        if (!qualifies) {
            EXPECT_EQ(value, "untouched");
            return "no";
        }
        return "yes:" + value;
    }
    TempDir dir;
};

TEST_F(ACapabilityFile, QualifiesWithKeyAndMatchInEitherOrder)
{
    EXPECT_EQ(read("Event: reg\nContact: c\n"), "yes:c");
    EXPECT_EQ(read("Contact: c\nEvent: reg\n"), "yes:c");
}

TEST_F(ACapabilityFile, DoesNotQualifyWithOneHit)
{
    EXPECT_EQ(read(""), "no");
    EXPECT_EQ(read("Contact: c\n"), "no");
    EXPECT_EQ(read("Event: reg\n"), "no");
    EXPECT_EQ(read("Event: callstate\nContact: c\n"), "no");
}

TEST_F(ACapabilityFile, MatchesBySubstring)
{
    EXPECT_EQ(read("Event: imsreg\nContact: c\n"), "no") << "the blank after the colon separates them";
    EXPECT_EQ(read("Event: reginfo\nContact: c\n"), "yes:c") << "a package whose name begins with it";
}

TEST_F(ACapabilityFile, QualifiesByOneLineThatHoldsBoth)
{
    EXPECT_EQ(read("Route: r\n", "Route:", "Route:"), "yes:r");
    EXPECT_EQ(read("x\ny\nRoute: r\nRoute: s\n", "Route:", "Route:"), "yes:r");
}

TEST_F(ACapabilityFile, QualifiesWithTwoKeyLinesAndGivesTheSecond)
{
    EXPECT_EQ(read("Contact: a\nContact: b\nContact: c\n"), "yes:b");
}

TEST_F(ACapabilityFile, QualifiesWithTwoMatchesAndGivesNothing)
{
    EXPECT_EQ(read("Event: reg\nEvent: reg\nContact: c\n"), "yes:");
}

TEST_F(ACapabilityFile, NeverQualifiesOnceTheCountJumpsFrom1To3)
{
    EXPECT_EQ(read("Contact: a\nContact: Event: reg\nContact: b\nEvent: reg\n"), "no");
    EXPECT_EQ(read("Event: reg\nContact: Event: reg\n"), "no");
}

TEST_F(ACapabilityFile, CutsTheValueByPosition)
{
    EXPECT_EQ(read("xContact: c\nEvent: reg\n"), "yes:: c") << "the key's last character stays";
    EXPECT_EQ(read("xxxxxxxxxxContact: c\nEvent: reg\n"), "yes:xxContact: c");
    EXPECT_EQ(read("Contact:\nEvent: reg\n"), "yes:");
}

TEST_F(ACapabilityFile, StripsTheBlanksAroundTheValue)
{
    EXPECT_EQ(read("Event: reg\nContact: \t c d \t\n"), "yes:c d");
    EXPECT_EQ(read("Event: reg\r\nContact: c\r\n"), "yes:c");
}

TEST_F(ACapabilityFile, SkipsEmptyLines)
{
    EXPECT_EQ(read("\n\nEvent: reg\n\n\nContact: c"), "yes:c");
    EXPECT_EQ(read("\nContact: c\nEvent: callstate\n", ""), "yes:c");
    EXPECT_EQ(read("\n\n\n\n", ""), "no") << "an empty match counts on lines, not on empty ones";
}

TEST_F(ACapabilityFile, NeedsNoLineFeedAtItsEnd)
{
    EXPECT_EQ(read("Event: reg\nContact: c"), "yes:c");
}

TEST_F(ACapabilityFile, ReadsALineOf1023Characters)
{
    const std::string value(1023 - 9, 'c');
    EXPECT_EQ(read("Event: reg\nContact: " + value + "\n"), "yes:" + value);
    EXPECT_EQ(read("Event: reg\nContact: " + value), "yes:" + value) << "also at the end";
    EXPECT_EQ(read(std::string(1023, 'x') + "\nEvent: reg\nContact: c\n"), "yes:c");
}

TEST_F(ACapabilityFile, EndsAtALineOf1024Characters)
{
    const std::string value(1024 - 9, 'c');
    EXPECT_EQ(read("Event: reg\nContact: " + value + "\n"), "no");
    EXPECT_EQ(read("Event: reg\nContact: " + value), "no");
    EXPECT_EQ(read(std::string(1024, 'x') + "\nEvent: reg\nContact: c\n"), "no");
    EXPECT_EQ(read("Event: reg\nContact: c\n" + std::string(1024, 'x')), "yes:c") << "qualified before";
}

TEST_F(ACapabilityFile, ReadsALineOnlyUpToAZeroByte)
{
    using namespace std::string_literals;
    EXPECT_EQ(read("Event: reg\nContact: a\0b\n"s), "yes:a");
    EXPECT_EQ(read("Event: reg\n\0Contact: a\n"s), "no");
    EXPECT_EQ(read("E\0Event: reg\nContact: a\n"s), "no");
}

TEST_F(ACapabilityFile, CannotBeADirectoryOrAFifoOrMissing)
{
    std::string value = "untouched";
    ASSERT_EQ(::mkfifo(dir.file("fifo").c_str(), 0600), 0);
    for (const std::string& path : {dir.path(), dir.file("fifo"), dir.file("none"), std::string("/dev/zero")})
        EXPECT_FALSE(imsua::read_capability(path.c_str(), "Contact:", "", value)) << path;
    EXPECT_EQ(value, "untouched");
}

// The lowest free descriptor: the same as before when everything that was opened is closed again.
int next_descriptor()
{
    const int fd = ::dup(STDERR_FILENO);
    ::close(fd);
    return fd;
}

TEST_F(ACapabilityFile, IsClosedWhetherItQualifiesOrNot)
{
    const int before = next_descriptor();
    EXPECT_EQ(read("Event: reg\nContact: c\n"), "yes:c");
    EXPECT_EQ(read("Event: callstate\n"), "no");
    std::string value;
    EXPECT_FALSE(imsua::read_capability(dir.path().c_str(), "Contact:", "", value)) << "a directory";
    EXPECT_EQ(next_descriptor(), before);
}

} // namespace
