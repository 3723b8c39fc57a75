#include "tools/imswatch/watch_options.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

struct TheCommandLine : ::testing::Test {
    bool parsed(std::vector<const char*> words)
    {
        words.insert(words.begin(), "imswatch");
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const bool goes_on = parse_options(static_cast<int>(words.size()), words.data(), options, status);
        said = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
        return goes_on;
    }
    Watch_options options;
    int status = -1;
    std::string said;
};

TEST_F(TheCommandLine, IsTakenWhole)
{
    ASSERT_TRUE(parsed({"kiv-link-event",
                        "--dir",
                        "/tmp",
                        "--uri",
                        "sip:x@127.0.0.1",
                        "--expires",
                        "60",
                        "--transport",
                        "tcp",
                        "--profile",
                        "-1",
                        "--count",
                        "3",
                        "--for",
                        "1.5",
                        "--port",
                        "6000",
                        "--siptrace",
                        "f",
                        "--json",
                        "--verbose"}))
        << said;
    EXPECT_EQ(options.package, "kiv-link-event");
    EXPECT_EQ(options.dir, "/tmp");
    EXPECT_EQ(options.uri, "sip:x@127.0.0.1");
    EXPECT_EQ(options.expires, 60u);
    EXPECT_EQ(options.transport, "tcp");
    EXPECT_EQ(options.profile, -1);
    EXPECT_EQ(options.count, 3u);
    EXPECT_EQ(options.seconds, 1.5);
    EXPECT_EQ(options.port, 6000);
    EXPECT_EQ(options.siptrace, "f");
    EXPECT_TRUE(options.json);
    EXPECT_TRUE(options.verbose);
}

TEST_F(TheCommandLine, ThatIsWrongEndsTheProgramWith2AndSaysWhy)
{
    const std::vector<std::vector<const char*>> wrong = {{},
                                                         {"p", "--expires", "-1"},
                                                         {"p", "--expires", "soon"},
                                                         {"p", "--transport", "tls"},
                                                         {"p", "--for", "-1"},
                                                         {"p", "--port", "0"},
                                                         {"p", "--dir", "/no/such/folder"},
                                                         {"p", "--unknown"}};
    for (const auto& words : wrong) {
        EXPECT_FALSE(parsed(words));
        EXPECT_EQ(status, 2);
        EXPECT_NE(said, "");
    }
}

TEST_F(TheCommandLine, ThatAsksForHelpGetsIt)
{
    EXPECT_FALSE(parsed({"--help"}));
    EXPECT_EQ(status, 0);
    EXPECT_NE(said.find("--transport"), std::string::npos);
    EXPECT_NE(said.find("Exit status"), std::string::npos);
}

} // namespace
