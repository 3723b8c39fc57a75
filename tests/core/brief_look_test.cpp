#include "core/brief_look.h"

#include "core/IMS_queue_manager.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <sched.h>
#include <thread>

namespace {

using imsua::BriefLook;
using Clock = BriefLook::Clock;

class ABriefLook : public ::testing::Test {
protected:
    // How long one look into the queue takes.
    Clock::duration look()
    {
        const auto start = Clock::now();
        looker.look_into(queue);
        return Clock::now() - start;
    }
    // Looks until one took the whole time: on a busy machine two looks can be far apart by chance.
    bool takes_its_time_at_last()
    {
        const auto deadline = Clock::now() + std::chrono::seconds(10);
        while (Clock::now() < deadline)
            if (look() >= BriefLook::longest) return true;
        return false;
    }

    IMS_queue_manager queue;
    BriefLook looker{true};
    _Q_ELEMENT_T element{};
};

} // namespace

TEST_F(ABriefLook, TakesTimeOnlyWhereTheQueueWasEmptyAMomentAgo)
{
    EXPECT_TRUE(takes_its_time_at_last());
}

// The shortest of many, since a busy machine can stop the thread at any point.
TEST_F(ABriefLook, EndsAtOnceAfterARest)
{
    auto shortest = Clock::duration::max();
    for (int i = 0; i < 50; ++i)
        shortest = std::min(shortest, [] {
            IMS_queue_manager other;
            BriefLook first(true);
            const auto start = Clock::now();
            first.look_into(other);
            return Clock::now() - start;
        }());
    EXPECT_LT(shortest, BriefLook::longest);
}

TEST_F(ABriefLook, EndsAtOnceWithSomethingInTheQueue)
{
    ASSERT_EQ(queue.enqueue(&element), QUEUE_OK);
    auto shortest = Clock::duration::max();
    for (int i = 0; i < 50; ++i)
        shortest = std::min(shortest, look());
    EXPECT_LT(shortest, BriefLook::longest);
}

TEST_F(ABriefLook, EndsAtOnceOnASingleCore)
{
    BriefLook alone(false);
    auto shortest = Clock::duration::max();
    for (int i = 0; i < 50; ++i) {
        const auto start = Clock::now();
        alone.look_into(queue);
        alone.look_into(queue);
        shortest = std::min(shortest, Clock::now() - start);
    }
    EXPECT_LT(shortest, BriefLook::longest);
}

// What it finds is there: a queue that seems filled is filled as long as nobody else takes from it.
TEST_F(ABriefLook, SeesWhatAnotherThreadQueues)
{
    constexpr int rounds = 50;
    for (int i = 0; i < rounds; ++i) {
        std::thread other([&] { ASSERT_EQ(queue.enqueue(&element), QUEUE_OK); });
        const auto deadline = Clock::now() + std::chrono::seconds(10);
        while (queue.seemsEmpty() && Clock::now() < deadline)
            looker.look_into(queue);
        EXPECT_FALSE(queue.seemsEmpty());
        other.join();
        _Q_ELEMENT_T* taken = nullptr;
        ASSERT_EQ(queue.dequeue(&taken), QUEUE_OK);
        EXPECT_EQ(taken, &element);
        EXPECT_TRUE(queue.seemsEmpty());
    }
}

// Whatever the other thread does meanwhile: looking ends, and takes nothing.
TEST_F(ABriefLook, EndsWhileTheQueueIsBeingFilled)
{
    _Q_ELEMENT_T elements[51] = {};
    std::atomic<bool> looking{false};
    std::thread other([&] {
        while (!looking)
            std::this_thread::yield();
        for (_Q_ELEMENT_T& one : elements)
            queue.enqueue(&one);
    });
    looking = true;
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (queue.heldAbout() < 51 && Clock::now() < deadline)
        looker.look_into(queue);
    other.join();
    EXPECT_EQ(queue.heldAbout(), 51u);
}

TEST(TheCores, AreThoseThatTheProcessMayUse)
{
    cpu_set_t before;
    ASSERT_EQ(::sched_getaffinity(0, sizeof before, &before), 0);
    EXPECT_EQ(BriefLook::has_several_cores(), CPU_COUNT(&before) > 1);
    std::thread pinned([&] {
        cpu_set_t one;
        CPU_ZERO(&one);
        for (int cpu = 0; cpu < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++cpu)
            if (CPU_ISSET(cpu, &before)) CPU_SET(cpu, &one);
        ASSERT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
        EXPECT_FALSE(BriefLook::has_several_cores());
    });
    pinned.join();
}
