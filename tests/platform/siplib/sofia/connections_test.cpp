#include "../raw_peer.h"
#include "../sip_fixture.h"

namespace {

class TcpConnections : public WithStack {};

TEST_F(TcpConnections, OfPeersAreRefusedBeyondTheLimit)
{
    cfg.maxConnections = 2;
    start();
    RequestEars ears;
    int port = 0;
    ASSERT_TRUE(listen(&ears, port));
    RawSocket first = RawSocket::connected(SOCK_STREAM, port);
    RawSocket second = RawSocket::connected(SOCK_STREAM, port);
    RawSocket third = RawSocket::connected(SOCK_STREAM, port);
    first.send(raw_request("MESSAGE", 9, "1", "", "TCP"));
    ASSERT_EQ(answer(ears.next(), 200), SIPLIB_OK);
    second.send(raw_request("MESSAGE", 9, "2", "", "TCP"));
    ASSERT_EQ(answer(ears.next(), 200), SIPLIB_OK);
    third.send(raw_request("MESSAGE", 9, "3", "", "TCP"));
    const std::string refusal = third.receive_until("\r\n\r\n");
    EXPECT_EQ(raw_status(refusal), 503);
    EXPECT_NE(raw_header(refusal, "Retry-After"), "");
    EXPECT_TRUE(third.peer_has_closed());
    // Those there are go on, and one that ends makes room.
    first.receive_until("\r\n\r\n");
    first.send(raw_request("MESSAGE", 9, "4", "", "TCP"));
    ASSERT_EQ(answer(ears.next(), 200), SIPLIB_OK);
    second.close();
    RawSocket fourth = RawSocket::connected(SOCK_STREAM, port);
    int status = 503;
    for (int i = 0; status == 503 && i < 200; ++i) {
        fourth = RawSocket::connected(SOCK_STREAM, port);
        fourth.send(raw_request("MESSAGE", 9, "5" + std::to_string(i), "", "TCP"));
        status = fourth.readable(20) ? raw_status(fourth.receive_until("\r\n\r\n")) : 0;
    }
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(ears.next());
}

TEST_F(TcpConnections, OfOursAreRefusedBeyondTheLimit)
{
    cfg.maxConnections = 1;
    start();
    RawSocket first = RawSocket::bound(SOCK_STREAM);
    RawSocket second = RawSocket::bound(SOCK_STREAM);
    ResponseEars ears;
    ASSERT_EQ(request("MESSAGE", first.port(), "tcp", &ears)->send(), SIPLIB_OK);
    RawSocket stream = first.accepted();
    stream.send(raw_response(stream.receive_until("\r\n\r\n"), 200));
    ASSERT_EQ(ears.next_status(), 200);
    EXPECT_EQ(request("MESSAGE", second.port(), "tcp", &ears)->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(request("MESSAGE", first.port(), "tcp", &ears)->send(), SIPLIB_OK);
    EXPECT_EQ(request("MESSAGE", second.port(), "udp", &ears)->send(), SIPLIB_OK);
}

// A connection that had worked and was closed while it was idle is no reason to fail.
TEST_F(TcpConnections, ThatWereClosedWhileIdleAreMadeAgain)
{
    start();
    RawSocket listening = RawSocket::bound(SOCK_STREAM);
    ResponseEars ears;
    ASSERT_EQ(request("MESSAGE", listening.port(), "tcp", &ears)->send(), SIPLIB_OK);
    RawSocket stream = listening.accepted();
    stream.send(raw_response(stream.receive_until("\r\n\r\n"), 200));
    ASSERT_EQ(ears.next_status(), 200);
    stream.close();
    ASSERT_EQ(request("MESSAGE", listening.port(), "tcp", &ears)->send(), SIPLIB_OK);
    RawSocket again = listening.accepted();
    ASSERT_TRUE(again.open());
    again.send(raw_response(again.receive_until("\r\n\r\n"), 202));
    EXPECT_EQ(ears.next_status(), 202);
}

// As above, but the close comes after the request: one more try, then 503.
TEST_F(TcpConnections, ThatAreClosedUnderARequestGetOneMoreTry)
{
    start();
    RawSocket listening = RawSocket::bound(SOCK_STREAM);
    ResponseEars ears;
    ASSERT_EQ(request("MESSAGE", listening.port(), "tcp", &ears)->send(), SIPLIB_OK);
    RawSocket stream = listening.accepted();
    stream.send(raw_response(stream.receive_until("\r\n\r\n"), 200));
    ASSERT_EQ(ears.next_status(), 200);
    ASSERT_EQ(request("MESSAGE", listening.port(), "tcp", &ears)->send(), SIPLIB_OK);
    ASSERT_FALSE(stream.receive_until("\r\n\r\n").empty());
    stream.close();
    {
        RawSocket again = listening.accepted();
        ASSERT_TRUE(again.open());
        ASSERT_FALSE(again.receive_until("\r\n\r\n").empty());
    }
    EXPECT_EQ(ears.next_status(), 503);
}

} // namespace
