#include "../raw_peer.h"
#include "../sip_fixture.h"

#include <thread>

namespace {

class TheSipThread : public WithStack {};

// send() hands over and returns; who is on the SIP thread itself never waits.
TEST_F(TheSipThread, TakesRequestsFromItsOwnCallbacks)
{
    cfg.maxTransmitters = 1;
    start();
    RequestEars server;
    int port = 0;
    ASSERT_TRUE(listen(&server, port));
    ResponseEars ears;
    server.react = [&](SIPLIB_SIPConnection* conn) {
        answer(conn, 200);
        if (server.count() > 0) return;
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(request("MESSAGE", port, "udp", &ears)->send(), SIPLIB_OK);
    };
    ASSERT_EQ(request("MESSAGE", port, "udp", &ears)->send(), SIPLIB_OK);
    for (int i = 0; i < 51; ++i)
        EXPECT_EQ(ears.next_status(), 200);
}

TEST_F(TheSipThread, ServesManyThreadsAtOnce)
{
    cfg.maxTransmitters = 8;
    start();
    RequestEars server;
    server.react = [](SIPLIB_SIPConnection* conn) { answer(conn, 200); };
    int port = 0;
    ASSERT_TRUE(listen(&server, port));
    ResponseEars ears;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 100; ++i)
                EXPECT_EQ(request("MESSAGE", port, t % 2 ? "udp" : "tcp", &ears)->send(), SIPLIB_OK);
        });
    for (std::thread& thread : threads)
        thread.join();
    for (int i = 0; i < 400; ++i)
        EXPECT_EQ(ears.next_status(), 200);
}

// Several answers to one peer leave together, but not after their port.
TEST_F(TheSipThread, SendsWhatItHoldsBeforeAPortIsClosed)
{
    start();
    RequestEars server;
    int port = 0;
    SIPLIB_SIPNotifier* notifier = listen(&server, port);
    ASSERT_TRUE(notifier);
    int asked = 0;
    server.react = [&](SIPLIB_SIPConnection* conn) {
        answer(conn, 200);
        if (++asked < 3) return;
        EXPECT_EQ(notifier->close(), SIPLIB_OK);
    };
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    for (const char* branch : {"1", "2", "3"})
        peer.send_to(port, raw_request("MESSAGE", peer.port(), branch));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(raw_status(peer.receive()), 200);
}

// The stack is in the midst of something that concerns the port when it calls back.
class APortClosedFromTheCallback : public WithStack {
protected:
    // Requests leave from the oldest port, which is `leaving`'s.
    void expect_end(const char* transport, int to, int status)
    {
        RequestEars nobody;
        int own = 0;
        SIPLIB_SIPNotifier* leaving = listen(&nobody, own);
        ASSERT_TRUE(leaving);
        ResponseEars ears;
        ears.react = [&](SIPLIB_SIPClientConnection*) { EXPECT_EQ(leaving->close(), SIPLIB_OK); };
        ASSERT_EQ(request("MESSAGE", to, transport, &ears)->send(), SIPLIB_OK);
        EXPECT_EQ(ears.next_status(), status);
        ears.react = nullptr; // the stack goes on, from another port
        ASSERT_EQ(request("MESSAGE", to, transport, &ears)->send(), SIPLIB_OK);
        EXPECT_EQ(ears.next_status(), status);
    }
    // A peer outside the library, on UDP, that answers two requests or none.
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
};

TEST_F(APortClosedFromTheCallback, OfAResponseOverUdpIsGoneAfterwards)
{
    start();
    std::thread answers([this] {
        for (int i = 0; i < 2; ++i) {
            const std::string asked = peer.receive();
            peer.send_to(peer.last_from(), raw_response(asked, 200));
        }
    });
    expect_end("udp", peer.port(), 200);
    answers.join();
}

TEST_F(APortClosedFromTheCallback, OfATimeOutIsGoneAfterwards)
{
    start();
    expect_end("udp", peer.port(), 408);
}

TEST_F(APortClosedFromTheCallback, OfAFailedConnectionIsGoneAfterwards)
{
    start();
    int closed_port = 0;
    {
        const RawSocket once = RawSocket::bound(SOCK_STREAM);
        closed_port = once.port();
    }
    expect_end("tcp", closed_port, 503);
}

TEST_F(TheSipThread, OpensAndClosesPortsFromItsOwnCallbacks)
{
    start();
    RequestEars server;
    RequestEars second;
    int port = 0;
    int opened = 0;
    ASSERT_TRUE(listen(&server, port));
    server.react = [&](SIPLIB_SIPConnection* conn) {
        SIPLIB_SIPNotifier* inner = listen(&second, opened);
        ASSERT_TRUE(inner);
        EXPECT_EQ(inner->close(), SIPLIB_OK);
        EXPECT_EQ(conn->close(), SIPLIB_OK);
    };
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "1"));
    ASSERT_TRUE(server.wait_count(1));
    EXPECT_TRUE(RawSocket::bound(SOCK_DGRAM, opened).open());
}

} // namespace
