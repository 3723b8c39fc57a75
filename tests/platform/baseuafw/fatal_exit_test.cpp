#include "baseuafw/IMS_daemon.h"

#include "tests/support/child.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

TEST(AFatalExit, EndsWithTheStatusOfTheCaller)
{
    EXPECT_EQ(run_in_child([] { IMS_daemon::fatal_exit(0); }).status, 0);
    EXPECT_EQ(run_in_child([] { IMS_daemon::fatal_exit(1); }).status, 1);
    EXPECT_EQ(run_in_child([] { IMS_daemon::fatal_exit(-1); }).status, 255);
}

TEST(AFatalExit, RunsTheExitHandlersAndFlushes)
{
    const ChildResult child = run_in_child([] {
        std::atexit([] { std::fputs("handler", stdout); });
        std::fputs("text ", stdout);
        IMS_daemon::fatal_exit(1);
    });
    EXPECT_EQ(child.status, 1);
    EXPECT_EQ(child.out, "text handler");
}

TEST(AFatalExit, FromManyThreadsAtOnceRunsTheHandlersOnce)
{
    const ChildResult child = run_in_child([] {
        std::atexit([] { std::fputs("once ", stdout); });
        static pthread_barrier_t barrier; // threads still wait in it when the process ends
        ::pthread_barrier_init(&barrier, nullptr, 8);
        for (int t = 0; t < 8; ++t)
            std::thread([] {
                ::pthread_barrier_wait(&barrier);
                IMS_daemon::fatal_exit(7);
            }).detach();
        for (;;)
            ::pause();
    });
    EXPECT_EQ(child.status, 7);
    EXPECT_EQ(child.signal, 0);
    EXPECT_EQ(child.out, "once ");
}

TEST(AFatalExit, KeepsTheStatusOfTheFirstCaller)
{
    const ChildResult child = run_in_child([] {
        static pthread_barrier_t second;
        ::pthread_barrier_init(&second, nullptr, 2);
        std::atexit([] {
            std::thread([] {
                ::pthread_barrier_wait(&second);
                IMS_daemon::fatal_exit(9); // parks
            }).detach();
            ::pthread_barrier_wait(&second);
        });
        IMS_daemon::fatal_exit(5);
    });
    EXPECT_EQ(child.status, 5);
}

TEST(AFatalExit, WithinItsOwnHandlerEndsAtOnce)
{
    const ChildResult child = run_in_child([] {
        std::atexit([] { std::fputs("never reached", stderr); });
        std::atexit([] { IMS_daemon::fatal_exit(3); });
        IMS_daemon::fatal_exit(1);
    });
    EXPECT_EQ(child.status, 3);
    EXPECT_EQ(child.err, "");
}

TEST(AFatalExit, WorksInAChildForkedDuringTheExitOfItsParent)
{
    const ChildResult child = run_in_child([] {
        std::atexit([] {
            const pid_t forked = ::fork();
            if (forked == 0) IMS_daemon::fatal_exit(4);
            int status = 0;
            ::waitpid(forked, &status, 0);
            std::printf("%d", WIFEXITED(status) ? WEXITSTATUS(status) : -1);
        });
        IMS_daemon::fatal_exit(1);
    });
    EXPECT_EQ(child.status, 1);
    EXPECT_EQ(child.out, "4");
}

} // namespace
