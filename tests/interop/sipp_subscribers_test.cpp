// imslinkevd against SIPp as subscriber. What is asserted of each message stands in sipp/<scenario>.xml.
#include "tests/system/device.h"

#include <csignal>
#include <gtest/gtest.h>
#include <tuple>

namespace {

using std::chrono::seconds;

const char* sipp_transport(const std::string& name)
{
    return name == "udp" ? "u1" : "t1"; // one socket for all calls
}

struct ASippSubscriber : ADevice {
    // All `calls` calls of the scenario come to their end, each message being the expected one.
    void plays(const std::string& scenario, const std::string& transport, const Words& arguments = {})
    {
        Words all = {"-t", sipp_transport(transport)};
        all.insert(all.end(), arguments.begin(), arguments.end());
        std::string said;
        EXPECT_TRUE(sipp(scenario, all, &said)) << scenario << ": " << said << daemon_->log();
    }
    Running daemon_;
};

// ---- one subscriber ----

using Play = std::tuple<const char*, const char*>; // scenario, transport

struct ASippSubscriberOver : ASippSubscriber, ::testing::WithParamInterface<Play> {};

TEST_P(ASippSubscriberOver, GetsWhatItsScenarioDemands)
{
    daemon_ = notifier();
    plays(std::get<0>(GetParam()), std::get<1>(GetParam()));
    EXPECT_TRUE(daemon_->running());
}

std::string name_of(const ::testing::TestParamInfo<Play>& info)
{
    return std::string(std::get<0>(info.param)) + "_" + std::get<1>(info.param);
}

// Over TCP 200 and NOTIFY may pass each other: there only scenarios that allow for it, or have no NOTIFY.
constexpr const char* refusals[] = {"no_dialog", "unknown_package", "other_methods",
                                    "demands",   "broken",          "unreadable_once"};

INSTANTIATE_TEST_SUITE_P(OverUdp, ASippSubscriberOver,
                         ::testing::Combine(::testing::Values("lifetime", "availability", "fetch", "event_id",
                                                              "default_expires", "too_long", "expiry",
                                                              "busy_subscriber", "stale_cseq", "unreadable",
                                                              "unsubscribed_by_481"),
                                            ::testing::Values("udp")),
                         name_of);
INSTANTIATE_TEST_SUITE_P(OverTcp, ASippSubscriberOver,
                         ::testing::Combine(::testing::Values("lifetime_over_tcp"), ::testing::Values("tcp")),
                         name_of);
INSTANTIATE_TEST_SUITE_P(Refused, ASippSubscriberOver,
                         ::testing::Combine(::testing::ValuesIn(refusals), ::testing::Values("udp", "tcp")),
                         name_of);

TEST_F(ASippSubscriber, AsksForLongerWhenItsTimeWasTooBrief)
{
    daemon_ = notifier({"-minexpires", "60"});
    plays("brief_expires", "udp");
}

TEST_F(ASippSubscriber, IsOneSubscriberHoweverOftenItsRequestArrives)
{
    daemon_ = notifier();
    plays("sent_again", "udp", {"-nr"});
    EXPECT_EQ(daemon_->log().find("2 subscribers"), std::string::npos) << daemon_->log();
}

TEST_F(ASippSubscriber, IsRefusedWhereThereIsNoRoom)
{
    daemon_ = notifier({"-maxsubscribers", "1"});
    plays("holder", "udp");
    plays("no_room", "udp");
    plays("no_room", "tcp");
}

TEST_F(ASippSubscriber, IsDroppedWhenItNeverAnswers)
{
    auto store = framework("<T1>20</T1>");
    daemon_ = notifier(framework_ports());
    auto silent = start_sipp("silent", {"127.0.0.1:5080", "-i", "127.0.0.1", "-m", "1", "-t", "u1"});
    EXPECT_TRUE(daemon_->wait_for_log("NOTIFY answered 408: subscriber dropped")) << daemon_->log();
    EXPECT_TRUE(silent->running()) << "it still listens: nothing but its silence ended the subscription";
}

TEST_F(ASippSubscriber, HearsThatItsNotifierEnds)
{
    daemon_ = notifier();
    const Words to = {"127.0.0.1:5080", "-i", "127.0.0.1", "-m", "1"};
    auto subscriber = start_sipp("farewell", to);
    ASSERT_TRUE(daemon_->wait_for_log(" 1 subscribers")) << daemon_->log();
    daemon_->signal(SIGTERM);
    EXPECT_EQ(subscriber->wait().status, 0) << dir_.read("farewell.errors") << daemon_->log();
    EXPECT_EQ(daemon_->wait().status, 0) << daemon_->log();
}

// ---- many subscribers ----

TEST_F(ASippSubscriber, ComesWithTwoHundredASecondOverUdp)
{
    daemon_ = notifier();
    plays("brief_visit", "udp", {"-m", "200", "-l", "200", "-r", "200"});
    EXPECT_EQ(daemon_->log().find("overflow"), std::string::npos);
}

TEST_F(ASippSubscriber, ComesWithTwoHundredASecondOverOneConnection)
{
    daemon_ = notifier();
    plays("brief_visit", "tcp", {"-m", "200", "-l", "200", "-r", "200"});
}

TEST_F(ASippSubscriber, ComesWithTwoHundredASecondOverAConnectionEach)
{
    daemon_ = notifier();
    std::string said;
    EXPECT_TRUE(sipp("brief_visit",
                     {"-t", "tn", "-m", "200", "-l", "200", "-r", "200", "-max_socket", "1000"}, &said))
        << said;
}

TEST_F(ASippSubscriber, IsFiveHundredWhoAllHearOfAChange)
{
    daemon_ = notifier();
    auto crowd = start_sipp("await_change", {"127.0.0.1:5080", "-i", "127.0.0.1", "-t", "u1", "-m", "500",
                                             "-l", "500", "-r", "250"});
    ASSERT_TRUE(daemon_->wait_for_log(" 500 subscribers", seconds(40))) << crowd->log();
    ASSERT_TRUE(link("dev0 down"));
    EXPECT_EQ(crowd->wait(seconds(60)).status, 0) << dir_.read("await_change.errors") << crowd->log();
    EXPECT_EQ(daemon_->log().find("overflow"), std::string::npos);
}

} // namespace
