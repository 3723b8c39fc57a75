#include "siplib/sofia/send_batch.h"

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

using siplib::sofia::SendBatch;

namespace {

const std::string message = "0123456789";

issize_t send_text(int socket, const std::string& text, const sockaddr_in* to = nullptr)
{
    su_iovec_t pieces[2] = {}; // as the stack sends: a start and the rest
    pieces[0].siv_base = const_cast<char*>(text.data());
    pieces[0].siv_len = 3;
    pieces[1].siv_base = const_cast<char*>(text.data() + 3);
    pieces[1].siv_len = text.size() - 3;
    return su_vsend(socket, pieces, 2, MSG_NOSIGNAL, reinterpret_cast<const su_sockaddr_t*>(to),
                    to ? sizeof *to : 0);
}

int bound(int type, sockaddr_in& address)
{
    const int fd = socket(AF_INET, type | SOCK_CLOEXEC, 0);
    address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), size), 0);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return fd;
}

// Two connected TCP sockets.
struct Stream {
    Stream()
    {
        sockaddr_in address;
        const int listener = bound(SOCK_STREAM, address);
        listen(listener, 1);
        sender = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(connect(sender, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        receiver = accept(listener, nullptr, nullptr);
        close(listener);
    }
    ~Stream()
    {
        close(sender);
        close(receiver);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    void send(int times = 1) const
    {
        for (int i = 0; i < times; ++i)
            EXPECT_EQ(send_text(sender, message), static_cast<issize_t>(message.size()));
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

// Somebody who gets datagrams.
struct Receiver {
    Receiver() : fd(bound(SOCK_DGRAM, address)) {}
    ~Receiver() { close(fd); }
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    std::vector<std::string> arrived() const
    {
        std::vector<std::string> texts;
        std::string buffer(65536, '\0');
        for (ssize_t n = 0; (n = recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT)) >= 0;)
            texts.push_back(buffer.substr(0, static_cast<std::size_t>(n)));
        return texts;
    }

    sockaddr_in address;
    int fd;
};

class ABatchOfDatagrams : public ::testing::Test {
protected:
    ~ABatchOfDatagrams() override { close(sender); }
    void send(const std::string& text, const Receiver& to) const
    {
        EXPECT_EQ(send_text(sender, text, &to.address), static_cast<issize_t>(text.size()));
    }
    using Texts = std::vector<std::string>;

    int sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    Receiver receiver;
};

TEST(ABatchOnAStream, SendsTheFirstMessageAtOnceAndTheRestWhenItIsFlushed)
{
    const Stream tcp;
    SendBatch batch;
    tcp.send();
    EXPECT_EQ(tcp.arrived(), 1U);
    tcp.send(3);
    EXPECT_EQ(tcp.arrived(), 1U);
    batch.flush();
    EXPECT_EQ(tcp.arrived(), 4U);
    tcp.send();
    EXPECT_EQ(tcp.arrived(), 5U);
}

TEST(ABatchOnAStream, SendsEverythingWhenItEnds)
{
    const Stream tcp;
    {
        const SendBatch batch;
        tcp.send(3);
        EXPECT_EQ(tcp.arrived(), 1U);
    }
    EXPECT_EQ(tcp.arrived(), 3U);
    tcp.send(2);
    EXPECT_EQ(tcp.arrived(), 5U);
}

TEST(ABatchOnAStream, DoesNotHoldMoreThanItsMost)
{
    const Stream tcp;
    const SendBatch batch;
    tcp.send();
    tcp.send(SendBatch::most_held - 1);
    EXPECT_EQ(tcp.arrived(), 1U);
    tcp.send();
    EXPECT_EQ(tcp.arrived(), 1U + SendBatch::most_held);
    tcp.send();
    EXPECT_EQ(tcp.arrived(), 1U + SendBatch::most_held);
}

TEST(ABatchOnAStream, TellsStreamsApart)
{
    const Stream one;
    const Stream other;
    {
        const SendBatch batch;
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

TEST(ABatchOnAStream, SendsOneByOneOnMoreStreamsThanItHasRoomFor)
{
    std::vector<std::unique_ptr<Stream>> streams;
    const SendBatch batch;
    for (int i = 0; i < 9; ++i) {
        streams.push_back(std::make_unique<Stream>());
        streams.back()->send(2);
    }
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(streams[static_cast<std::size_t>(i)]->arrived(), 1U) << i;
    EXPECT_EQ(streams[8]->arrived(), 2U);
}

TEST(ABatchOnAStream, IsOfItsThread)
{
    const Stream tcp;
    const SendBatch batch;
    std::thread([&tcp] {
        tcp.send(3);
        SendBatch::flush_current();
    }).join();
    EXPECT_EQ(tcp.arrived(), 3U);
}

TEST_F(ABatchOfDatagrams, SendsTheFirstOneAtOnceAndTheRestInTheirOrder)
{
    SendBatch batch;
    send("first", receiver);
    EXPECT_EQ(receiver.arrived(), Texts{"first"});
    send("second", receiver);
    send("third", receiver);
    EXPECT_EQ(receiver.arrived(), Texts{});
    batch.flush();
    EXPECT_EQ(receiver.arrived(), (Texts{"second", "third"}));
    send("fourth", receiver);
    EXPECT_EQ(receiver.arrived(), Texts{"fourth"});
}

TEST_F(ABatchOfDatagrams, DoesNotHoldMoreThanItsMost)
{
    const SendBatch batch;
    send("first", receiver);
    for (unsigned i = 0; i + 1 < SendBatch::most_held; ++i)
        send(message, receiver);
    EXPECT_EQ(receiver.arrived(), Texts{"first"});
    send(message, receiver);
    EXPECT_EQ(receiver.arrived(), Texts(SendBatch::most_held, message));
}

TEST_F(ABatchOfDatagrams, KeepsTheOrderWhenOneIsTooLargeToBeHeld)
{
    const SendBatch batch;
    const std::string largest(SendBatch::largest_datagram_held, 'x');
    send("first", receiver);
    send(largest, receiver);
    EXPECT_EQ(receiver.arrived(), Texts{"first"});
    send(largest + "y", receiver);
    EXPECT_EQ(receiver.arrived(), (Texts{largest, largest + "y"}));
}

TEST_F(ABatchOfDatagrams, SendsTheFirstOneToEachAddressAtOnce)
{
    const Receiver other;
    {
        const SendBatch batch;
        send("first", receiver);
        send("first", other);
        EXPECT_EQ(receiver.arrived(), Texts{"first"});
        EXPECT_EQ(other.arrived(), Texts{"first"});
        send("second", receiver);
        send("second", other);
        EXPECT_EQ(receiver.arrived(), Texts{});
    }
    EXPECT_EQ(receiver.arrived(), Texts{"second"});
    EXPECT_EQ(other.arrived(), Texts{"second"});
}

TEST_F(ABatchOfDatagrams, SendsOneByOneToMoreAddressesThanItHasRoomFor)
{
    std::vector<std::unique_ptr<Receiver>> receivers;
    const SendBatch batch;
    for (int i = 0; i < 9; ++i) {
        receivers.push_back(std::make_unique<Receiver>());
        send("first", *receivers.back());
        send("second", *receivers.back());
    }
    EXPECT_EQ(receivers[7]->arrived(), Texts{"first"});
    EXPECT_EQ(receivers[8]->arrived(), (Texts{"first", "second"}));
}

TEST_F(ABatchOfDatagrams, HoldsThoseOfOneSocketAtATime)
{
    const int another = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const SendBatch batch;
    send("first", receiver);
    send("second", receiver);
    EXPECT_EQ(send_text(another, "of another", &receiver.address), 10);
    EXPECT_EQ(receiver.arrived(), (Texts{"first", "of another"}));
    EXPECT_EQ(send_text(another, "of another", &receiver.address), 10);
    EXPECT_EQ(receiver.arrived(), Texts{"second"});
    close(another);
}

TEST_F(ABatchOfDatagrams, TellsAboutAnAddressThatCannotBeHad)
{
    Receiver nowhere;
    nowhere.address.sin_port = 0;
    SendBatch batch;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(send_text(sender, message, &nowhere.address), -1);
        EXPECT_EQ(errno, EINVAL);
    }
}

TEST_F(ABatchOfDatagrams, LosesWhatTheKernelRefusesAndGoesOn)
{
    SendBatch batch;
    send("first", receiver);
    send("second", receiver);
    send("third", receiver);
    shutdown(sender, SHUT_WR);
    close(sender);
    batch.flush();
    sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    send("fourth", receiver);
    EXPECT_EQ(receiver.arrived(), (Texts{"first", "fourth"}));
}

TEST(ASendOfSofia, TellsAboutAClosedSocket)
{
    su_iovec_t piece = {};
    EXPECT_EQ(su_vsend(-1, &piece, 1, MSG_NOSIGNAL, nullptr, 0), -1);
    EXPECT_EQ(errno, EBADF);
}

} // namespace
