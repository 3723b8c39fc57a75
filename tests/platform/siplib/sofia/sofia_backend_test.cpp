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
