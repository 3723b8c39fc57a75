#include "daemons/imslinkevd/link_watcher.h"

#include "tests/support/process.h"

#include <algorithm>
#include <future>
#include <gtest/gtest.h>
#include <poll.h>

namespace {

using Clock = std::chrono::steady_clock;

// Runs the watcher on a thread of its own inside the namespace, until `is_done`.
bool watch(const NetNamespace& net, Link_watcher& watcher, const std::function<bool()>& is_done)
{
    return std::async(std::launch::async,
                      [&] {
                          if (net.enter_thread() != 0) return false;
                          if (watcher.fd() < 0) watcher.open(Clock::now());
                          const auto deadline = Clock::now() + std::chrono::seconds(20);
                          while (!is_done()) {
                              if (Clock::now() > deadline) return false;
                              pollfd set{watcher.fd(), POLLIN, 0};
                              if (::poll(&set, 1, 100) > 0) watcher.on_readable(Clock::now());
                              watcher.on_time(Clock::now());
                          }
                          return true;
                      })
        .get();
}

const Link* find(const std::vector<Link>& links, const std::string& name)
{
    const auto found =
        std::find_if(links.begin(), links.end(), [&](const Link& l) { return l.name == name; });
    return found == links.end() ? nullptr : &*found;
}

struct ALinkWatcher : ::testing::Test {
    void SetUp() override
    {
        ASSERT_TRUE(net.valid()) << net.why();
        ASSERT_TRUE(net.ip("link add va type veth peer name vb"));
    }
    bool is(const std::string& name, const std::function<bool(const Link&)>& wanted)
    {
        const auto links = watcher.links();
        const Link* link = find(links, name);
        return link != nullptr && wanted(*link);
    }
    NetNamespace net;
    Link_watcher watcher;
};

TEST_F(ALinkWatcher, SeesTheLinksThatAreThereAndEveryChange)
{
    ASSERT_TRUE(watch(net, watcher, [&] { return is("va", [](const Link& l) { return !l.admin_up; }); }));
    EXPECT_NE(find(watcher.links(), "lo"), nullptr);
    EXPECT_EQ(find(watcher.links(), "va")->mac.size(), 17u);
    net.ip("link set vb up");
    net.ip("link set va up");
    net.ip("address add 192.0.2.1/24 dev va");
    ASSERT_TRUE(watch(net, watcher, [&] {
        return is("va", [](const Link& l) { return l.operstate == 6 && !l.addresses.empty(); });
    }));
    EXPECT_EQ(find(watcher.links(), "va")->addresses[0].text, "192.0.2.1");
    net.ip("link set vb down");
    ASSERT_TRUE(
        watch(net, watcher, [&] { return is("va", [](const Link& l) { return l.carrier == false; }); }));
    net.ip("link delete va");
    ASSERT_TRUE(watch(net, watcher, [&] { return find(watcher.links(), "va") == nullptr; }));
    EXPECT_EQ(watcher.resyncs(), 0u);
}

// A buffer of the smallest size overflows at once while nobody reads.
TEST_F(ALinkWatcher, ReadsEverythingAnewWhenTheKernelLostMessages)
{
    Link_watcher small(1);
    ASSERT_TRUE(watch(net, small, [&] { return find(small.links(), "va") != nullptr; }));
    ProcessStart burst;
    burst.argv = {"sh", "-c",
                  "i=0; while [ $i -lt 100 ]; do i=$((i+1)); ip link set va address 02:00:00:00:00:01; "
                  "ip link set va address 02:00:00:00:00:02; done; ip link set va name last"};
    burst.net = &net;
    ASSERT_EQ(run_process(burst).status, 0);
    ASSERT_TRUE(watch(net, small, [&] { return find(small.links(), "last") != nullptr; }));
    EXPECT_GT(small.resyncs(), 0u);
    EXPECT_EQ(find(small.links(), "last")->mac, "02:00:00:00:00:02");
}

} // namespace
