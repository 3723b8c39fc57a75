#include "../raw_peer.h"
#include "../sip_fixture.h"

#include <set>

namespace {

class ServerTransactions : public WithStack {
protected:
    ServerTransactions()
    {
        start();
        listen(&ears, port);
    }
    std::string asked(const std::string& bytes)
    {
        peer.send_to(port, bytes);
        return peer.receive();
    }
    RequestEars ears;
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    int port = 0;
};

TEST_F(ServerTransactions, Answer400ToBrokenRequests)
{
    std::string text = raw_request("MESSAGE", peer.port(), "1");
    text.replace(text.find("CSeq: 1"), 7, "CSeq: x");
    EXPECT_EQ(raw_status(asked(text)), 400);
    text = raw_request("MESSAGE", peer.port(), "2");
    text.erase(text.find("Call-ID"), text.find("CSeq") - text.find("Call-ID"));
    EXPECT_EQ(raw_status(asked(text)), 400);
    EXPECT_EQ(ears.count(), 0u);
}

// RFC 3261 section 8.1.1.8.
TEST_F(ServerTransactions, Answer400ToSeveralContactsOfWhatCanMakeADialog)
{
    const std::string two_lines = "Contact: <sip:a@127.0.0.1>\r\nContact: <sip:b@127.0.0.1>\r\n";
    const std::string one_line = "Contact: <sip:a@127.0.0.1>, <sip:b@127.0.0.1>\r\n";
    const auto with = [this](const char* method, const char* branch, const std::string& contacts) {
        std::string text = raw_request(method, peer.port(), branch);
        return text.insert(text.find("CSeq:"), contacts);
    };
    EXPECT_EQ(raw_status(asked(with("SUBSCRIBE", "1", two_lines))), 400);
    EXPECT_EQ(raw_status(asked(with("SUBSCRIBE", "2", one_line))), 400);
    EXPECT_EQ(raw_status(asked(with("INVITE", "3", two_lines))), 400);
    EXPECT_EQ(ears.count(), 0u);
    peer.send_to(port, with("REGISTER", "4", two_lines));
    ASSERT_TRUE(ears.next());
}

// RFC 3261 section 18.3.
TEST_F(ServerTransactions, Answer400ToABodyThatEndsTooEarly)
{
    std::string text = raw_request("MESSAGE", peer.port(), "1");
    text.replace(text.find("Content-Length: 0"), 17, "Content-Length: 5");
    EXPECT_EQ(raw_status(asked(text)), 400);
    EXPECT_EQ(raw_status(asked(text + "four")), 400);
    EXPECT_EQ(ears.count(), 0u);
    peer.send_to(port, text + "five!and what is too much");
    SIPLIB_SIPConnection* conn = ears.next();
    ASSERT_TRUE(conn);
    char body[64] = "";
    int size = sizeof body;
    EXPECT_EQ(conn->getBody(body, size), SIPLIB_OK);
    EXPECT_EQ(std::string(body, static_cast<std::size_t>(size)), "five!");
}

TEST_F(ServerTransactions, Answer505ToAnotherVersion)
{
    std::string text = raw_request("MESSAGE", peer.port(), "1");
    text.replace(text.find("SIP/2.0\r\n"), 7, "SIP/3.0");
    EXPECT_EQ(raw_status(asked(text)), 505);
}

TEST_F(ServerTransactions, SurviveGarbage)
{
    peer.send_to(port, "");
    peer.send_to(port, "\r\n\r\n");
    peer.send_to(port, std::string(60000, 'x'));
    peer.send_to(port, std::string("\0\1\2\3", 4));
    peer.send_to(port, "MESSAGE");
    peer.send_to(port, "MESSAGE sip:a SIP/2.0\r\nVia: \r\n\r\n");
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "1"));
    EXPECT_TRUE(ears.next());
    EXPECT_EQ(ears.count(), 1u);
}

TEST_F(ServerTransactions, Answer481ToACancelThatFindsNothing)
{
    EXPECT_EQ(raw_status(asked(raw_request("CANCEL", peer.port(), "1"))), 481);
}

TEST_F(ServerTransactions, IgnoreAStrayAck)
{
    peer.send_to(port, raw_request("ACK", peer.port(), "1"));
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "2"));
    ASSERT_TRUE(ears.next());
    EXPECT_EQ(ears.count(), 1u);
}

TEST_F(ServerTransactions, TellRetransmissionsFromNewRequests)
{
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "1"));
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "1"));
    peer.send_to(port, raw_request("OPTIONS", peer.port(), "1")); // same branch, other method
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "2"));
    ASSERT_TRUE(ears.wait_count(3));
    EXPECT_EQ(method(ears.next()), "MESSAGE");
    EXPECT_EQ(method(ears.next()), "OPTIONS");
    EXPECT_EQ(method(ears.next()), "MESSAGE");
}

