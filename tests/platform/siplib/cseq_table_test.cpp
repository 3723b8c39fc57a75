#include "siplib/cseq_table.h"

#include <gtest/gtest.h>

using siplib::CSeqTable;

TEST(ACSeqTable, CountsEachDialogByItself)
{
    CSeqTable table(10);
    EXPECT_EQ(table.next({"a", "1", "2"}), 1u);
    EXPECT_EQ(table.next({"a", "1", "2"}), 2u);
    EXPECT_EQ(table.next({"a", "1", "3"}), 1u);
    EXPECT_EQ(table.next({"b", "1", "2"}), 1u);
    EXPECT_EQ(table.next({"a", "1", "2"}), 3u);
}

TEST(ACSeqTable, GoesOnWhenTheRemoteTagIsKnown)
{
    CSeqTable table(10);
    EXPECT_EQ(table.next({"a", "1", ""}), 1u);
    EXPECT_EQ(table.next({"a", "1", ""}), 2u);
    EXPECT_EQ(table.next({"a", "1", "x"}), 3u);
}

TEST(ACSeqTable, GoesOnAboveANumberThatTheCallerSet)
{
    CSeqTable table(10);
    table.note({"a", "1", "2"}, 41);
    EXPECT_EQ(table.next({"a", "1", "2"}), 42u);
    table.note({"a", "1", "2"}, 7);
    EXPECT_EQ(table.next({"a", "1", "2"}), 43u);
}

TEST(ACSeqTable, NeverFallsBackForADialogThatItHadToForget)
{
    CSeqTable table(2);
    for (int i = 0; i < 5; ++i)
        table.next({"a", "1", "2"});
    table.next({"b", "1", "2"});
    table.next({"c", "1", "2"}); // "a" is gone now
    EXPECT_GT(table.next({"a", "1", "2"}), 5u);
}

TEST(ACSeqTable, StaysBelowTwoToTheThirtyFirst)
{
    CSeqTable table(2);
    table.note({"a", "1", "2"}, 0x7ffffffd);
    EXPECT_EQ(table.next({"a", "1", "2"}), 0x7ffffffeu);
    EXPECT_EQ(table.next({"a", "1", "2"}), 1u);
}
