#include "include/text.h"
#include "registrar/IMS_LocalRegistrar.h"
#include "tests/support/child.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

// The MAC of `name`, asked for with a name that ends where its memory ends.
std::string mac_of(const std::string& name)
{
    const std::vector<char> exact(name.c_str(), name.c_str() + name.size() + 1);
    char out[13];
    EXPECT_EQ(IMS_LocalRegistrar::get_mac_address(exact.data(), out, sizeof out), 0);
    return out;
}

// The descriptor that the next open would get.
int next_descriptor()
{
    const int next = ::dup(0);
    ::close(next);
    return next;
}

// Interfaces with addresses of the test's own.
struct ADeviceWithInterfaces : ::testing::Test {
    void SetUp() override
    {
        ASSERT_TRUE(net.valid()) << net.why();
        ASSERT_TRUE(net.ip("link add dev0 address 02:fe:80:ff:0a:7f type veth peer name abcdefghijklmno"));
        ASSERT_TRUE(net.ip("link set abcdefghijklmno address 0a:00:00:00:00:01"));
    }
    std::string inside(const std::function<std::string()>& ask)
    {
        const ChildResult child = run_in_child([&] {
            const std::string answer = net.enter() == 0 ? ask() : "cannot enter";
            std::fwrite(answer.data(), 1, answer.size(), stdout);
            std::fflush(stdout);
        });
        EXPECT_EQ(child.status, 0) << child.err;
        return child.out;
    }
    NetNamespace net;
};

TEST_F(ADeviceWithInterfaces, GivesTwelveDigitsInCapitals)
{
    EXPECT_EQ(inside([] { return mac_of("dev0"); }), "02FE80FF0A7F");
}

TEST_F(ADeviceWithInterfaces, KnowsANameOfFifteenCharactersAndWhateverStartsWithIt)
{
    EXPECT_EQ(inside([] { return mac_of("abcdefghijklmno"); }), "0A0000000001");
    EXPECT_EQ(inside([] { return mac_of("abcdefghijklmnopqrstuvwxyz"); }), "0A0000000001");
    EXPECT_EQ(inside([] { return mac_of("abcdefghijklmn"); }), "000000000000");
}

TEST_F(ADeviceWithInterfaces, WritesNoMoreThanThereIsRoomFor)
{
    EXPECT_EQ(inside([] {
                  char out[8] = "xxxxxxx";
                  IMS_LocalRegistrar::get_mac_address("dev0", out, 5);
                  return std::string(out, sizeof out - 1);
              }),
              std::string("02FE\0xx", 7)); // four digits and a zero, the rest untouched
}

TEST(AMacAddress, IsTwelveZerosWithoutTheInterface)
{
    for (const char* name :
         {"no-such-if", "", " ", "a/b", "lo:", "%s%n", "an-interface-with-a-name-beyond-all-limits"})
        EXPECT_EQ(mac_of(name), "000000000000") << name;
    char out[13];
    EXPECT_EQ(IMS_LocalRegistrar::get_mac_address(nullptr, out, sizeof out), 0);
    EXPECT_STREQ(out, "000000000000");
}

// The loopback interface has a hardware address, and it is all zeros.
TEST(AMacAddress, IsTwelveZerosForLoopback)
{
    EXPECT_EQ(mac_of("lo"), "000000000000");
}

TEST(AMacAddress, StaysInsideAShortBuffer)
{
    for (int size = 1; size <= 13; ++size) {
        std::vector<char> out(static_cast<std::size_t>(size), 'x'); // a sanitizer guards its end
        IMS_LocalRegistrar::get_mac_address("no-such-if", out.data(), size);
        EXPECT_STREQ(out.data(), std::string(static_cast<std::size_t>(size) - 1, '0').c_str());
    }
}

TEST(AMacAddress, IsNotWrittenWhereThereIsNoRoom)
{
    char out[4] = "abc";
    EXPECT_EQ(IMS_LocalRegistrar::get_mac_address("lo", out, 0), 0);
    EXPECT_EQ(IMS_LocalRegistrar::get_mac_address("lo", out, -1), 0);
    EXPECT_EQ(IMS_LocalRegistrar::get_mac_address("lo", nullptr, 13), 0);
    EXPECT_STREQ(out, "abc");
}

TEST(AMacAddress, LeavesNoDescriptorOpen)
{
    const int before = next_descriptor();
    for (int i = 0; i < 10; ++i)
        mac_of(i % 2 ? "lo" : "no-such-if");
    EXPECT_EQ(next_descriptor(), before);
}

TEST(AMacAddress, IsTwelveZerosWhenNoSocketCanBeHad)
{
    const ChildResult child = run_in_child([] {
        const rlimit none = {0, 0};
        char out[13] = "";
        const bool limited = setrlimit(RLIMIT_NOFILE, &none) == 0;
        const int status = IMS_LocalRegistrar::get_mac_address("lo", out, sizeof out);
        std::printf("%d %d %s", limited, status, out);
        std::fflush(stdout);
    });
    EXPECT_EQ(child.out, "1 -1 000000000000") << child.err;
}

} // namespace
