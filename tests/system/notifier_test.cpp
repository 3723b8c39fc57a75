#include "tests/system/device.h"

#include <csignal>
#include <gtest/gtest.h>

namespace {

using std::chrono::seconds;

constexpr const char* UP = R"("status":"up")";
constexpr const char* DOWN = R"("status":"down")";

struct ANotifierOnADevice : ADevice {};

TEST_F(ANotifierOnADevice, TellsSubscribersOverBothTransportsWhatHappensToItsLink)
{
    auto daemon = notifier();
    auto udp = watcher({"--transport", "udp"});
    auto tcp = watcher({"--transport", "tcp"});
    for (auto* one : {udp.get(), tcp.get()}) {
        const std::string line = one->wait_for_line(UP);
        EXPECT_NE(line.find(R"("link":{"reference":)"), std::string::npos) << line << one->output();
        EXPECT_NE(line.find(R"("mac":"02:00:00:00:00:01","ip":"192.0.2.1")"), std::string::npos) << line;
    }
    ASSERT_TRUE(link("dev0 down"));
    EXPECT_NE(udp->wait_for_line(DOWN), "");
    EXPECT_NE(tcp->wait_for_line(R"("cause":"admin-down")"), "");
    ASSERT_TRUE(link("dev0 up"));
    EXPECT_NE(udp->wait_for_line(UP), "");
    EXPECT_NE(tcp->wait_for_line(UP), "");
    ASSERT_TRUE(net_.ip("link delete dev0"));
    EXPECT_NE(udp->wait_for_line(R"("cause":"removed")"), "");
    EXPECT_NE(tcp->wait_for_line(R"("cause":"removed")"), "");
}

TEST_F(ANotifierOnADevice, TellsTheAvailabilityOfTheAccess)
{
    auto daemon = notifier();
    auto one = start("imswatch", {"kiv-link-avail-event", "--json", "--profile", "7"});
    EXPECT_NE(one->wait_for_line(R"("access":{"network":"IEEE","type":"802.3","point":"dev0"})"), "");
    ASSERT_TRUE(link("dev0 down"));
    EXPECT_NE(one->wait_for_line(R"("access":{"network":"","type":"","point":""})"), "");
}

TEST_F(ANotifierOnADevice, TellsTheLastStateOfABurstOfAThousandChanges)
{
    auto daemon = notifier();
    auto one = watcher();
    ASSERT_NE(one->wait_for_line(UP), "");
    std::string burst;
    for (int i = 0; i < 500; ++i)
        burst += "link set dev0 address 02:00:00:00:01:0" + std::to_string(i % 9) + "\nlink set dev0 " +
                 (i % 2 == 0 ? "down\n" : "up\n");
    burst += "link set dev0 address 02:00:00:00:00:99\nlink set dev0 down\n";
    ASSERT_TRUE(ip_batch(burst));
    EXPECT_NE(one->wait_for_line(
                  R"("mac":"02:00:00:00:00:99","ip":"192.0.2.1","status":"down","cause":"admin-down")"),
              "")
        << one->output();
    EXPECT_EQ(daemon->log().find("overflow"), std::string::npos);
    EXPECT_TRUE(daemon->running());
}

TEST_F(ANotifierOnADevice, EndsCleanlyAndTellsItsSubscribers)
{
    auto daemon = notifier();
    auto one = watcher();
    ASSERT_NE(one->wait_for_line(UP), "");
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->wait().status, 0) << daemon->log();
    EXPECT_NE(one->wait_for_line(R"("state":"terminated","reason":"probation","retry_after":2)"), "");
    EXPECT_NE(dir_.read("imslinkevd.cap"), "") << "capability files are never deleted";
    auto again = notifier();
    EXPECT_NE(one->wait_for_line(UP), "") << "the subscriber came back: " << one->output();
    one->signal(SIGINT);
    EXPECT_EQ(one->wait().status, 0);
}

TEST_F(ANotifierOnADevice, IsFoundAgainAfterItWasKilled)
{
    auto daemon = notifier();
    auto udp = watcher({"--expires", "2"});
    auto tcp = watcher({"--expires", "2", "--transport", "tcp"});
    ASSERT_NE(udp->wait_for_line(UP), "");
    ASSERT_NE(tcp->wait_for_line(UP), "");
    daemon->signal(SIGKILL);
    EXPECT_EQ(daemon->wait().signal, SIGKILL);
    ASSERT_TRUE(link("dev0 down"));
    daemon = notifier();
    EXPECT_NE(udp->wait_for_line(DOWN), "") << udp->output();
    EXPECT_NE(tcp->wait_for_line(DOWN), "") << tcp->output();
}

