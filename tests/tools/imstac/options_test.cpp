#include "tools/imstac/options.h"

#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

namespace {

using imstac::Channel;
using namespace std::chrono_literals;

class TheCommandLineOfImstac : public ::testing::Test {
protected:
    bool parsed(std::vector<std::string> words)
    {
        std::vector<const char*> argv = {"imstac"};
        for (const std::string& word : words)
            argv.push_back(word.c_str());
        options = imstac::Options();
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const bool goes_on =
            imstac::parse_options(static_cast<int>(argv.size()), argv.data(), options, status);
        said = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
        return goes_on;
    }
    std::string steps() const
    {
        std::string text;
        for (const imstac::Step& step : options.steps)
            text += step.source + ": " + shown(step) + "\n";
        return text;
    }

    TempDir dir;
    imstac::Options options;
    int status = -1;
    std::string said;
};

} // namespace

TEST_F(TheCommandLineOfImstac, IsTakenWhole)
{
    ASSERT_TRUE(parsed({"agent", "--within", "1.5", "--window", "50", "--strict", "--connect-within", "2",
                        "--order", "sync,async", "--for", "0.5", "--count", "3", "--record", "f", "--json",
                        "--quiet", "--fast"}))
        << said;
    EXPECT_EQ(options.agent, "agent");
    EXPECT_EQ(options.rules.within, 1500ms);
    EXPECT_EQ(options.rules.window, 50u);
    EXPECT_TRUE(options.rules.strict);
    EXPECT_FALSE(options.rules.timed);
    EXPECT_EQ(options.connect_within, 2s);
    EXPECT_EQ(options.order, (std::vector<Channel>{Channel::sync, Channel::async}));
    EXPECT_EQ(options.linger, 500ms);
    EXPECT_EQ(options.count, 3u);
    EXPECT_EQ(options.record, "f");
    EXPECT_TRUE(options.json);
    EXPECT_TRUE(options.quiet);
}

TEST_F(TheCommandLineOfImstac, HasDefaults)
{
    ASSERT_TRUE(parsed({"agent"}));
    EXPECT_EQ(options.rules.within, 5s);
    EXPECT_EQ(options.rules.window, 1u);
    EXPECT_TRUE(options.rules.timed);
    EXPECT_FALSE(options.rules.strict);
    EXPECT_EQ(options.order, (std::vector<Channel>{Channel::async, Channel::sync}));
    EXPECT_EQ(options.connect_within, 5s);
    EXPECT_EQ(options.linger, 0s);
    EXPECT_TRUE(options.steps.empty());
}

TEST_F(TheCommandLineOfImstac, GivesStepsInTheirOrder)
{
    const std::string script = dir.write("s", "pause 1ms\nsend async 9\n");
    const std::string record = dir.write(
        "r",
        R"({"time":5,"event":"message","channel":"sync","direction":"sent","id":4,"ref":0,"type":0,"body":""})");
    ASSERT_TRUE(parsed({"--send", "sync 1 ref=2", "--expect", "sync 1", "agent", "--script", script, "--send",
                        "async 3", "--replay", record, "--expect", "async closed"}))
        << said;
    EXPECT_EQ(steps(), "--send: send sync 0x0001 ref=2\n--expect: expect sync 0x0001\n" + script +
                           ":1: pause 0.001 s\n" + script +
                           ":2: send async 0x0009\n--send: send async 0x0003\n" + record +
                           ":1: send sync 0x0004\n--expect: expect async closed\n");
}

TEST_F(TheCommandLineOfImstac, ExpectsWhatWasRecordedWhenAskedTo)
{
    const std::string record = dir.write(
        "r",
        R"({"time":5,"event":"message","channel":"sync","direction":"received","id":4,"ref":0,"type":0,"body":""})");
    ASSERT_TRUE(parsed({"a", "--replay", record}));
    EXPECT_EQ(options.steps.size(), 0u);
    ASSERT_TRUE(parsed({"a", "--replay", record, "--check"}));
    EXPECT_EQ(options.steps.size(), 1u);
}

TEST_F(TheCommandLineOfImstac, ThatIsWrongEndsTheProgramWith2AndSaysWhy)
{
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"a", "--within", "soon"},
        {"a", "--window", "0"},
        {"a", "--window", "51"},
        {"a", "--order", "left"},
        {"a", "--order", "sync,sync"},
        {"a", "--order", "sync,async,sync"},
        {"a", "--send"},
        {"a", "b"},
        {"a", "--unknown"},
        {"a", "--script", dir.file("none")},
        {"a", "--script", dir.path()},
        {"a", "--replay", dir.write("bad", "rain\n")},
    };
    for (const auto& words : wrong) {
        status = -1;
        EXPECT_FALSE(parsed(words));
        EXPECT_EQ(status, 2);
        EXPECT_NE(said, "");
    }
}

TEST_F(TheCommandLineOfImstac, SaysWhereAStepIsWrong)
{
    EXPECT_FALSE(parsed({"a", "--send", "sync"}));
    EXPECT_EQ(
        said,
        "imstac: --send 'sync': after the channel stands a message id from 0 to 65535, such as 0x8101\n");
    const std::string script = dir.write("s", "\nshout\n");
    EXPECT_FALSE(parsed({"a", "--script", script}));
    EXPECT_EQ(said, "imstac: " + script + ":2: 'shout' is none of send, expect, raw, close, pause\n");
    EXPECT_FALSE(parsed({"a", "--send", "# nothing"}));
    EXPECT_EQ(status, 2);
}

TEST_F(TheCommandLineOfImstac, ThatAsksForHelpGetsIt)
{
    EXPECT_FALSE(parsed({"--help"}));
    EXPECT_EQ(status, 0);
    EXPECT_NE(said.find("--replay"), std::string::npos);
    EXPECT_NE(said.find("Exit status"), std::string::npos);
}
