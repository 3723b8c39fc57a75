#include "raw_peer.h"
#include "sip_fixture.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_records.h"

#include <functional>

namespace {

class AClientConnection : public WithStack {
protected:
    AClientConnection() { start(); }
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    ResponseEars ears;
};

TEST_F(AClientConnection, SendsWhatWasSetAndWhatWasMissing)
{
    SIPLIB_SIPClientConnection* conn = request("NOTIFY", peer.port());
    conn->setHeader("Call-ID", "kept");
    conn->setHeader("Event", "reg");
    conn->setBody("abc", 3);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    EXPECT_EQ(sent.substr(0, 7), "NOTIFY ");
    EXPECT_EQ(raw_header(sent, "Call-ID"), "kept");
    EXPECT_EQ(raw_header(sent, "Event"), "reg");
    EXPECT_EQ(raw_header(sent, "CSeq"), "1 NOTIFY");
    EXPECT_EQ(raw_header(sent, "Max-Forwards"), "70");
    EXPECT_EQ(raw_header(sent, "Content-Length"), "3");
    EXPECT_NE(raw_header(sent, "Via").find(";branch=z9hG4bK"), std::string::npos);
    EXPECT_EQ(raw_header(sent, "From").find("<sip:me@127.0.0.1>;tag="), 0u);
    EXPECT_EQ(sent.substr(sent.size() - 7), "\r\n\r\nabc");
}

TEST_F(AClientConnection, RefusesToSendWithoutARequestFromOrTo)
{
    SIPLIB_SIPClientConnection* conn = connector.open("sip:a@127.0.0.1", nullptr)->asClientConnection();
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setHeader("From", "<sip:a@b>"), SIPLIB_ERR_STATE);
    ASSERT_EQ(conn->initRequest("OPTIONS"), SIPLIB_OK);
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
    conn->setHeader("From", "<sip:a@b>");
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
}

TEST_F(AClientConnection, RefusesASecondSendUntilANewRequestIsStarted)
{
    SIPLIB_SIPClientConnection* conn = request("OPTIONS", peer.port(), "udp", &ears);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->initRequest("OPTIONS"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setHeader("X", "y"), SIPLIB_ERR_STATE);
    const std::string sent = peer.receive();
    peer.send_to(peer.last_from(), raw_response(sent, 200));
    ASSERT_EQ(ears.next_status(), 200);
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
    ASSERT_EQ(conn->initRequest("OPTIONS"), SIPLIB_OK);
    conn->setHeader("From", "<sip:me@127.0.0.1>");
    conn->setHeader("To", "<sip:peer@127.0.0.1>");
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    const std::string again = peer.receive();
    EXPECT_NE(raw_header(again, "Call-ID"), raw_header(sent, "Call-ID"));
}

TEST_F(AClientConnection, GetsA408WhenNobodyAnswers)
{
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port(), "udp", &ears);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    EXPECT_EQ(ears.next_status(), 408);
    EXPECT_EQ(method(conn), "MESSAGE");
    EXPECT_EQ(conn->receive(), SIPLIB_ERR_STATE);
}

TEST_F(AClientConnection, GetsA503WhenTheConnectionIsRefused)
{
    int port = 0;
    {
        RawSocket gone = RawSocket::bound(SOCK_STREAM);
        port = gone.port();
    }
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", port, "tcp", &ears);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    EXPECT_EQ(ears.next_status(), 503);
}

TEST_F(AClientConnection, GetsA503WhenThePeerClosesWithoutAnAnswer)
{
    RawSocket listening = RawSocket::bound(SOCK_STREAM);
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", listening.port(), "tcp", &ears);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    {
        RawSocket stream = listening.accepted();
        ASSERT_FALSE(stream.receive_until("\r\n\r\n").empty());
    }
    const int status = ears.next_status();
    EXPECT_EQ(status, 503);
}

TEST_F(AClientConnection, AnnouncesAnAnswerOnceHoweverOftenItComes)
{
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port(), "udp", &ears);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    for (int i = 0; i < 5; ++i)
        peer.send_to(peer.last_from(), raw_response(sent, 200));
    ASSERT_EQ(ears.next_status(), 200);
    // Another exchange over the same sockets: the duplicates have been read by then.
    SIPLIB_SIPClientConnection* next = request("MESSAGE", peer.port(), "udp", &ears);
    ASSERT_EQ(next->send(), SIPLIB_OK);
    peer.send_to(peer.last_from(), raw_response(peer.receive_until("\r\n\r\n"), 202));
    ASSERT_EQ(ears.next_status(), 202);
    EXPECT_EQ(ears.count(), 2u);
    EXPECT_EQ(conn->receive(), SIPLIB_ERR_STATE);
}

