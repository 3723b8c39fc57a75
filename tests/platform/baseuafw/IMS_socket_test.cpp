#include "baseuafw/IMS_socket.h"

#include "baseuafw/IMS_daemon.h"
#include "tests/platform/baseuafw/blocked_thread.h"
#include "tests/platform/baseuafw/failing_new.h"
#include "tests/support/child.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using Descriptors = std::vector<int>;

bool close_on_exec(int fd)
{
    return (::fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
}

constexpr char longish[] = "a-name-that-no-string-holds-without-an-allocation.sock";

class ASocket : public ::testing::Test {
protected:
    ASocket() { ::setenv("IMS_SOCKET_DIR", dir.path().c_str(), 1); }
    ~ASocket() override
    {
        IMS_daemon::clean_up();
        ::unsetenv("IMS_SOCKET_DIR");
    }
    int listening(const char* name)
    {
        const int fd = sock._socket(name, "unix", "stream");
        EXPECT_GE(fd, 0);
        EXPECT_EQ(sock._listen(fd, 2), 0);
        return fd;
    }
    // The result of a failing _socket, as errno.
    int error_of_socket(const char* name, const char* domain, const char* type)
    {
        LogRecords log;
        errno = 0;
        EXPECT_EQ(sock._socket(name, domain, type), -1);
        const int error = errno;
        EXPECT_EQ(log.of("_socket").size(), 1u);
        return error;
    }
    mode_t mode_of(const std::string& name) const
    {
        struct stat found {};
        return ::lstat(dir.file(name).c_str(), &found) == 0 ? found.st_mode : 0;
    }

    TempDir dir;
    IMS_socket sock;
};

// Two connected ends of which the test owns one and the socket object the other.
class AConnection : public ASocket {
protected:
    AConnection()
    {
        int ends[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        ours = ends[0];
        peer = ends[1];
    }
    ~AConnection() override
    {
        ::close(peer);
        ::close(ours);
    }
    void peer_sends(const std::string& text) const
    {
        EXPECT_EQ(::send(peer, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
    }
    bool peer_sees_the_end() const
    {
        char byte = 0;
        return ::recv(peer, &byte, 1, 0) == 0;
    }
    Descriptors readable(const char* mode = "rw")
    {
        Descriptors found{-7};
        const int result = sock._select(mode, found);
        EXPECT_EQ(result, static_cast<int>(found.size()));
        return found;
    }
    int ours = -1;
    int peer = -1;
    int lines = 0;
};

TEST_F(ASocket, EndsTheProcessWhenThereIsNoMemoryForItsObject)
{
    const ChildResult child = run_in_child([] {
        FailingNew fail(0);
        IMS_socket second;
    });
    EXPECT_EQ(child.status, 1);
    EXPECT_NE(child.err.find("[3] IMS_socket: "), std::string::npos);
}

TEST_F(ASocket, EndsTheProcessWhenThereIsNoDescriptorForItsObject)
{
    const ChildResult child = run_in_child([] {
        rlimit none{};
        ::setrlimit(RLIMIT_NOFILE, &none);
        IMS_socket second;
    });
    EXPECT_EQ(child.status, 1);
    EXPECT_NE(child.err.find("[3] IMS_socket: "), std::string::npos);
}

TEST_F(ASocket, StandsNowhereWhenMemoryIsOut)
{
    FailingNew fail(0);
    EXPECT_TRUE(IMS_socket::path_of(longish).empty());
}

TEST_F(ASocket, IsNotOpenedWhenMemoryIsOut)
{
    LogRecords log;
    IMS_log::set_sink([](void*, int, const char*, const char*) {}, nullptr);
    int result = 0;
    {
        FailingNew fail(0);
        result = sock._socket(longish, "unix", "stream");
    }
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, ENOMEM);
}

TEST_F(ASocket, StandsInTheSocketDirectory)
{
    EXPECT_EQ(IMS_socket::path_of("agent.sock"), dir.path() + "/agent.sock");
    ::setenv("IMS_SOCKET_DIR", "", 1);
    EXPECT_EQ(IMS_socket::path_of("agent.sock"), "agent.sock");
    ::unsetenv("IMS_SOCKET_DIR");
    EXPECT_EQ(IMS_socket::path_of("agent.sock"), "agent.sock");
    EXPECT_EQ(IMS_socket::path_of(nullptr), "");
}

TEST_F(ASocket, IsForItsOwnerOnlyWhateverTheUmask)
{
    const mode_t before = ::umask(0);
    const int fd = sock._socket("agent.sock", "unix", "stream");
    ::umask(before);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(mode_of("agent.sock"), mode_t{S_IFSOCK | 0600});
    EXPECT_TRUE(close_on_exec(fd));
    sock._close(fd);
}

TEST_F(ASocket, StandsInTheWorkingDirectoryByDefault)
{
    ::unsetenv("IMS_SOCKET_DIR");
    WorkingDir here;
    const int fd = sock._socket("agent.sock", "unix", "stream");
    struct stat found {};
    EXPECT_EQ(::lstat(here.file("agent.sock").c_str(), &found), 0);
    sock._close(fd);
}

TEST_F(ASocket, ReplacesAStaleFile)
{
    sock._close(listening("agent.sock"));
    ASSERT_NE(mode_of("agent.sock"), 0u);
    const int fd = listening("agent.sock");
    const int client = sock._connect("agent.sock", "unix", "stream");
    EXPECT_GE(client, 0);
    sock._close(client);
    sock._close(fd);
}

TEST_F(ASocket, LeavesAFileOfAnotherKindAlone)
{
    dir.write("agent.sock", "precious");
    EXPECT_EQ(error_of_socket("agent.sock", "unix", "stream"), EADDRINUSE);
    EXPECT_EQ(dir.read("agent.sock"), "precious");
}

TEST_F(ASocket, RefusesANameThatNoAddressHolds)
{
    const std::size_t room = 107 - dir.path().size() - 1; // 108 bytes with the terminating zero
    const int fd = sock._socket(std::string(room, 'x').c_str(), "unix", "stream");
    EXPECT_GE(fd, 0);
    sock._close(fd);
    const std::string longer(room + 1, 'x');
    EXPECT_EQ(error_of_socket(longer.c_str(), "unix", "stream"), ENAMETOOLONG);
    EXPECT_EQ(sock._connect(longer.c_str(), "unix", "stream"), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(ASocket, RefusesWhatItDoesNotKnow)
{
    EXPECT_EQ(error_of_socket("a", "inet", "stream"), EAFNOSUPPORT);
    EXPECT_EQ(error_of_socket("a", nullptr, "stream"), EAFNOSUPPORT);
    EXPECT_EQ(error_of_socket("a", "unix", "dgram"), EPROTOTYPE);
    EXPECT_EQ(error_of_socket("a", "unix", nullptr), EPROTOTYPE);
    EXPECT_EQ(error_of_socket("", "unix", "stream"), EINVAL);
    EXPECT_EQ(error_of_socket(nullptr, "unix", "stream"), EINVAL);
    EXPECT_EQ(error_of_socket("no/such/directory", "unix", "stream"), ENOENT);
    EXPECT_EQ(sock._connect("a", "inet", "stream"), -1);
    EXPECT_EQ(sock._connect(nullptr, "unix", "stream"), -1);
    EXPECT_EQ(sock._listen(-1, 2), -1);
}

TEST_F(ASocket, IsRemovedByTheCleanUp)
{
    const int fd = listening("agent.sock");
    IMS_daemon::clean_up();
    EXPECT_EQ(mode_of("agent.sock"), 0u);
    sock._close(fd);
}

TEST_F(ASocket, AcceptsWhoeverConnects)
{
    const int fd = listening("agent.sock");
    const int client = sock._connect("agent.sock", "unix", "stream");
    ASSERT_GE(client, 0);
    const int accepted = sock._accept(fd);
    ASSERT_GE(accepted, 0);
    EXPECT_TRUE(close_on_exec(client));
    EXPECT_TRUE(close_on_exec(accepted));
    EXPECT_EQ(sock._send(client, "hello", 5), 5);
    char text[6] = {};
    EXPECT_EQ(sock._recvfrom(accepted, text, 5), 5);
    EXPECT_STREQ(text, "hello");
    for (const int each : {client, accepted, fd})
        EXPECT_EQ(sock._close(each), 0);
}

TEST_F(ASocket, GoesOnAcceptingAfterASignal)
{
    const int fd = listening("agent.sock");
    struct sigaction quiet {}; // no SA_RESTART
    struct sigaction before {};
    quiet.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &quiet, &before);
    int accepted = -1;
    BlockedThread thread([&] { accepted = sock._accept(fd); });
    ::pthread_kill(thread.handle(), SIGUSR1);
    const int client = sock._connect("agent.sock", "unix", "stream");
    thread.join();
    EXPECT_GE(accepted, 0);
    ::sigaction(SIGUSR1, &before, nullptr);
    for (const int each : {client, accepted, fd})
        sock._close(each);
}

TEST_F(ASocket, CannotAcceptBeforeItListens)
{
    const int fd = sock._socket("agent.sock", "unix", "stream");
    EXPECT_EQ(sock._accept(fd), -1);
    EXPECT_EQ(sock._connect("agent.sock", "unix", "stream"), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    sock._close(fd);
    EXPECT_EQ(sock._accept(fd), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(ASocket, CannotConnectToNothing)
{
    EXPECT_EQ(sock._connect("absent.sock", "unix", "stream"), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(AConnection, IsReadableWhenDataHasArrived)
{
    sock._set(ours, "r");
    peer_sends("x");
    EXPECT_EQ(readable(), Descriptors{ours});
    EXPECT_EQ(readable("r"), Descriptors{ours});
}

TEST_F(AConnection, IsReadableWhenThePeerHasClosed)
{
    sock._set(ours, "r");
    ::shutdown(peer, SHUT_RDWR);
    EXPECT_EQ(readable(), Descriptors{ours});
}

TEST_F(AConnection, IsReportedInAscendingOrder)
{
    const int high = ::fcntl(ours, F_DUPFD_CLOEXEC, 200);
    const int middle = ::fcntl(ours, F_DUPFD_CLOEXEC, 100);
    for (const int fd : {high, ours, middle})
        sock._set(fd, "r");
    peer_sends("x");
    EXPECT_EQ(readable(), (Descriptors{ours, middle, high}));
    sock._close(high);
    sock._close(middle);
}

TEST_F(AConnection, IsWatchedBeyondTheReachOfSelect)
{
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, 4096));
    ::setrlimit(RLIMIT_NOFILE, &limit);
    const int far = ::fcntl(ours, F_DUPFD_CLOEXEC, FD_SETSIZE);
    ASSERT_GE(far, FD_SETSIZE) << "needs a hard limit of descriptors above it, here " << limit.rlim_max;
    sock._set(far, "r");
    peer_sends("x");
    EXPECT_EQ(readable(), Descriptors{far});
    sock._close(far);
}

TEST_F(AConnection, InTheWriteSetOnlyWakesWithoutBeingReadable)
{
    sock._set(ours, "w");
    peer_sends("x");
    EXPECT_EQ(readable("rw"), Descriptors{});
}

TEST_F(AConnection, IsNotWatchedAfterUnset)
{
    sock._set(ours, "rw");
    sock._unset(ours, "w");
    peer_sends("x");
    EXPECT_EQ(readable(), Descriptors{ours});
    sock._unset(ours, "r");
    sock._wake();
    EXPECT_EQ(readable(), Descriptors{});
}

TEST_F(AConnection, ClosedBehindOurBackLeavesTheSets)
{
    const int gone = ::dup(ours);
    sock._set(gone, "r");
    sock._set(ours, "r");
    ::close(gone);
    peer_sends("x");
    EXPECT_EQ(readable(), Descriptors{ours});
    sock._unset(ours, "r");
    BlockedThread blocks(
        [&] { EXPECT_EQ(readable(), Descriptors{}); }); // it would spin if it were still there
    EXPECT_FALSE(blocks.ended());
    sock._wake();
}

TEST_F(AConnection, IsNotWatchedWhenMemoryIsOut)
{
    LogRecords log;
    IMS_log::set_sink([](void* ctx, int, const char*, const char*) { ++*static_cast<int*>(ctx); }, &lines);
    {
        FailingNew fail(0);
        sock._set(ours, "r");
        sock._pin(ours);
    }
    EXPECT_EQ(lines, 2);
    peer_sends("x");
    sock._wake();
    EXPECT_EQ(readable(), Descriptors{});
    EXPECT_EQ(sock._close(ours), 0); // not pinned: really closed
    EXPECT_EQ(sock._close(ours), -1);
    ours = -1;
}

TEST_F(AConnection, SelectFailsWhenMemoryIsOut)
{
    sock._set(ours, "r");
    peer_sends("x");
    Descriptors found;
    int granted = 0;
    for (int result = -1; result < 0; ++granted) {
        FailingNew fail(granted);
        found = Descriptors();
        result = sock._select("r", found);
        if (fail.failed()) {
            ASSERT_EQ(result, -1);
            ASSERT_EQ(errno, ENOMEM);
        }
    }
    EXPECT_EQ(found, Descriptors{ours});
    EXPECT_GT(granted, 1);
}

TEST_F(AConnection, OddArgumentsChangeNothing)
{
    sock._set(-1, "r");
    sock._set(ours, nullptr);
    sock._set(ours, "x");
    sock._unset(-1, "r");
    sock._unset(ours, nullptr);
    sock._pin(-1);
    peer_sends("x");
    sock._wake();
    EXPECT_EQ(readable(nullptr), Descriptors{});
}

TEST_F(AConnection, WakesABlockedSelectWhenItJoins)
{
    peer_sends("x");
    std::vector<Descriptors> rounds;
    BlockedThread thread([&] {
        do
            rounds.push_back(readable());
        while (rounds.back().empty() && rounds.size() < 3);
    });
    EXPECT_FALSE(thread.ended());
    sock._set(ours, "r");
    thread.join();
    EXPECT_EQ(rounds.back(), Descriptors{ours});
}

TEST_F(AConnection, SelectReturnsEmptyWhenWoken)
{
    sock._set(ours, "r");
    Descriptors found{1};
    int result = -2;
    BlockedThread thread([&] { result = sock._select("rw", found); });
    EXPECT_FALSE(thread.ended());
    sock._wake();
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(found, Descriptors{});
}

// The first to wake up does not take it from the others, even when it waits again before they run.
TEST_F(AConnection, WakesEveryThreadThatIsBlocked)
{
    for (int round = 0; round < 20; ++round) {
        std::atomic<bool> all_woken{false};
        BlockedThread busy([&] {
            do
                readable();
            while (!all_woken);
        });
        {
            BlockedThread second([&] { readable(); });
            BlockedThread third([&] { readable(); });
            sock._wake();
        } // joined
        all_woken = true;
        sock._wake();
        busy.join();
    }
}

TEST_F(AConnection, AWakeBeforeTheSelectIsNotLost)
{
    sock._wake();
    sock._wake();
    EXPECT_EQ(readable(), Descriptors{});
    BlockedThread thread([&] { readable(); }); // both were taken by the one above
    EXPECT_FALSE(thread.ended());
    sock._wake();
}

TEST_F(AConnection, ASignalMakesSelectFail)
{
    struct sigaction quiet {};
    struct sigaction before {};
    quiet.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &quiet, &before);
    sock._set(ours, "r");
    Descriptors found{1};
    int result = 0;
    int error = 0;
    BlockedThread thread([&] {
        result = sock._select("rw", found);
        error = errno;
    });
    ::pthread_kill(thread.handle(), SIGUSR1);
    thread.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(error, EINTR);
    EXPECT_EQ(found, Descriptors{});
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(AConnection, ClosedWhileWatchedShowsItsEndToThePeerAtOnce)
{
    const int mine = ::dup(ours);
    ::close(ours);
    sock._set(mine, "r");
    Descriptors found{1};
    BlockedThread thread([&] { sock._select("rw", found); });
    EXPECT_EQ(sock._close(mine), 0);
    EXPECT_TRUE(peer_sees_the_end());
    thread.join();
    EXPECT_EQ(found, Descriptors{});
    ours = -1;
}

TEST_F(AConnection, IsReadWithoutWaiting)
{
    char text[8] = {};
    EXPECT_EQ(sock._recvfrom(ours, text, 7), -1);
    EXPECT_TRUE(errno == EAGAIN || errno == EWOULDBLOCK);
    peer_sends("abcdefghi");
    EXPECT_EQ(sock._recvfrom(ours, text, 7), 7);
    EXPECT_STREQ(text, "abcdefg");
    EXPECT_EQ(sock._recvfrom(ours, text, 7), 2);
    ::shutdown(peer, SHUT_WR);
    EXPECT_EQ(sock._recvfrom(ours, text, 7), 0);
}

TEST_F(AConnection, IsNotReadIntoNothing)
{
    char byte = 0;
    peer_sends("x");
    EXPECT_EQ(sock._recvfrom(ours, nullptr, 1), -1);
    EXPECT_EQ(sock._recvfrom(ours, &byte, 0), -1);
    EXPECT_EQ(sock._recvfrom(ours, &byte, -1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(sock._recvfrom(-1, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(AConnection, SendsAllOfItToASlowReader)
{
    for (const bool blocking : {true, false}) {
        if (!blocking) ::fcntl(ours, F_SETFL, O_NONBLOCK);
        const std::string much(1 << 20, 'x'); // more than the socket buffers hold
        int sent = 0;
        BlockedThread sender([&] { sent = sock._send(ours, much.data(), static_cast<int>(much.size())); });
        EXPECT_FALSE(sender.ended());
        std::string got;
        char chunk[5000];
        while (got.size() < much.size()) {
            const ssize_t n = ::recv(peer, chunk, sizeof chunk, 0);
            ASSERT_GT(n, 0);
            got.append(chunk, static_cast<std::size_t>(n));
        }
        sender.join();
        EXPECT_EQ(sent, static_cast<int>(much.size()));
        EXPECT_EQ(got, much);
    }
}

TEST_F(AConnection, SendingToAPeerThatIsGoneFailsWithoutASignal)
{
    ::shutdown(peer, SHUT_RDWR);
    EXPECT_EQ(sock._send(ours, "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
}

TEST_F(AConnection, SendsNothingOfNothing)
{
    EXPECT_EQ(sock._send(ours, "x", 0), 0);
    EXPECT_EQ(sock._send(ours, nullptr, 0), 0);
    EXPECT_EQ(sock._send(ours, nullptr, 1), -1);
    EXPECT_EQ(sock._send(ours, "x", -1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(sock._send(-1, "x", 1), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(AConnection, ClosesOnce)
{
    EXPECT_EQ(sock._close(ours), 0);
    EXPECT_TRUE(peer_sees_the_end());
    EXPECT_EQ(sock._close(ours), -1);
    EXPECT_EQ(errno, EBADF);
    ours = -1;
}

TEST_F(AConnection, PinnedKeepsItsNumberWhenClosed)
{
    sock._set(ours, "r");
    sock._pin(ours);
    sock._pin(ours);
    EXPECT_EQ(sock._close(ours), 0);
    EXPECT_TRUE(peer_sees_the_end());
    const int fresh = ::dup(STDERR_FILENO);
    EXPECT_NE(fresh, ours);
    ::close(fresh);
    char byte = 0;
    EXPECT_EQ(sock._send(ours, "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    EXPECT_EQ(sock._recvfrom(ours, &byte, 1), 0);
    EXPECT_TRUE(close_on_exec(ours));
}

TEST_F(AConnection, PinnedAndClosedIsNoLongerWatched)
{
    sock._set(ours, "r");
    sock._pin(ours);
    sock._close(ours);
    BlockedThread thread([&] { EXPECT_EQ(readable(), Descriptors{}); });
    EXPECT_FALSE(thread.ended()); // the dead socket polls as hung up
    sock._wake();
}

TEST_F(AConnection, PinnedMayBeClosedAgain)
{
    sock._pin(ours);
    EXPECT_EQ(sock._close(ours), 0);
    EXPECT_EQ(sock._close(ours), 0);
    EXPECT_EQ(sock._send(ours, "x", 1), -1);
}

TEST_F(AConnection, PinnedKeepsItsNumberEvenWithoutADescriptorToSpare)
{
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    rlimit none = before;
    none.rlim_cur = 0;
    IMS_socket& object = sock; // the sanitizer needs descriptors of its own to look at `this`
    const int fd = ours;
    ::setrlimit(RLIMIT_NOFILE, &none);
    object._pin(fd);
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(sock._close(ours), 0);
    EXPECT_TRUE(peer_sees_the_end());
    EXPECT_EQ(sock._send(ours, "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
}

TEST_F(AConnection, MayBeClosedByOneThreadWhileAnotherReadsIt)
{
    peer_sends("x");
    sock._set(ours, "r");
    std::thread reader([&] {
        Descriptors found;
        char byte = 0;
        sock._select("r", found);
        const int n = sock._recvfrom(ours, &byte, 1);
        EXPECT_TRUE(n == 1 || (n == -1 && errno == EBADF)) << n;
    });
    sock._close(ours);
    sock._wake();
    reader.join();
    ours = -1;
}

TEST_F(AConnection, PinnedMayBeClosedByOneThreadWhileAnotherSends)
{
    sock._pin(ours);
    std::thread sender([&] {
        while (sock._send(ours, "x", 1) == 1) {
        }
        EXPECT_EQ(errno, EPIPE);
    });
    char byte = 0;
    EXPECT_EQ(::recv(peer, &byte, 1, 0), 1);
    EXPECT_EQ(sock._close(ours), 0);
    while (::recv(peer, &byte, 1, 0) > 0) {
    }
    sender.join();
}

TEST_F(AConnection, IsUsedByManyThreadsAtOnce)
{
    std::atomic<bool> stop{false};
    std::atomic<int> seen{0};
    sock._set(ours, "r");
    std::thread watcher([&] {
        Descriptors found;
        char text[64];
        while (!stop) {
            ASSERT_GE(sock._select("rw", found), 0);
            for (const int fd : found) // the others are closed meanwhile, their numbers given out again
                if (fd == ours) seen += std::max(0, sock._recvfrom(fd, text, sizeof text));
        }
    });
    std::vector<std::thread> changers;
    for (int t = 0; t < 3; ++t)
        changers.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                int ends[2];
                ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
                sock._set(ends[0], "rw");
                EXPECT_EQ(sock._send(ends[1], "x", 1), 1);
                sock._unset(ends[0], "w");
                EXPECT_EQ(sock._close(ends[0]), 0);
                EXPECT_EQ(sock._close(ends[1]), 0);
            }
        });
    for (int i = 0; i < 100; ++i)
        peer_sends("y");
    for (auto& changer : changers)
        changer.join();
    while (seen < 100)
        std::this_thread::yield();
    stop = true;
    sock._wake();
    watcher.join();
    EXPECT_EQ(seen, 100);
}

} // namespace
