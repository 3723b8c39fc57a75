#include "siplib/sofia/stream_batch.h"

#include <arpa/inet.h>
#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <sofia-sip/su.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

using siplib::sofia::StreamBatch;

namespace {

const std::string message = "0123456789";

// Two connected sockets on loopback.
struct Pair {
    explicit Pair(int type)
    {
        const int first = socket(AF_INET, type | SOCK_CLOEXEC, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* at = reinterpret_cast<sockaddr*>(&address);
        bind(first, at, size);
        if (type == SOCK_STREAM) listen(first, 1);
        getsockname(first, at, &size);
        sender = socket(AF_INET, type | SOCK_CLOEXEC, 0);
        EXPECT_EQ(connect(sender, at, size), 0);
        receiver = type == SOCK_STREAM ? accept(first, nullptr, nullptr) : first;
        if (type == SOCK_STREAM) close(first);
    }
    ~Pair()
    {
        close(sender);
        close(receiver);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    void send(int times = 1) const
    {
        su_iovec_t piece = {};
        piece.siv_base = const_cast<char*>(message.data());
        piece.siv_len = message.size();
        for (int i = 0; i < times; ++i)
            EXPECT_EQ(su_vsend(sender, &piece, 1, MSG_NOSIGNAL, nullptr, 0),
                      static_cast<issize_t>(message.size()));
    }
    // Messages that have arrived. Loopback delivers within the sending call.
    std::size_t arrived() const
    {
        int bytes = 0;
        ioctl(receiver, FIONREAD, &bytes);
        return static_cast<std::size_t>(bytes) / message.size();
    }

    int sender = -1, receiver = -1;
};

TEST(AStreamBatch, SendsTheFirstMessageAtOnceAndTheRestAtItsEnd)
{
    const Pair tcp(SOCK_STREAM);
    {
        const StreamBatch batch;
        tcp.send();
        EXPECT_EQ(tcp.arrived(), 1U);
        tcp.send(3);
        EXPECT_EQ(tcp.arrived(), 1U);
    }
    EXPECT_EQ(tcp.arrived(), 4U);
    tcp.send();
    EXPECT_EQ(tcp.arrived(), 5U);
}

TEST(AStreamBatch, DoesNotHoldMoreThanItsMost)
{
    const Pair tcp(SOCK_STREAM);
    const StreamBatch batch;
    tcp.send();
    tcp.send(StreamBatch::most_held - 1);
    EXPECT_EQ(tcp.arrived(), 1U);
    tcp.send();
    EXPECT_EQ(tcp.arrived(), 1U + StreamBatch::most_held);
    tcp.send();
    EXPECT_EQ(tcp.arrived(), 1U + StreamBatch::most_held);
}

TEST(AStreamBatch, LeavesDatagramsAlone)
{
    const Pair udp(SOCK_DGRAM);
    const StreamBatch batch;
    udp.send(3);
    for (int i = 0; i < 3; ++i) {
        char buffer[64];
        EXPECT_EQ(recv(udp.receiver, buffer, sizeof buffer, MSG_DONTWAIT),
                  static_cast<ssize_t>(message.size()));
    }
}

TEST(AStreamBatch, TellsStreamsApart)
{
    const Pair one(SOCK_STREAM);
    const Pair other(SOCK_STREAM);
    {
        const StreamBatch batch;
        one.send(2);
        EXPECT_EQ(one.arrived(), 1U);
        other.send();
        EXPECT_EQ(other.arrived(), 1U);
        other.send();
        EXPECT_EQ(other.arrived(), 1U);
    }
    EXPECT_EQ(one.arrived(), 2U);
    EXPECT_EQ(other.arrived(), 2U);
}

TEST(AStreamBatch, SendsOneByOneOnMoreStreamsThanItHasRoomFor)
{
    std::vector<std::unique_ptr<Pair>> pairs;
    const StreamBatch batch;
    for (int i = 0; i < 9; ++i) {
        pairs.push_back(std::make_unique<Pair>(SOCK_STREAM));
        pairs.back()->send(2);
    }
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(pairs[static_cast<std::size_t>(i)]->arrived(), 1U) << i;
    EXPECT_EQ(pairs[8]->arrived(), 2U);
}

TEST(AStreamBatch, IsOfItsThread)
{
    const Pair tcp(SOCK_STREAM);
    const StreamBatch batch;
    std::thread([&tcp] { tcp.send(3); }).join();
    EXPECT_EQ(tcp.arrived(), 3U);
}

TEST(ASendOfSofia, TellsAboutAClosedSocket)
{
    su_iovec_t piece = {};
    EXPECT_EQ(su_vsend(-1, &piece, 1, MSG_NOSIGNAL, nullptr, 0), -1);
    EXPECT_EQ(errno, EBADF);
}

} // namespace
