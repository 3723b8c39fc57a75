#include "baseuafw/IMS_mutex.h"

#include <atomic>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>
#include <vector>

namespace {

TEST(AMutex, LetsOneThreadInAtATime)
{
    IMS_mutex mutex;
    int count = 0; // a data race, reported by the thread sanitizer, if the lock did nothing
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 5000; ++i) {
                mutex.lock();
                ++count;
                mutex.unlock();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(count, 20000);
}

TEST(AMutex, WakesTheWaiterAndHandsItTheLock)
{
    IMS_mutex mutex;
    int turn = 0;
    std::thread other([&] {
        mutex.lock();
        while (turn != 1)
            mutex.wait();
        turn = 2;
        mutex.signal();
        mutex.unlock();
    });
    mutex.lock();
    turn = 1;
    mutex.signal();
    while (turn != 2)
        mutex.wait();
    mutex.unlock();
    other.join();
    EXPECT_EQ(turn, 2);
}

TEST(AMutex, ForgetsASignalThatNobodyWaitsFor)
{
    IMS_mutex mutex;
    mutex.lock();
    mutex.signal();
    mutex.unlock();
    mutex.lock(); // still usable, and not held by anybody
    mutex.unlock();
}

TEST(AMutex, WakesEveryWaiterWithOneSignalEach)
{
    IMS_mutex mutex;
    int tokens = 0;
    int waiting = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&] {
            mutex.lock();
            ++waiting;
            while (tokens == 0)
                mutex.wait();
            --tokens;
            mutex.unlock();
        });
    for (bool all_wait = false; !all_wait; std::this_thread::yield()) {
        mutex.lock();
        all_wait = waiting == 3;
        mutex.unlock();
    }
    for (int t = 0; t < 3; ++t) {
        mutex.lock();
        ++tokens;
        mutex.signal();
        mutex.unlock();
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(tokens, 0);
}

// Threads that wait in wait() by the time the constructor returns.
class Waiters {
public:
    Waiters(IMS_mutex& mutex, int count) : mutex_(mutex)
    {
        for (int i = 0; i < count; ++i)
            threads_.emplace_back([this] {
                mutex_.lock();
                ++waiting_;
                while (tokens == 0)
                    mutex_.wait();
                --tokens;
                mutex_.unlock();
            });
        for (bool all = false; !all; std::this_thread::yield()) {
            mutex_.lock();
            all = waiting_ == count;
            mutex_.unlock();
        }
    }
    ~Waiters()
    {
        for (auto& thread : threads_)
            thread.join();
    }
    Waiters(const Waiters&) = delete;
    Waiters& operator=(const Waiters&) = delete;
    int tokens = 0;

private:
    IMS_mutex& mutex_;
    int waiting_ = 0;
    std::vector<std::thread> threads_;
};

// The joins return only when everybody was woken.
TEST(AMutex, WakesAsManyWaitersAsItWasSignalledUnderOneLock)
{
    IMS_mutex mutex;
    Waiters waiters(mutex, 3);
    mutex.lock();
    waiters.tokens = 3;
    for (int i = 0; i < 3; ++i)
        mutex.signal();
    mutex.unlock();
}

TEST(AMutex, WakesTheOthersBeforeItsHolderWaitsItself)
{
    IMS_mutex mutex;
    Waiters waiters(mutex, 1);
    mutex.lock();
    waiters.tokens = 1;
    mutex.signal();
    std::thread answer([&] {
        for (bool taken = false; !taken; std::this_thread::yield()) {
            mutex.lock();
            taken = waiters.tokens == 0;
            mutex.signal();
            mutex.unlock();
        }
    });
    while (waiters.tokens != 0)
        mutex.wait();
    mutex.unlock();
    answer.join();
}

TEST(AMutex, StillWakesOthersAfterAWaiterWasCancelled)
{
    IMS_mutex mutex;
    std::atomic<bool> is_waiting{false};
    std::thread cancelled([&] {
        mutex.lock();
        struct Unlock { // as a clean-up handler: the lock is held again
            IMS_mutex& mutex;
            ~Unlock() { mutex.unlock(); }
        } const unlock{mutex};
        is_waiting = true;
        for (;;)
            mutex.wait();
    });
    while (!is_waiting)
        std::this_thread::yield();
    ::pthread_cancel(cancelled.native_handle());
    cancelled.join();
    Waiters waiters(mutex, 2);
    for (int i = 0; i < 2; ++i) {
        mutex.lock();
        ++waiters.tokens;
        mutex.signal();
        mutex.unlock();
    }
}

// Four producers, two consumers, one condition: a wake-up that got lost would leave a consumer asleep for
// ever.
TEST(AMutex, LosesNoWakeUp)
{
    constexpr int each = 5000;
    IMS_mutex mutex;
    int items = 0;
    int taken = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 2 * each; ++i) {
                mutex.lock();
                while (items == 0)
                    mutex.wait();
                --items;
                ++taken;
                mutex.unlock();
            }
        });
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < each; ++i) {
                mutex.lock();
                ++items;
                mutex.signal();
                mutex.unlock();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(taken, 4 * each);
}

} // namespace
