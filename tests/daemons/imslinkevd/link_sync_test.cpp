#include "daemons/imslinkevd/link_sync.h"

#include "tests/daemons/imslinkevd/kernel_messages.h"

#include <gtest/gtest.h>

namespace {

using Wants = Link_sync::Wants;

struct ALinkSync : ::testing::Test {
    static Kernel_message link(int index, const char* name, unsigned sequence, unsigned flags = IFF_UP)
    {
        Kernel_message message(RTM_NEWLINK, sequence);
        message.link(index, flags);
        message.text(IFLA_IFNAME, name);
        return message;
    }
    static Kernel_message done(unsigned sequence, int error = 0)
    {
        Kernel_message message(NLMSG_DONE, sequence);
        message.number(error);
        return message;
    }
    Wants take(Kernel_message message)
    {
        Kernel_batch batch;
        batch.add(message);
        return sync.take(batch.data(), batch.size());
    }
    unsigned sequence() const
    {
        const auto request = sync.request();
        return reinterpret_cast<const nlmsghdr*>(request.bytes.data())->nlmsg_seq;
    }
    unsigned asked() const
    {
        const auto request = sync.request();
        return reinterpret_cast<const nlmsghdr*>(request.bytes.data())->nlmsg_type;
    }
    void follow(int index = 2, const char* name = "eth0")
    {
        sync.start();
        take(link(index, name, sequence()));
        EXPECT_EQ(take(done(sequence())), Wants::dump_addresses);
        EXPECT_EQ(take(done(sequence())), Wants::nothing);
        EXPECT_TRUE(sync.is_following());
        EXPECT_TRUE(sync.take_changed());
    }
    Link_sync sync;
};

TEST_F(ALinkSync, AsksForLinksAndThenForAddresses)
{
    sync.start();
    EXPECT_EQ(asked(), static_cast<unsigned>(RTM_GETLINK));
    take(link(2, "eth0", sequence()));
    EXPECT_EQ(take(done(sequence())), Wants::dump_addresses);
    EXPECT_EQ(asked(), static_cast<unsigned>(RTM_GETADDR));
    Kernel_message address(RTM_NEWADDR, sequence());
    address.address(2, AF_INET, 24, 0);
    address.bytes(IFA_LOCAL, {192, 0, 2, 1});
    take(address);
    EXPECT_FALSE(sync.take_changed()) << "nothing is shown before the dump is whole";
    EXPECT_TRUE(sync.links().empty());
    take(done(sequence()));
    EXPECT_TRUE(sync.take_changed());
    EXPECT_FALSE(sync.take_changed());
    ASSERT_EQ(sync.links().size(), 1u);
    EXPECT_EQ(sync.links()[0].addresses.at(0).text, "192.0.2.1");
}

TEST_F(ALinkSync, FollowsChanges)
{
    follow();
    EXPECT_EQ(take(link(2, "eth0", 0, 0)), Wants::nothing);
    EXPECT_TRUE(sync.take_changed());
    EXPECT_FALSE(sync.links()[0].admin_up);
    take(link(2, "eth0", 0, 0));
    EXPECT_FALSE(sync.take_changed()) << "the same again";
    Kernel_message gone(RTM_DELLINK);
    gone.link(2, 0);
    take(gone);
    EXPECT_TRUE(sync.take_changed());
    EXPECT_TRUE(sync.links().empty());
}

TEST_F(ALinkSync, TakesChangesThatArriveBetweenThePartsOfADump)
{
    sync.start();
    take(link(2, "eth0", sequence()));
    take(link(2, "eth0", 0, 0)); // not of the dump, and later
    take(done(sequence()));
    take(done(sequence()));
    EXPECT_FALSE(sync.links().at(0).admin_up);
}

TEST_F(ALinkSync, StartsOverWhenTheDumpWasInterruptedOrRefused)
{
    sync.start();
    Kernel_message interrupted(RTM_NEWLINK, sequence(), NLM_F_DUMP_INTR);
    interrupted.link(2, IFF_UP);
    EXPECT_EQ(take(interrupted), Wants::start_over);
    sync.start();
    EXPECT_EQ(take(done(sequence(), -11)), Wants::start_over);
    sync.start();
    Kernel_message refused(NLMSG_ERROR, sequence());
    refused.number(-16);
    EXPECT_EQ(take(refused), Wants::start_over);
    sync.start();
    EXPECT_EQ(take(Kernel_message(NLMSG_OVERRUN)), Wants::start_over);
    follow();
}

TEST_F(ALinkSync, IgnoresTheEndOfADumpThatIsNotItsOwn)
{
    sync.start();
    EXPECT_EQ(take(done(sequence() + 5)), Wants::nothing);
    EXPECT_EQ(asked(), static_cast<unsigned>(RTM_GETLINK));
    follow();
    EXPECT_EQ(take(done(1)), Wants::nothing);
}

TEST_F(ALinkSync, KeepsShowingTheOldPictureUntilTheNewOneIsWhole)
{
    follow(2, "eth0");
    sync.start();
    take(link(3, "eth1", sequence()));
    EXPECT_EQ(sync.links().at(0).name, "eth0");
    take(done(sequence()));
    take(done(sequence()));
    ASSERT_EQ(sync.links().size(), 1u);
    EXPECT_EQ(sync.links()[0].name, "eth1");
}

TEST_F(ALinkSync, TakesManyMessagesOfOneReceiveAndDistrustsAPieceOfOne)
{
    follow();
    auto down = link(2, "eth0", 0, 0);
    auto more = link(3, "eth1", 0);
    Kernel_batch batch;
    batch.add(down).add(more);
    EXPECT_EQ(sync.take(batch.data(), batch.size()), Wants::nothing);
    EXPECT_EQ(sync.links().size(), 2u);
    EXPECT_EQ(sync.take(batch.data(), batch.size() - 4), Wants::start_over);
}

TEST_F(ALinkSync, DistrustsAnImpossibleLength)
{
    for (const unsigned length : {0u, 15u, 0x7fffffffu, 0x80000010u, 0xffffffffu}) {
        follow();
        auto message = link(2, "eth0", 0);
        message.head()->nlmsg_len = length;
        EXPECT_EQ(sync.take(message.head(), 64), Wants::start_over) << length;
    }
}

} // namespace
