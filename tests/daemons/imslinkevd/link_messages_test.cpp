#include "daemons/imslinkevd/link_messages.h"

#include "tests/daemons/imslinkevd/kernel_messages.h"

#include <gtest/gtest.h>

namespace {

TEST(ALinkMessage, GivesNameAddressAndStates)
{
    Kernel_message message(RTM_NEWLINK);
    message.link(7, IFF_UP | IFF_RUNNING);
    message.text(IFLA_IFNAME, "veth-a");
    message.bytes(IFLA_ADDRESS, {0x02, 0xfe, 0x00, 0x80, 0x7f, 0xff});
    message.byte(IFLA_OPERSTATE, IF_OPER_UP);
    message.byte(IFLA_CARRIER, 1);
    const auto news = read_link(message.head());
    ASSERT_TRUE(news);
    EXPECT_EQ(news->index, 7);
    EXPECT_EQ(news->name, "veth-a");
    EXPECT_EQ(news->mac, "02:fe:00:80:7f:ff");
    EXPECT_TRUE(news->admin_up);
    EXPECT_TRUE(news->running);
    EXPECT_FALSE(news->loopback);
    EXPECT_EQ(news->operstate, static_cast<unsigned>(IF_OPER_UP));
    EXPECT_EQ(news->carrier, true);
}

TEST(ALinkMessage, OfABridgePortIsNotAboutTheLink)
{
    Kernel_message message(RTM_DELLINK);
    message.link(7, IFF_UP, AF_BRIDGE);
    EXPECT_FALSE(read_link(message.head()));
}

TEST(ALinkMessage, LeavesOutWhatItDoesNotMention)
{
    Kernel_message message(RTM_NEWLINK);
    message.link(1, IFF_UP | IFF_LOOPBACK);
    message.bytes(IFLA_ADDRESS, {0, 0, 0, 0, 0, 0});
    const auto news = read_link(message.head());
    ASSERT_TRUE(news);
    EXPECT_FALSE(news->name);
    EXPECT_FALSE(news->operstate);
    EXPECT_FALSE(news->carrier);
    EXPECT_EQ(news->mac, "") << "the all-zero address of the loopback";
    EXPECT_TRUE(news->loopback);
}

TEST(ALinkMessage, ThatIsTooShortIsIgnored)
{
    Kernel_message message(RTM_NEWLINK);
    EXPECT_FALSE(read_link(message.head()));
    EXPECT_FALSE(read_address(message.head()));
}

TEST(AnAddressMessage, PrefersTheLocalEndOfAPointToPointLink)
{
    Kernel_message message(RTM_NEWADDR);
    message.address(3, AF_INET, 32, RT_SCOPE_UNIVERSE);
    message.bytes(IFA_ADDRESS, {192, 0, 2, 2});
    message.bytes(IFA_LOCAL, {192, 0, 2, 1});
    const auto news = read_address(message.head());
    ASSERT_TRUE(news);
    EXPECT_EQ(news->index, 3);
    EXPECT_EQ(news->address.text, "192.0.2.1");
    EXPECT_EQ(news->address.prefix, 32u);
    EXPECT_FALSE(news->address.tentative);
}

TEST(AnAddressMessage, TellsATentativeIpv6Address)
{
    Kernel_message message(RTM_NEWADDR);
    message.address(3, AF_INET6, 64, RT_SCOPE_LINK);
    message.bytes(IFA_ADDRESS, {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    message.bytes(IFA_FLAGS, {IFA_F_TENTATIVE, 0, 0, 0});
    const auto news = read_address(message.head());
    ASSERT_TRUE(news);
    EXPECT_EQ(news->address.text, "fe80::1");
    EXPECT_TRUE(news->address.tentative);
}

TEST(AnAddressMessage, WithoutAWholeAddressIsIgnored)
{
    Kernel_message cut(RTM_NEWADDR);
    cut.address(3, AF_INET6, 64, RT_SCOPE_LINK);
    cut.bytes(IFA_ADDRESS, {0xfe, 0x80});
    EXPECT_FALSE(read_address(cut.head()));
    Kernel_message other(RTM_NEWADDR);
    other.address(3, AF_MPLS, 0, 0);
    EXPECT_FALSE(read_address(other.head()));
}

} // namespace
