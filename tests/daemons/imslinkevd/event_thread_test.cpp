#include "daemons/imslinkevd/event_thread.h"

#include <condition_variable>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// Counts what is posted.
struct AnEventThread : ::testing::Test {
    AnEventThread() : thread(watcher, [this](News news) { on(news); }) {}

    void on(News news)
    {
        std::lock_guard<std::mutex> guard(mutex);
        ++counts[static_cast<int>(news)];
        changed.notify_all();
    }
    bool comes(News news, int times = 1)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(10),
                                [&] { return counts[static_cast<int>(news)] >= times; });
    }
    int count(News news)
    {
        std::lock_guard<std::mutex> guard(mutex);
        return counts[static_cast<int>(news)];
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::map<int, int> counts;
    Link_watcher watcher;
    Event_thread thread;
};

TEST_F(AnEventThread, PostsTheLinksAtStart)
{
    ASSERT_TRUE(thread.start());
    EXPECT_TRUE(comes(News::links));
    EXPECT_FALSE(watcher.links().empty());
}

TEST_F(AnEventThread, PostsTheClockAtItsTimeAndOnlyOnceUntilItIsTaken)
{
    ASSERT_TRUE(thread.start());
    thread.wake_at(Clock::now() + std::chrono::milliseconds(5));
    ASSERT_TRUE(comes(News::clock));
    thread.wake_at(Clock::time_point()); // has passed: at once, but the first one still waits
    thread.taken(News::clock);
    thread.wake_at(Clock::now());
    EXPECT_TRUE(comes(News::clock, 2));
    EXPECT_LE(count(News::clock), 3);
}

TEST_F(AnEventThread, FoldsWhatIsNotTakenIntoOne)
{
    ASSERT_TRUE(thread.start());
    thread.wake_at(Clock::now());
    ASSERT_TRUE(comes(News::clock));
    for (int i = 0; i < 100; ++i)
        thread.wake_at(Clock::now());
    thread.stop();
    EXPECT_EQ(count(News::clock), 1);
}

TEST_F(AnEventThread, TurnsASignalIntoNews)
{
    sigset_t before;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
    Event_thread::take_signals();
    ASSERT_TRUE(thread.start());
    ::kill(::getpid(), SIGTERM);
    EXPECT_TRUE(comes(News::stop));
    thread.stop();
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace
