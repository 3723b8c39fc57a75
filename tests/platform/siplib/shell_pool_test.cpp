#include "siplib/shell_pool.h"

#include "siplib/callbacks.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace {

struct Shell {
    int number = 0;
};
using Pool = siplib::ShellPool<Shell>;

TEST(AShellPool, GivesOutAsManyAsItMay)
{
    Pool pool(8);
    std::set<Shell*> seen;
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(seen.insert(pool.take()).second);
    EXPECT_EQ(pool.take(), nullptr);
    EXPECT_EQ(pool.made(), 8u);
}

TEST(AShellPool, ReusesTheOneThatLayFreeLongest)
{
    Pool pool(4);
    Shell* shells[4];
    for (Shell*& shell : shells)
        shell = pool.take();
    pool.give_back(shells[2]);
    pool.give_back(shells[0]);
    EXPECT_EQ(pool.take(), shells[2]);
    EXPECT_EQ(pool.take(), shells[0]);
    EXPECT_EQ(pool.take(), nullptr);
}

TEST(AShellPool, LetsShellsRestBeforeItReusesThem)
{
    Pool pool(8); // of which two stay free
    Shell* first = pool.take();
    pool.give_back(first);
    EXPECT_NE(pool.take(), first);
    Shell* second = pool.take();
    Shell* third = pool.take();
    pool.give_back(second);
    pool.give_back(third);
    EXPECT_EQ(pool.take(), first); // three lay free, this one longest
}

TEST(AShellPool, KnowsWhichRestIsOver)
{
    Pool pool(8);
    const siplib::Time start = siplib::now();
    Shell* shell = pool.take();
    pool.rest({shell, 1, 1, start + std::chrono::seconds(5)});
    Pool::Resting due;
    EXPECT_FALSE(pool.next_due(start, false, due));
    EXPECT_TRUE(pool.next_due(start + std::chrono::seconds(5), false, due));
    EXPECT_EQ(due.shell, shell);
    EXPECT_FALSE(pool.next_due(start + std::chrono::seconds(5), true, due));
    pool.rest({shell, 1, 2, start + std::chrono::seconds(5)});
    EXPECT_TRUE(pool.next_due(start, true, due));
    EXPECT_EQ(pool.resting(), 0u);
}

TEST(ACallback, IsWaitedForByWhoeverExchangesItsListener)
{
    siplib::Callbacks callbacks;
    int object = 0;
    int other = 0;
    bool ended = false;
    callbacks.wait_for(&object); // nothing runs
    callbacks.begin(&object);
    callbacks.wait_for(&object); // from within
    std::thread waiting([&] {
        callbacks.wait_for(&other); // somebody else's
        callbacks.wait_for(&object);
        EXPECT_TRUE(ended);
    });
    ended = true;
    callbacks.end();
    waiting.join();
}

} // namespace
