#include "core/mapped_records.h"

#include "core/queue_payload.h"
#include "tests/core/full_holds.h"
#include "tests/core/telephony_agent.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <thread>

// Freed too often or too early is told by the address sanitizer, never freed by its leak checker; in the
// other lanes a watched block tells.
namespace {

using imsua::drop_mapped;
using imsua::hold_mapped;
using imsua::MappedHold;

// A record with a body, both watched.
void* watched_record()
{
    IMS_MAPPED_MSG_S* const record = new_record(1, "body");
    Watched::watch(record);
    Watched::watch(record->body);
    return record;
}

// Runs in a process of its own, since blocks are watched for the life of one. True when it ended well.
bool holds(bool (*check)())
{
    const ChildResult child = run_in_child([check] {
        if (!check()) ::_exit(1);
    });
    return child.status == 0;
}

TEST(AMappedRecord, IsFreedWithItsBodyAtOnceWhenNobodyHoldsIt)
{
    EXPECT_TRUE(holds([] {
        drop_mapped(watched_record());
        return Watched::freed() == 2;
    }));
}

TEST(AMappedRecord, IsFreedByTheLastOfItsHolders)
{
    EXPECT_TRUE(holds([] {
        void* const record = watched_record();
        bool good = true;
        for (int i = 0; i < 3; ++i)
            good = hold_mapped(record) && good;
        drop_mapped(record);
        drop_mapped(record);
        good = good && Watched::freed() == 0;
        drop_mapped(record);
        return good && Watched::freed() == 2;
    }));
}

TEST(AMappedRecord, IsFreedInTheStateItIsInThen)
{
    EXPECT_TRUE(holds([] {
        auto* const record = static_cast<IMS_MAPPED_MSG_S*>(watched_record());
        void* const body = record->body;
        hold_mapped(record);
        record->body = nullptr; // a handler took it
        drop_mapped(record);
        const bool kept = Watched::freed() == 1;
        std::free(body);
        return kept;
    }));
}

TEST(AMappedRecord, IsCountedApartFromOthers)
{
    EXPECT_TRUE(holds([] {
        void* const first = watched_record();
        void* const second = watched_record();
        hold_mapped(first);
        hold_mapped(second);
        hold_mapped(first);
        drop_mapped(second);
        const bool good = Watched::freed() == 2;
        drop_mapped(first);
        drop_mapped(first);
        return good && Watched::freed() == 4;
    }));
}

TEST(AMappedRecord, MayBeNull)
{
    EXPECT_TRUE(hold_mapped(nullptr));
    drop_mapped(nullptr);
}

TEST(AMappedRecord, IsNotHeldWithoutMemory)
{
    EXPECT_TRUE(holds([] {
        if (!fill_the_table_of_holds()) return false;
        void* const record = watched_record();
        {
            const Failing failing(Call::operator_new, 1);
            if (hold_mapped(record)) return false;
        }
        drop_mapped(record); // still the caller's
        return Watched::freed() == 2;
    }));
}

TEST(AHoldOfAMappedRecord, EndsWithItsScope)
{
    EXPECT_TRUE(holds([] {
        {
            MappedHold hold;
            if (!hold.take(watched_record()) || !hold.record() || Watched::freed() != 0) return false;
        }
        return Watched::freed() == 2;
    }));
}

TEST(AHoldOfAMappedRecord, LetsGoOfTheRecordBefore)
{
    EXPECT_TRUE(holds([] {
        MappedHold hold;
        hold.take(watched_record());
        void* const second = new_record(2);
        return hold.take(second) && Watched::freed() == 2 && hold.record() == second;
    }));
}

TEST(AHoldOfAMappedRecord, MayTakeTheSameRecordTwice)
{
    EXPECT_TRUE(holds([] {
        void* const record = watched_record();
        {
            MappedHold hold;
            if (!hold.take(record) || !hold.take(record) || Watched::freed() != 0) return false;
        }
        return Watched::freed() == 2;
    }));
}

TEST(AHoldOfAMappedRecord, FreesTheNewRecordWhenThereIsNoMemory)
{
    EXPECT_TRUE(holds([] {
        MappedHold hold;
        if (!fill_the_table_of_holds()) return false;
        const Failing failing(Call::operator_new, 1);
        return !hold.take(watched_record()) && Watched::freed() == 2 && !hold.record();
    }));
}

// Each of two threads gives up one hold of the same records: each record is freed once, by whoever is last.
TEST(MappedRecords, AreCountedFromTwoThreads)
{
    EXPECT_TRUE(holds([] {
        std::array<void*, 200> records{};
        bool good = true;
        for (int round = 0; round < 100; ++round) {
            for (void*& record : records) {
                const bool watched = round == 0 && &record == &records.back();
                record = watched ? watched_record() : new_record(1, "body");
                good = hold_mapped(record) && hold_mapped(record) && good;
            }
            const auto drop_all = [&records] { std::for_each(records.begin(), records.end(), drop_mapped); };
            std::thread other(drop_all);
            drop_all();
            other.join();
            good = good && Watched::freed() == 2;
        }
        return good;
    }));
}

} // namespace
