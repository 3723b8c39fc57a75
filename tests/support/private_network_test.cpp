#include "tests/support/private_network.h"

#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

// The namespace of a thread: "net:[number]".
std::string network_of(const std::string& process)
{
    char text[64] = {};
    const ssize_t n = ::readlink(("/proc/" + process + "/ns/net").c_str(), text, sizeof text - 1);
    return {text, n > 0 ? static_cast<std::size_t>(n) : 0};
}

} // namespace

TEST(APrivateNetwork, IsWhereEveryThreadOfATestIs)
{
    std::string of_a_thread;
    std::thread([&] { of_a_thread = network_of("thread-self"); }).join();
    EXPECT_EQ(of_a_thread, network_of("self"));
    EXPECT_EQ(of_a_thread.compare(0, 5, "net:["), 0);
    // Other users get one only where the kernel's settings allow it.
    if (::geteuid() == 0) {
        EXPECT_NE(of_a_thread, network_of(std::to_string(::getppid())));
    }
}

TEST(APrivateNetwork, HasALoopbackThatIsUp)
{
    ifaddrs* first = nullptr;
    ASSERT_EQ(::getifaddrs(&first), 0);
    bool up = false;
    for (const ifaddrs* i = first; i != nullptr; i = i->ifa_next)
        up = up || (std::string(i->ifa_name) == "lo" && (i->ifa_flags & IFF_UP) != 0);
    ::freeifaddrs(first);
    EXPECT_TRUE(up);
}

TEST(APrivateNetwork, CanBeLeftForAnotherOne)
{
    const std::string before = network_of("self");
    std::string after;
    bool entered = false;
    std::thread([&] {
        entered = imsua_tests::enter_private_network();
        after = network_of("thread-self");
    }).join();
    EXPECT_TRUE(entered || ::geteuid() != 0);
    EXPECT_EQ(after != before, entered);
    EXPECT_EQ(network_of("self"), before);
}
