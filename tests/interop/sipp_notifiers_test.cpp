// imswatch against SIPp as notifier. What is asserted of each message stands in sipp/<scenario>.xml.
#include "tests/system/device.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using std::chrono::seconds;

enum Status : int { CAME = 0, REFUSED = 4 }; // of imswatch

// SIPp on port 5090 over one transport, and imswatch asking it.
struct ASippNotifierOver : ADevice, ::testing::WithParamInterface<const char*> {
    void serve(const std::string& scenario, int calls = 1)
    {
        scenario_ = scenario;
        const std::string transport = GetParam() == std::string("udp") ? "u1" : "t1";
        server_ = start_sipp(scenario,
                             {"-i", "127.0.0.1", "-p", "5090", "-m", std::to_string(calls), "-t", transport});
    }

    void watch(int status, const Words& arguments = {})
    {
        Words all = {"--uri", "sip:sipp@127.0.0.1:5090", "--transport", GetParam(), "--for", "50"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        watcher_ = watcher(all);
        EXPECT_EQ(watcher_->wait(seconds(60)).status, status) << watcher_->output() << watcher_->log();
    }

    void expect_all_played()
    {
        EXPECT_EQ(server_->wait(seconds(60)).status, 0)
            << dir_.read(scenario_ + ".errors") << watcher_->output();
    }

    // The objects that it printed; every line must be one.
    std::vector<nlohmann::json> told() const
    {
        std::vector<nlohmann::json> all;
        std::istringstream lines(watcher_->output());
        for (std::string line; std::getline(lines, line);) {
            all.push_back(nlohmann::json::parse(line, nullptr, false));
            EXPECT_FALSE(all.back().is_discarded()) << line;
        }
        return all;
    }

    std::vector<nlohmann::json> notifies() const
    {
        std::vector<nlohmann::json> some;
        for (auto& one : told())
            if (one.value("type", "") == "notify") some.push_back(one);
        return some;
    }

    int count(const std::string& type) const
    {
        int found = 0;
        for (const auto& one : told())
            found += one.value("type", "") == type ? 1 : 0;
        return found;
    }

    std::string scenario_;
    Running server_, watcher_;
};

TEST_P(ASippNotifierOver, IsUnderstood)
{
    serve("notifier");
    watch(CAME, {"--count", "2"});
    expect_all_played();
    const auto all = notifies();
    ASSERT_EQ(all.size(), 3u) << watcher_->output();
    EXPECT_EQ(all[0]["link"]["name"], "from-sipp");
    EXPECT_EQ(all[0]["link"]["status"], "up");
    EXPECT_EQ(all[0]["expires"], 600);
    EXPECT_EQ(all[1]["link"]["status"], "down");
    EXPECT_EQ(all[2]["state"], "terminated");
}

TEST_P(ASippNotifierOver, MayNotifyBeforeItAnswers)
{
    serve("early_notify");
    watch(CAME, {"--count", "2"});
    expect_all_played();
    EXPECT_EQ(notifies().size(), 3u) << watcher_->output();
}

TEST_P(ASippNotifierOver, IsAskedAgainWhenItDeactivates)
{
    serve("deactivates", 2);
    watch(CAME, {"--count", "2"});
    expect_all_played();
    ASSERT_EQ(notifies().size(), 2u) << watcher_->output();
    EXPECT_EQ(notifies()[0]["reason"], "deactivated");
    EXPECT_EQ(count("subscribed"), 2) << watcher_->output();
}

TEST_P(ASippNotifierOver, IsLeftAloneWhenItRejects)
{
    serve("rejects");
    watch(CAME);
    expect_all_played();
    ASSERT_EQ(notifies().size(), 1u) << watcher_->output();
    EXPECT_EQ(notifies()[0]["reason"], "rejected");
}

TEST_P(ASippNotifierOver, IsAskedAnewWhenItForgotTheSubscription)
{
    serve("forgets", 2);
    watch(CAME, {"--count", "2"});
    expect_all_played();
    EXPECT_EQ(count("subscribed"), 2) << watcher_->output();
}

TEST_P(ASippNotifierOver, IsAskedAgainWhenItSaidLater)
{
    serve("comes_later", 2);
    watch(CAME, {"--count", "1"});
    expect_all_played();
    EXPECT_NE(watcher_->output().find("503 by sip:sipp@127.0.0.1:5090"), std::string::npos)
        << watcher_->output();
}

TEST_P(ASippNotifierOver, GetsTheTimeThatItWants)
{
    serve("wants_longer", 2);
    watch(CAME, {"--count", "1"});
    expect_all_played();
}

TEST_P(ASippNotifierOver, HearsWhichNotifiesBelongToNoSubscription)
{
    serve("strangers");
    watch(CAME);
    expect_all_played();
    ASSERT_EQ(notifies().size(), 2u) << "only the right ones are shown: " << watcher_->output();
    EXPECT_EQ(notifies()[1]["reason"], "noresource");
}

TEST_P(ASippNotifierOver, DoesNoHarmWithBodiesThatAreNone)
{
    serve("babbles");
    watch(CAME);
    expect_all_played();
    const auto all = notifies();
    ASSERT_EQ(all.size(), 7u) << watcher_->output();
    EXPECT_EQ(all[0].count("body"), 0u);
    EXPECT_EQ(all[1]["body"].get<std::string>().substr(0, 13), "no XML at all");
    for (const std::string& text : {watcher_->output(), watcher_->log()})
        for (const char c : text)
            ASSERT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20)
                << "a control character: " << text;
}

TEST_P(ASippNotifierOver, MayRefuse)
{
    serve("refuser");
    watch(REFUSED);
    expect_all_played();
    EXPECT_NE(watcher_->output().find("status 403"), std::string::npos) << watcher_->output();
}

INSTANTIATE_TEST_SUITE_P(, ASippNotifierOver, ::testing::Values("udp", "tcp"),
                         [](const auto& way) { return std::string(way.param); });

} // namespace
