// The notifier and the subscriber against SIPp and sipsak: programs that know nothing of ours.
#include "tests/system/device.h"

#include <gtest/gtest.h>

namespace {

struct SIPp : ADevice {
    void expect(const std::string& scenario, const Words& arguments = {})
    {
        std::string said;
        EXPECT_TRUE(sipp(scenario, arguments, &said)) << scenario << ": " << said << daemon_->log();
    }
    Running daemon_;
};

TEST_F(SIPp, SubscribesRefreshesAndUnsubscribesOverUdp)
{
    daemon_ = notifier();
    expect("cycle", {"-t", "u1"});
}

TEST_F(SIPp, SubscribesRefreshesAndUnsubscribesOverTcp)
{
    daemon_ = notifier();
    expect("cycle", {"-t", "t1"});
}

TEST_F(SIPp, IsToldWhatIsWrongWithItsRequests)
{
    daemon_ = notifier({"-minexpires", "60"});
    for (const char* scenario : {"unknown_package", "no_event", "no_contact", "broken_expires", "too_brief",
                                 "wrong_accept", "no_dialog", "other_method"})
        expect(scenario);
}

TEST_F(SIPp, MakesFiveHundredSubscribersWhoAllHearOfAChange)
{
    daemon_ = notifier();
    auto crowd = start_sipp("await_change", {"127.0.0.1:5080", "-i", "127.0.0.1", "-t", "u1", "-m", "500",
                                             "-l", "500", "-r", "250"});
    ASSERT_TRUE(daemon_->wait_for_log(" 500 subscribers", std::chrono::seconds(40))) << crowd->log();
    ASSERT_TRUE(link("dev0 down"));
    EXPECT_EQ(crowd->wait(std::chrono::seconds(60)).status, 0)
        << dir_.read("await_change.errors") << crowd->log();
    EXPECT_EQ(daemon_->log().find("overflow"), std::string::npos);
}

TEST_F(SIPp, IsANotifierThatImswatchUnderstands)
{
    auto server = start_sipp("notifier", {"-i", "127.0.0.1", "-p", "5090", "-m", "1"});
    auto one = watcher({"--uri", "sip:sipp@127.0.0.1:5090", "--count", "2", "--for", "20"});
    EXPECT_EQ(one->wait().status, 0) << one->output();
    EXPECT_NE(one->output().find(R"("name":"from-sipp")"), std::string::npos) << one->output();
    EXPECT_EQ(server->wait().status, 0) << dir_.read("notifier.errors");
}

TEST_F(SIPp, RefusesASubscriberWhoThenSaysSo)
{
    auto server = start_sipp("refuser", {"-i", "127.0.0.1", "-p", "5090", "-m", "1"});
    auto one = watcher({"--uri", "sip:sipp@127.0.0.1:5090"});
    EXPECT_EQ(one->wait().status, 4) << one->output();
    EXPECT_NE(one->output().find("status 403"), std::string::npos) << one->output();
}

TEST_F(SIPp, OrSipsakGetsAnAnswerToOptions)
{
    daemon_ = notifier();
    ProcessStart sipsak;
    sipsak.argv = {"sipsak", "-vv", "-s", "sip:imslinkevd@127.0.0.1:5080"};
    sipsak.net = &net_;
    std::string said;
    EXPECT_EQ(run_process(sipsak, &said).status, 0) << said;
    EXPECT_NE(said.find("Allow-Events: kiv-link-event, kiv-link-avail-event"), std::string::npos) << said;
}

} // namespace