TEST_F(ServerTransactions, AnswerOnTheConnectionThatTheRequestCameOn)
{
    RawSocket stream = RawSocket::connected(SOCK_STREAM, port);
    stream.send(raw_request("MESSAGE", 9, "1", "", "TCP")); // sent-by says otherwise
    SIPLIB_SIPConnection* conn = ears.next();
    ASSERT_TRUE(conn);
    ASSERT_EQ(answer(conn, 200), SIPLIB_OK);
    EXPECT_EQ(raw_status(stream.receive_until("\r\n\r\n")), 200);
}

// RFC 3261 section 18.2.2: to the address in Via when the connection is gone.
TEST_F(ServerTransactions, AnswerToTheSenderWhenTheConnectionIsGone)
{
    RawSocket listening = RawSocket::bound(SOCK_STREAM);
    RawSocket stream = RawSocket::connected(SOCK_STREAM, port);
    stream.send(raw_request("MESSAGE", listening.port(), "1", "", "TCP"));
    SIPLIB_SIPConnection* conn = ears.next();
    ASSERT_TRUE(conn);
    stream.close();
    // Another exchange, so that the FIN has been seen.
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "2"));
    ASSERT_TRUE(ears.next());
    ASSERT_EQ(answer(conn, 200), SIPLIB_OK);
    RawSocket back = listening.accepted();
    ASSERT_TRUE(back.open());
    EXPECT_EQ(raw_status(back.receive_until("\r\n\r\n")), 200);
}

TEST_F(ServerTransactions, AnswerToTheReceivedAddressAndRport)
{
    std::string text = raw_request("MESSAGE", 9, "1"); // a port where nobody is
    text.replace(text.find("127.0.0.1:9"), 11, "192.0.2.1:9;rport");
    peer.send_to(port, text);
    SIPLIB_SIPConnection* conn = ears.next();
    ASSERT_TRUE(conn);
    ASSERT_EQ(answer(conn, 200), SIPLIB_OK);
    const std::string reply = peer.receive();
    EXPECT_EQ(raw_status(reply), 200);
    EXPECT_NE(raw_header(reply, "Via").find("received=127.0.0.1"), std::string::npos);
    EXPECT_NE(raw_header(reply, "Via").find("rport=" + std::to_string(peer.port())), std::string::npos);
}

TEST_F(ServerTransactions, RefuseMessagesAbove16KiB)
{
    RawSocket stream = RawSocket::connected(SOCK_STREAM, port);
    stream.send(raw_request("MESSAGE", 9, "1", "", "TCP", std::string(17 * 1024, 'x')));
    EXPECT_EQ(raw_status(stream.receive_until("\r\n\r\n")), 513);
    EXPECT_EQ(
        raw_status(asked(raw_request("MESSAGE", peer.port(), "2", "", "UDP", std::string(17 * 1024, 'x')))),
        513);
    EXPECT_EQ(ears.count(), 0u);
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "3", "", "UDP", std::string(15 * 1024, 'x')));
    SIPLIB_SIPConnection* conn = ears.next();
    ASSERT_TRUE(conn);
    EXPECT_EQ(body(conn).size(), 15u * 1024);
}

TEST_F(ServerTransactions, AnswerAnInviteAndItsAck)
{
    peer.send_to(port, raw_request("INVITE", peer.port(), "1", "Contact: <sip:raw@127.0.0.1>\r\n"));
    SIPLIB_SIPConnection* conn = ears.next();
    ASSERT_TRUE(conn);
    ASSERT_EQ(answer(conn, 180), SIPLIB_OK);
    EXPECT_EQ(raw_status(peer.receive_until("180")), 180);
    ASSERT_EQ(answer(conn, 486), SIPLIB_OK);
    const std::string reply = peer.receive_until("486");
    EXPECT_EQ(raw_status(reply), 486);
    EXPECT_EQ(ears.count(), 1u);
}

TEST_F(ServerTransactions, EndAnInviteThatIsCancelled)
{
    peer.send_to(port, raw_request("INVITE", peer.port(), "1", "Contact: <sip:raw@127.0.0.1>\r\n"));
    SIPLIB_SIPConnection* conn = ears.next();
    ASSERT_TRUE(conn);
    std::string cancel = raw_request("CANCEL", peer.port(), "1");
    peer.send_to(port, cancel);
    std::set<int> codes;
    while (codes.count(200) + codes.count(487) < 2) {
        const std::string reply = peer.receive();
        ASSERT_FALSE(reply.empty());
        codes.insert(raw_status(reply));
    }
    EXPECT_EQ(conn->initResponse(200), SIPLIB_ERR_STATE);
}

} // namespace
