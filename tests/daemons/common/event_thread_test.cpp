#include "daemons/common/event_thread.h"

#include <condition_variable>
#include <csignal>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// Readable whenever a test pokes it; wants on_time() as soon as it is open.
struct Pokable : Watched {
    ~Pokable() override { ::close(event); }
    void open(Time now) override { time = now; }
    int fd() const override { return event; }
    bool on_readable(Time) override
    {
        std::uint64_t count = 0;
        return ::read(event, &count, sizeof count) == sizeof count;
    }
    bool on_time(Time now) override
    {
        if (now < time) return false;
        time = Time::max();
        return true;
    }
    Time due() const override { return time; }
    void poke() const
    {
        const std::uint64_t one = 1;
        EXPECT_EQ(::write(event, &one, sizeof one), static_cast<ssize_t>(sizeof one));
    }
    const int event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    Time time = Time::max();
};

// Counts what is posted.
struct AnEventThread : ::testing::Test {
    AnEventThread() : thread(&watched, [this](News news) { on(news); }) {}

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
    Pokable watched;
    Event_thread thread;
};

TEST_F(AnEventThread, PostsWhatIsWatchedWhenItIsReadableAndWhenItsTimeHasCome)
{
    ASSERT_TRUE(thread.start());
    ASSERT_TRUE(comes(News::watched)) << "its time came at once";
    thread.taken(News::watched);
    watched.poke();
    EXPECT_TRUE(comes(News::watched, 2));
}

TEST_F(AnEventThread, NeedsNothingToWatch)
{
    Event_thread bare(nullptr, [this](News news) { on(news); });
    ASSERT_TRUE(bare.start());
    bare.wake_at(Clock::now());
    EXPECT_TRUE(comes(News::clock));
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