TEST_F(AClientConnection, TellsAboutProvisionalResponsesToo)
{
    SIPLIB_SIPClientConnection* conn = request("INVITE", peer.port(), "udp", &ears);
    conn->setHeader("Contact", "<sip:me@127.0.0.1>");
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    peer.send_to(peer.last_from(), raw_response(sent, 180));
    ASSERT_EQ(ears.next(), conn);
    peer.send_to(peer.last_from(), raw_response(sent, 486));
    ASSERT_EQ(ears.next(), conn);
    int code = 0;
    EXPECT_EQ(conn->receive(), SIPLIB_OK);
    EXPECT_EQ(conn->getResponseCode(code), SIPLIB_OK);
    EXPECT_EQ(code, 180);
    EXPECT_EQ(conn->receive(), SIPLIB_OK);
    EXPECT_EQ(conn->getResponseCode(code), SIPLIB_OK);
    EXPECT_EQ(code, 486);
    EXPECT_EQ(conn->receive(), SIPLIB_ERR_STATE);
}

TEST_F(AClientConnection, StaysReceivableOnceForEachNotificationAfterClose)
{
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port(), "udp", &ears);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    peer.send_to(peer.last_from(), raw_response(sent, 200));
    ASSERT_EQ(ears.next(), conn);
    EXPECT_EQ(conn->close(), SIPLIB_OK);
    EXPECT_EQ(conn->receive(), SIPLIB_OK);
    EXPECT_EQ(conn->receive(), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->close(), SIPLIB_ERR_STATE);
}

TEST_F(AClientConnection, AnswersErrStateOnceItIsClosed)
{
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port());
    ASSERT_EQ(conn->close(), SIPLIB_OK);
    char buf[10];
    int len = sizeof buf;
    int code = 77;
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->receive(), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->getHeader("From", buf, len), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setHeader("From", "<sip:a@b>"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->addHeader("X", "y"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->removeHeader("X"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setBody("x", 1), SIPLIB_ERR_STATE);
    len = sizeof buf;
    EXPECT_EQ(conn->getBody(buf, len), SIPLIB_ERR_STATE);
    EXPECT_EQ(len, 0);
    EXPECT_EQ(conn->getMethod(buf, sizeof buf), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setMethod("X"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->getResponseCode(code), SIPLIB_ERR_STATE);
    EXPECT_EQ(code, 77);
    EXPECT_EQ(conn->initRequest("X"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->initResponse(200), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(conn->setRequestURI("sip:a@b"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setImsServerAddress(SIPLIB_SipImsServerAddress()), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setListener(&ears), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->getDialog(), nullptr);
}

TEST_F(AClientConnection, ReportsABodyThatItCutsUnderItsMethod)
{
    SIPLIB_SIPClientConnection* conn = request("NOTIFY", peer.port());
    conn->setBody("0123456789", 10);
    LogRecords log;
    const unsigned before = SIPLIB_SIPCutBodies();
    char buf[4];
    int len = sizeof buf;
    EXPECT_EQ(conn->getBody(buf, len), SIPLIB_ERR_TRUNCATED);
    EXPECT_TRUE(log.has(4, "getBody", "the body of NOTIFY has 10 bytes and was cut to the reader's 4"));
    EXPECT_EQ(SIPLIB_SIPCutBodies() - before, 1u);
}

TEST_F(AClientConnection, TakesAnyArgumentWithoutHarm)
{
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port());
    char buf[10];
    int len = 10;
    EXPECT_EQ(conn->getHeader(nullptr, buf, len), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->getHeader("X", nullptr, len), SIPLIB_ERR_ARGUMENT);
    len = -1;
    EXPECT_EQ(conn->getHeader("X", buf, len), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->getBody(buf, len), SIPLIB_ERR_ARGUMENT);
    len = 10;
    EXPECT_EQ(conn->getBody(nullptr, len), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->setHeader(nullptr, "x"), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->setHeader("X", nullptr), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->addHeader(nullptr, nullptr), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->removeHeader(nullptr), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->setBody(nullptr, 5), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->setBody("x", -1), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->getMethod(nullptr, 10), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->getMethod(buf, 0), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->setMethod(nullptr), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->initRequest(nullptr), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->setRequestURI(nullptr), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->setRequestURI("sip:a@b\r\nX: y"), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->setRequestURI("nonsense"), SIPLIB_ERR_SYNTAX);
    EXPECT_EQ(conn->setListener(nullptr), SIPLIB_OK);
}

TEST_F(AClientConnection, ReadsItsRequestUntilAResponseWasTaken)
{
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port(), "udp", &ears);
    conn->setHeader("Subject", "question");
    EXPECT_EQ(header(conn, "s"), "question");
    EXPECT_EQ(method(conn), "MESSAGE");
    conn->setMethod("OPTIONS");
    EXPECT_EQ(method(conn), "OPTIONS");
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    peer.send_to(peer.last_from(), raw_response(sent, 200, "Server: raw\r\n"));
    ASSERT_EQ(ears.next(), conn);
    EXPECT_EQ(header(conn, "Subject"), "question");
    ASSERT_EQ(conn->receive(), SIPLIB_OK);
    EXPECT_EQ(header(conn, "Subject"), "(none)");
    EXPECT_EQ(header(conn, "Server"), "raw");
    EXPECT_EQ(method(conn), "OPTIONS");
}

TEST_F(AClientConnection, AnnouncesLaterWhatCameBeforeItsListener)
{
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port());
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    peer.send_to(peer.last_from(), raw_response(sent, 200));
    ASSERT_EQ(conn->setListener(&ears), SIPLIB_OK);
    EXPECT_EQ(ears.next_status(), 200);
}

// Host fields may be full, ports absent.
TEST_F(AClientConnection, ChecksTheNextHop)
{
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port());
    SIPLIB_SipImsServerAddress hop;
    EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_OK);
    std::memset(hop.host, '1', sizeof hop.host); // no terminating zero
    EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_OK);
    std::memset(hop.host, 0, sizeof hop.host);
    std::strcpy(hop.host, "127.0.0.1");
    hop.port = 65536;
    EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_ERR_ARGUMENT);
    hop.port = -1;
    EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_OK);
    hop.transport = "sctp";
    EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_ERR_ARGUMENT);
    hop.transport = "UDP";
    EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_OK);
    for (const char* name : {"me@127.0.0.1", "127.0.0.1:7", "127.0.0.1;x=y", "[::1]:7", "h?x"}) {
        std::memset(hop.host, 0, sizeof hop.host);
        std::strcpy(hop.host, name);
        EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_ERR_ARGUMENT) << name;
    }
    for (const char* name : {"::1", "[::1]", "localhost"}) {
        std::memset(hop.host, 0, sizeof hop.host);
        std::strcpy(hop.host, name);
        EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_OK) << name;
    }
    std::strcpy(hop.host, "a b");
    EXPECT_EQ(conn->setImsServerAddress(hop), SIPLIB_ERR_ARGUMENT);
}