TEST_F(ANotifierOnADevice, DropsSubscribersThatWereKilled)
{
    auto store = framework("<T1>20</T1>");
    auto daemon = notifier(framework_ports());
    auto udp = watcher();
    auto tcp = watcher({"--transport", "tcp"});
    auto other = watcher();
    ASSERT_NE(udp->wait_for_line(UP), "");
    ASSERT_NE(tcp->wait_for_line(UP), "");
    ASSERT_NE(other->wait_for_line(UP), "");
    udp->signal(SIGKILL);
    tcp->signal(SIGKILL);
    udp->wait();
    tcp->wait();
    ASSERT_TRUE(link("dev0 down"));
    EXPECT_NE(other->wait_for_line(DOWN), "");
    EXPECT_TRUE(daemon->wait_for_log("subscriber dropped"));
    ASSERT_TRUE(link("dev0 up"));
    EXPECT_NE(other->wait_for_line(UP), "") << "the others are served on";
}

TEST_F(ANotifierOnADevice, WorksOnWithoutItsFrameworkDaemon)
{
    auto store = framework("", "<profilename>from-the-store</profilename><profile>42</profile>");
    auto daemon = notifier(framework_ports());
    auto one = watcher();
    const std::string line = one->wait_for_line(UP);
    EXPECT_NE(line.find(R"("profile":{"id":42,"name":"from-the-store"})"), std::string::npos) << line;
    EXPECT_NE(line.find(R"("profile_header":"42")"), std::string::npos) << line;
    store->signal(SIGKILL);
    store->wait();
    ASSERT_TRUE(link("dev0 down"));
    EXPECT_NE(one->wait_for_line(DOWN), "");
    auto newcomer = watcher({"--count", "1"});
    EXPECT_EQ(newcomer->wait().status, 0);
    EXPECT_TRUE(daemon->running());
}

TEST_F(ANotifierOnADevice, RunsWhenTheFrameworkDaemonIsAbsent)
{
    auto daemon = notifier({"-fwksyncport", "1", "-fwkasyncport", "2"});
    EXPECT_TRUE(daemon->wait_for_log("the framework daemon is away"));
    auto one = watcher({"--count", "1"});
    EXPECT_EQ(one->wait().status, 0);
}

// A framework daemon that is stopped accepts connections and says nothing.
TEST_F(ANotifierOnADevice, WaitsForASlowFrameworkDaemonAndTakesItsConfiguration)
{
    auto store = framework("", "<profilename>late</profilename>");
    store->signal(SIGSTOP);
    Words arguments = framework_ports();
    arguments.insert(arguments.end(), {"-links", "dev0"});
    auto daemon = start("imslinkevd", arguments);
    ASSERT_TRUE(daemon->wait_for_log("waiting for sync from framework")) << daemon->log();
    EXPECT_FALSE(daemon->wait_for_log("serving at", std::chrono::milliseconds(100)));
    store->signal(SIGCONT);
    ASSERT_TRUE(daemon->wait_for_log("serving at")) << daemon->log();
    auto one = watcher({"--count", "1"});
    EXPECT_NE(one->wait_for_line(R"("name":"late")"), "") << one->output();
}

TEST_F(ANotifierOnADevice, CanBeEndedWhileItWaitsForTheFrameworkDaemon)
{
    auto store = framework();
    store->signal(SIGSTOP);
    auto daemon = start("imslinkevd", framework_ports());
    ASSERT_TRUE(daemon->wait_for_log("waiting for sync from framework")) << daemon->log();
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->wait().status, 128 + SIGTERM);
}

TEST_F(ANotifierOnADevice, AnswersAFetchOnceAndRefusesWhatItMust)
{
    auto daemon = notifier({"-maxsubscribers", "1"});
    auto fetch = watcher({"--expires", "0"});
    EXPECT_EQ(fetch->wait().status, 0);
    EXPECT_NE(fetch->output().find(R"("state":"terminated","reason":"timeout")"), std::string::npos);
    auto first = watcher();
    ASSERT_NE(first->wait_for_line(UP), "");
    auto second = watcher({"--for", "1"});
    EXPECT_EQ(second->wait().status, 1) << second->output();
    EXPECT_NE(second->output().find("503"), std::string::npos) << second->output();
    auto unknown = start("imswatch", {"presence", "--uri", "sip:imslinkevd@127.0.0.1:5080", "--json"});
    EXPECT_EQ(unknown->wait().status, 4);
    EXPECT_NE(unknown->output().find("status 489"), std::string::npos) << unknown->output();
    auto nobody = start("imswatch", {"no-such-package"});
    EXPECT_EQ(nobody->wait().status, 3);
}

TEST_F(ANotifierOnADevice, EndsASubscriptionThatIsNotRefreshed)
{
    auto daemon = notifier();
    std::string said;
    EXPECT_TRUE(sipp("expiry", {}, &said)) << said;
}

TEST_F(ANotifierOnADevice, SaysWhatIsWrongWithItsOptions)
{
    auto wrong = start("imslinkevd", {"-port", "many"});
    EXPECT_EQ(wrong->wait().status, 2);
    EXPECT_NE(wrong->log().find("port: 'many' is not a number"), std::string::npos) << wrong->log();
    auto help = start("imslinkevd", {"-h"});
    EXPECT_EQ(help->wait().status, 0);
    EXPECT_NE(help->log().find("-maxsubscribers"), std::string::npos);
    EXPECT_NE(help->log().find("-fwksyncport"), std::string::npos);
}

} // namespace
