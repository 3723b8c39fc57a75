#include "baseuafw/IMS_mutex.h"

#include <gtest/gtest.h>
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

} // namespace
