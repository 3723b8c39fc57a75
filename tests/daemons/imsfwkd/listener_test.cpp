#include "daemons/imsfwkd/listener.h"

#include "tests/daemons/imsfwkd/loopback_client.h"
#include "tests/support/child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

using imsfwkd::Listener;

TEST(AListener, TakesAFreePortOfTheLoopbackOnly)
{
    Listener listener;
    std::string why;
    ASSERT_TRUE(listener.open(0, why)) << why;
    EXPECT_GT(listener.port(), 0);
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(listener.descriptor(), reinterpret_cast<sockaddr*>(&address), &size);
    EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
}

TEST(AListener, SaysWhyItCannotHaveAPort)
{
    Listener first;
    Listener second;
    std::string why;
    ASSERT_TRUE(first.open(0, why));
    EXPECT_FALSE(second.open(first.port(), why));
    EXPECT_EQ(why, "port " + std::to_string(first.port()) + ": Address already in use");
}

TEST(AListener, AcceptsWithoutWaiting)
{
    Listener listener;
    std::string why;
    ASSERT_TRUE(listener.open(0, why));
    int fd = -1;
    EXPECT_EQ(listener.accept(fd), Listener::Accepted::none);
    const LoopbackClient client(listener.port());
    ASSERT_TRUE(client.is_connected());
    ASSERT_EQ(listener.accept(fd), Listener::Accepted::one);
    EXPECT_NE(::fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    int buffer = 0;
    socklen_t size = sizeof buffer;
    ::getsockopt(fd, SOL_SOCKET, SO_SNDBUF, &buffer, &size);
    EXPECT_LE(buffer, 2 * 65536); // the kernel doubles what it was asked for
    ::close(fd);
}

TEST(AListener, TellsWhenDescriptorsHaveRunOut)
{
    const ChildResult child = run_in_child([] {
        Listener listener;
        std::string why;
        if (!listener.open(0, why)) ::_exit(1);
        const LoopbackClient client(listener.port());
        const int next = ::dup(0);
        const auto limit = static_cast<rlim_t>(next);
        ::close(next);
        const rlimit none{limit, limit};
        ::setrlimit(RLIMIT_NOFILE, &none);
        int fd = -1;
        if (listener.accept(fd) != Listener::Accepted::no_resources) ::_exit(2);
    });
    EXPECT_EQ(child.status, 0);
}
