#include "tools/imsladder/columns.h"

#include "tests/tools/imsladder/samples.h"

#include <gtest/gtest.h>

using namespace imsladder;
using namespace samples;

namespace {

Ladder three_parties(const std::string& method)
{
    const Party third{"third", 33, "127.0.0.1:6000"};
    return merge({sent(0, watch, agent.address, request("A", "b1")),
                  received(1, agent, watch.address, request("A", "b1")),
                  sent(2, agent, third.address, request("B", "b2")),
                  received(3, third, agent.address, request("B", "b2")),
                  sent(4, watch, third.address, request(method, "b3"))});
}

} // namespace

TEST(TheColumns, LeaveRoomForTheWidestLabel)
{
    const Columns columns = arrange(three_parties(std::string(80, 'M')), 1000);
    ASSERT_EQ(columns.at.size(), 3u);
    EXPECT_GE(columns.between(0, 2), 80u + 5);
    EXPECT_EQ(columns.between(2, 0), columns.between(0, 2));
}

TEST(TheColumns, LeaveRoomForTheHeadings)
{
    const Columns columns = arrange(three_parties("M"), 1000);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_GE(heading_width(columns, i), std::string("127.0.0.1:5080").size()) << i;
}

TEST(TheColumns, AreNarrowedToTheWidthButNotBelowAMinimum)
{
    const Ladder ladder = three_parties(std::string(80, 'M'));
    EXPECT_GT(arrange(ladder, 1000).width, 70u);
    EXPECT_LE(arrange(ladder, 70).width, 70u);
    const Columns least = arrange(ladder, 0);
    EXPECT_GE(least.between(0, 1), 13u);
    EXPECT_EQ(arrange(ladder, 5).width, least.width);
}

TEST(TheColumns, OfNobodyAreNone)
{
    EXPECT_TRUE(arrange(Ladder(), 80).at.empty());
}
