#include "siplib/dialog_table.h"

#include "siplib/dialog.h"

#include <gtest/gtest.h>

using siplib::Dialog;
using siplib::DialogTable;
using siplib::Time;

namespace {
const Time start = Time() + std::chrono::hours(1);
const auto second = std::chrono::seconds(1);
} // namespace

TEST(ADialogTable, FindsByCallIdAndBothTags)
{
    DialogTable table;
    Dialog one;
    Dialog two;
    table.add({"a", "l", "r"}, &one, Time::max());
    table.add({"a", "r", "l"}, &two, Time::max());
    EXPECT_EQ(table.find({"a", "l", "r"}), &one);
    EXPECT_EQ(table.find({"a", "r", "l"}), &two);
    EXPECT_EQ(table.find({"a", "l", "x"}), nullptr);
    EXPECT_TRUE(table.remove({"a", "l", "r"}));
    EXPECT_FALSE(table.remove({"a", "l", "r"}));
    EXPECT_EQ(table.find({"a", "l", "r"}), nullptr);
    EXPECT_EQ(table.size(), 1u);
}

TEST(ADialogTable, GivesOutWhatHasExpiredOnce)
{
    DialogTable table;
    Dialog one;
    Dialog two;
    table.add({"a", "l", "r"}, &one, start + second);
    table.add({"b", "l", "r"}, &two, start + 3 * second);
    EXPECT_TRUE(table.take_expired(start).empty());
    EXPECT_EQ(table.take_expired(start + second), std::vector<Dialog*>{&one});
    EXPECT_TRUE(table.take_expired(start + 2 * second).empty());
    EXPECT_EQ(table.take_expired(start + 3 * second), std::vector<Dialog*>{&two});
    EXPECT_EQ(table.size(), 0u);
}

TEST(ADialogTable, MovesAnExpiryWhenTheSubscriptionIsRefreshed)
{
    DialogTable table;
    Dialog one;
    table.add({"a", "l", "r"}, &one, start + second);
    table.set_expiry({"a", "l", "r"}, start + 5 * second);
    EXPECT_TRUE(table.take_expired(start + 4 * second).empty());
    table.set_expiry({"a", "l", "r"}, start);
    EXPECT_EQ(table.take_expired(start), std::vector<Dialog*>{&one});
}
