#include "../raw_peer.h"
#include "../sip_fixture.h"

namespace {

class ClientTransactions : public WithStack {
protected:
    ResponseEars ears;
};

// RFC 3261 section 17.1.2.
TEST_F(ClientTransactions, AreRetransmittedOverUdp)
{
    start();
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    ASSERT_EQ(request("MESSAGE", peer.port(), "udp", &ears)->send(), SIPLIB_OK);
    const std::string first = peer.receive();
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(peer.receive(), first);
    EXPECT_EQ(peer.receive(), first);
    peer.send_to(peer.last_from(), raw_response(first, 200));
    EXPECT_EQ(ears.next_status(), 200);
}

TEST_F(ClientTransactions, AreWindowedTowardsOneDestination)
{
    start();
    RawSocket silent = RawSocket::bound(SOCK_DGRAM);
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(request("MESSAGE", silent.port(), "udp", &ears)->send(), SIPLIB_OK);
    // Another destination does not wait behind it.
    RawSocket lively = RawSocket::bound(SOCK_DGRAM);
    ResponseEars quick;
    ASSERT_EQ(request("MESSAGE", lively.port(), "udp", &quick)->send(), SIPLIB_OK);
    const std::string sent = lively.receive();
    lively.send_to(lively.last_from(), raw_response(sent, 200));
    EXPECT_EQ(quick.next_status(), 200);
    // And all that nobody answers gets its 408, whether it was sent or not.
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(ears.next_status(), 408);
}

TEST_F(ClientTransactions, AreOneStreamOverTcp)
{
    start();
    RawSocket listening = RawSocket::bound(SOCK_STREAM);
    ASSERT_EQ(request("MESSAGE", listening.port(), "tcp", &ears)->send(), SIPLIB_OK);
    RawSocket stream = listening.accepted();
    const std::string first = stream.receive_until("\r\n\r\n");
    stream.send(raw_response(first, 200));
    EXPECT_EQ(ears.next_status(), 200);
    ASSERT_EQ(request("MESSAGE", listening.port(), "tcp", &ears)->send(), SIPLIB_OK);
    const std::string second = stream.receive_until("\r\n\r\n"); // the same connection
    stream.send(raw_response(second, 202));
    EXPECT_EQ(ears.next_status(), 202);
}

TEST_F(ClientTransactions, FindTheirAnswersInOneSegmentAndInPieces)
{
    start();
    RawSocket listening = RawSocket::bound(SOCK_STREAM);
    ASSERT_EQ(request("MESSAGE", listening.port(), "tcp", &ears)->send(), SIPLIB_OK);
    RawSocket stream = listening.accepted();
    const std::string reply = raw_response(stream.receive_until("\r\n\r\n"), 200);
    stream.send(reply.substr(0, 20));
    stream.send(reply.substr(20));
    EXPECT_EQ(ears.next_status(), 200);
}

// RFC 3261 section 18.3: such an answer is discarded, so that the request runs into its time-out.
TEST_F(ClientTransactions, DoNotTakeAnAnswerWhoseBodyEndsTooEarly)
{
    start();
    for (const int status : {183, 200}) {
        RawSocket peer = RawSocket::bound(SOCK_DGRAM);
        ASSERT_EQ(request("MESSAGE", peer.port(), "udp", &ears)->send(), SIPLIB_OK);
        const std::string sent = peer.receive();
        std::string answer = raw_response(sent, status);
        answer.replace(answer.find("Content-Length: 0"), 17, "Content-Length: 5");
        peer.send_to(peer.last_from(), answer + "four");
        SIPLIB_SIPClientConnection* conn = ears.next();
        int code = 0;
        ASSERT_TRUE(conn);
        ASSERT_EQ(conn->receive(), SIPLIB_OK);
        ASSERT_EQ(conn->getResponseCode(code), SIPLIB_OK);
        EXPECT_EQ(code, 408) << status;
    }
}

TEST_F(ClientTransactions, IgnoreAnswersThatAreGarbage)
{
    start();
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    ASSERT_EQ(request("MESSAGE", peer.port(), "udp", &ears)->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    peer.send_to(peer.last_from(), "SIP/2.0 200 OK\r\n\r\n");
    peer.send_to(peer.last_from(), "SIP/2.0 9 x\r\nVia: ???\r\n\r\n");
    peer.send_to(peer.last_from(), std::string(3000, '\0'));
    std::string other = raw_response(sent, 200);
    other.replace(other.find("z9hG4bK"), 9, "z9hG4bKxx");
    peer.send_to(peer.last_from(), other); // somebody else's branch
    peer.send_to(peer.last_from(), raw_response(sent, 204));
    EXPECT_EQ(ears.next_status(), 204);
    EXPECT_EQ(ears.count(), 1u);
}

} // namespace
