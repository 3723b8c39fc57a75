#include "baseuafw/descriptor_sets.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using baseuafw::DescriptorSets;
using baseuafw::events_of;
using Descriptors = std::vector<int>;

Descriptors members(const DescriptorSets& sets, const char* mode)
{
    std::vector<pollfd> polled;
    sets.append_to(polled, events_of(mode));
    Descriptors found;
    for (const pollfd& entry : polled)
        found.push_back(entry.fd);
    return found;
}

Descriptors readable_of(DescriptorSets& sets, const std::vector<pollfd>& polled)
{
    Descriptors readable;
    sets.take_readable(polled, 0, readable);
    return readable;
}

TEST(ModeLetters, NameTheSets)
{
    EXPECT_EQ(events_of("r"), POLLIN);
    EXPECT_EQ(events_of("w"), POLLOUT);
    EXPECT_EQ(events_of("rw"), POLLIN | POLLOUT);
    EXPECT_EQ(events_of("wr"), POLLIN | POLLOUT);
    EXPECT_EQ(events_of(""), 0);
    EXPECT_EQ(events_of("x"), 0);
    EXPECT_EQ(events_of(nullptr), 0);
}

TEST(TheDescriptorSets, AreWalkedInAscendingOrder)
{
    DescriptorSets sets;
    for (const int fd : {7, 3, 5})
        sets.add(fd, POLLIN);
    EXPECT_EQ(members(sets, "r"), (Descriptors{3, 5, 7}));
}

TEST(TheDescriptorSets, AreTwo)
{
    DescriptorSets sets;
    sets.add(3, POLLIN);
    sets.add(4, POLLOUT);
    sets.add(5, POLLIN | POLLOUT);
    EXPECT_EQ(members(sets, "r"), (Descriptors{3, 5}));
    EXPECT_EQ(members(sets, "w"), (Descriptors{4, 5}));
    EXPECT_EQ(members(sets, "rw"), (Descriptors{3, 4, 5}));
    EXPECT_EQ(members(sets, ""), Descriptors{});
}

TEST(TheDescriptorSets, HoldAMemberOnce)
{
    DescriptorSets sets;
    sets.add(3, POLLIN);
    sets.add(3, POLLIN);
    EXPECT_EQ(members(sets, "rw"), Descriptors{3});
}

TEST(TheDescriptorSets, LoseAMemberFromOneSetOnly)
{
    DescriptorSets sets;
    sets.add(3, POLLIN | POLLOUT);
    sets.remove(3, POLLIN);
    EXPECT_EQ(members(sets, "r"), Descriptors{});
    EXPECT_EQ(members(sets, "w"), Descriptors{3});
    sets.remove(3, POLLOUT);
    EXPECT_EQ(members(sets, "rw"), Descriptors{});
    sets.remove(3, POLLOUT); // once more: nothing to do
}

TEST(TheDescriptorSets, ForgetAMemberOfBoth)
{
    DescriptorSets sets;
    sets.add(3, POLLIN | POLLOUT);
    sets.forget(3);
    sets.forget(4);
    EXPECT_EQ(members(sets, "rw"), Descriptors{});
}

TEST(TheDescriptorSets, TakeNoNegativeNumberAndNoEmptyMode)
{
    DescriptorSets sets;
    sets.add(-1, POLLIN);
    sets.add(3, 0);
    EXPECT_EQ(members(sets, "rw"), Descriptors{});
}

TEST(TheDescriptorSets, CountDataEndAndErrorAsReadable)
{
    DescriptorSets sets;
    for (const int fd : {3, 4, 5, 6})
        sets.add(fd, POLLIN);
    EXPECT_EQ(
        readable_of(sets, {{3, POLLIN, POLLIN}, {4, POLLIN, POLLHUP}, {5, POLLIN, POLLERR}, {6, POLLIN, 0}}),
        (Descriptors{3, 4, 5}));
}

TEST(TheDescriptorSets, DoNotReportWhatOnlyTheWriteSetHolds)
{
    DescriptorSets sets;
    sets.add(3, POLLOUT);
    sets.add(4, POLLIN | POLLOUT);
    EXPECT_EQ(readable_of(sets, {{3, POLLOUT, POLLOUT | POLLHUP}, {4, POLLIN | POLLOUT, POLLOUT}}),
              Descriptors{});
}

TEST(TheDescriptorSets, DoNotReportWhatLeftThemMeanwhile)
{
    DescriptorSets sets;
    sets.add(3, POLLOUT);
    EXPECT_EQ(readable_of(sets, {{3, POLLIN | POLLOUT, POLLIN}, {4, POLLIN, POLLIN}}), Descriptors{});
}

TEST(TheDescriptorSets, DropADescriptorThatWasClosed)
{
    const int fd = ::dup(STDERR_FILENO);
    ASSERT_GE(fd, 0);
    ::close(fd);
    DescriptorSets sets;
    sets.add(fd, POLLIN);
    EXPECT_EQ(readable_of(sets, {{fd, POLLIN, POLLNVAL}}), Descriptors{});
    EXPECT_EQ(members(sets, "r"), Descriptors{});
}

TEST(TheDescriptorSets, KeepADescriptorWhoseNumberWasGivenOutAgain)
{
    DescriptorSets sets;
    sets.add(STDERR_FILENO, POLLIN);
    EXPECT_EQ(readable_of(sets, {{STDERR_FILENO, POLLIN, POLLNVAL}}), Descriptors{});
    EXPECT_EQ(members(sets, "r"), Descriptors{STDERR_FILENO});
}

} // namespace