// Every allocation of an operation fails once: the operation says so, and works when there is memory again.
TEST_F(AClientConnection, ReportsThatThereIsNoMemory)
{
    const std::string text(2000, 'x'); // beyond what is kept ready
    const std::string longer(4000, 'x');
    SIPLIB_SIPClientConnection* conn = request("NOTIFY", peer.port(), "udp", &ears);
    SIPLIB_SipImsServerAddress hop;
    std::memcpy(hop.host, "127.0.0.1", 10);
    hop.port = peer.port();
    const std::function<int()> operations[] = {
        [&] { return conn->setHeader("X-Long-Header", text.c_str()); },
        [&] { return conn->addHeader("X-Long-Header", text.c_str()); },
        [&] { return conn->setHeader("X-Long-Header", longer.c_str()); },
        [&] { return conn->setBody(text.data(), 2000); },
        [&] { return conn->setMethod("A-METHOD-WITH-A-LONG-NAME"); },
        [&] { return conn->setRequestURI("sip:somebody.far.away@127.0.0.1"); },
        [&] { return conn->setImsServerAddress(hop); },
        [&] { return conn->send(); },
    };
    int failures = 0;
    for (const auto& operation : operations) {
        int status = SIPLIB_ERR_MEMORY;
        for (int nth = 1; status == SIPLIB_ERR_MEMORY && nth < 100; ++nth) {
            const Failing allocation(Call::operator_new, nth);
            status = operation();
            failures += status == SIPLIB_ERR_MEMORY ? 1 : 0;
        }
        EXPECT_EQ(status, SIPLIB_OK) << &operation - operations;
    }
    EXPECT_GT(failures, 5);
    const std::string sent = peer.receive();
    EXPECT_NE(sent.find(longer), std::string::npos);
    peer.send_to(peer.last_from(), raw_response(sent, 200));
    EXPECT_EQ(ears.next_status(), 200);
}

class ABurst : public WithStack {
protected:
    ABurst()
    {
        cfg.T1 = 500; // a slow machine is no reason for a 408
        start();
    }
    ResponseEars ears;
};

TEST_F(ABurst, OfTenThousandRequestsLosesNone)
{
    RequestEars server;
    server.react = [](SIPLIB_SIPConnection* conn) {
        answer(conn, 200);
        conn->receive();
        conn->close();
    };
    int port = 0;
    ASSERT_TRUE(listen(&server, port));
    constexpr std::size_t burst = 10000;
    std::size_t ok = 0;
    ears.react = [&ok](SIPLIB_SIPClientConnection* conn) {
        int code = 0;
        if (conn->receive() == SIPLIB_OK && conn->getResponseCode(code) == SIPLIB_OK && code == 200) ++ok;
        conn->close();
    };
    for (std::size_t i = 0; i < burst; ++i) {
        SIPLIB_SIPClientConnection* conn = request("NOTIFY", port, "udp", &ears);
        ASSERT_TRUE(conn);
        ASSERT_EQ(conn->send(), SIPLIB_OK);
    }
    ASSERT_TRUE(ears.wait_count(burst));
    EXPECT_EQ(ok, burst);
    EXPECT_EQ(server.count(), burst);
}

} // namespace
