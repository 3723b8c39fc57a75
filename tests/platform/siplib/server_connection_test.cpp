#include "raw_peer.h"
#include "sip_fixture.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_records.h"

#include <functional>

namespace {

class AServerConnection : public WithStack {
protected:
    AServerConnection()
    {
        start();
        listen(&ears, port);
    }
    SIPLIB_SIPConnection* arrived(const std::string& name, const std::string& extra = "",
                                  const std::string& content = "")
    {
        peer.send_to(port, raw_request(name, peer.port(), std::to_string(++branch), extra, "UDP", content));
        return ears.next();
    }
    RequestEars ears;
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    int port = 0;
    int branch = 0;
};

TEST_F(AServerConnection, ReadsTheRequestAndWritesTheResponse)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE", "Subject: s\r\nX-A: 1\r\n", "body");
    ASSERT_TRUE(conn);
    EXPECT_EQ(method(conn), "MESSAGE");
    EXPECT_EQ(header(conn, "Subject"), "s");
    EXPECT_EQ(body(conn), "body");
    EXPECT_EQ(conn->setHeader("X-B", "2"), SIPLIB_ERR_STATE); // no response yet
    ASSERT_EQ(conn->initResponse(202), SIPLIB_OK);
    EXPECT_EQ(conn->setHeader("X-B", "2"), SIPLIB_OK);
    EXPECT_EQ(header(conn, "X-B"), "(none)"); // the getters read the request
    EXPECT_EQ(header(conn, "X-A"), "1");
    int code = 0;
    EXPECT_EQ(conn->getResponseCode(code), SIPLIB_OK);
    EXPECT_EQ(code, 202);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    const std::string reply = peer.receive();
    EXPECT_EQ(raw_status(reply), 202);
    EXPECT_EQ(raw_header(reply, "X-B"), "2");
    EXPECT_EQ(raw_header(reply, "Call-ID"), "call-1");
    EXPECT_EQ(raw_header(reply, "CSeq"), "1 MESSAGE");
    EXPECT_NE(raw_header(reply, "To").find(";tag="), std::string::npos);
    EXPECT_NE(raw_header(reply, "Via").find("branch=z9hG4bK1"), std::string::npos);
}

TEST_F(AServerConnection, CanBeReceivedOnce)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE");
    ASSERT_TRUE(conn);
    EXPECT_EQ(conn->receive(), SIPLIB_OK);
    EXPECT_EQ(conn->receive(), SIPLIB_ERR_STATE);
}

TEST_F(AServerConnection, SendsOneFinalResponse)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE");
    ASSERT_TRUE(conn);
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(answer(conn, 200), SIPLIB_OK);
    EXPECT_EQ(conn->initResponse(500), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(header(conn, "Call-ID"), "call-1"); // the request stays readable
}

TEST_F(AServerConnection, GivesARetransmissionTheSameAnswer)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE");
    ASSERT_TRUE(conn);
    const std::string same = raw_request("MESSAGE", peer.port(), "1");
    peer.send_to(port, same); // nobody has answered yet: swallowed
    peer.send_to(port, same);
    ASSERT_EQ(answer(conn, 200), SIPLIB_OK);
    const std::string first = peer.receive();
    EXPECT_EQ(raw_status(first), 200);
    peer.send_to(port, same);
    EXPECT_EQ(peer.receive(), first);
    EXPECT_EQ(ears.count(), 1u);
}

TEST_F(AServerConnection, MayAnswerProvisionallyFirst)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE");
    ASSERT_TRUE(conn);
    EXPECT_EQ(answer(conn, 100), SIPLIB_OK);
    EXPECT_EQ(raw_status(peer.receive()), 100);
    EXPECT_EQ(answer(conn, 183), SIPLIB_OK);
    const std::string second = peer.receive();
    EXPECT_EQ(raw_status(second), 183);
    EXPECT_EQ(answer(conn, 200), SIPLIB_OK);
    const std::string last = peer.receive();
    EXPECT_EQ(raw_status(last), 200);
    EXPECT_EQ(raw_header(last, "To"), raw_header(second, "To"));
}

TEST_F(AServerConnection, TakesItsOwnToTag)
{
    SIPLIB_SIPConnection* conn = arrived("SUBSCRIBE", "Event: reg\r\nContact: <sip:raw@127.0.0.1>\r\n");
    ASSERT_TRUE(conn);
    conn->initResponse(200);
    EXPECT_EQ(conn->setHeader("To", "<sip:peer@127.0.0.1>;tag=own"), SIPLIB_OK);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    EXPECT_EQ(raw_header(peer.receive(), "To"), "<sip:peer@127.0.0.1>;tag=own");
    EXPECT_TRUE(conn->getDialog());
}

TEST_F(AServerConnection, RefusesWhatBelongsToRequestsOfOurs)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE");
    ASSERT_TRUE(conn);
    EXPECT_EQ(conn->initRequest("X"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setMethod("X"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setRequestURI("sip:a@b"), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->setImsServerAddress(SIPLIB_SipImsServerAddress()), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->initRequest(nullptr), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->initResponse(99), SIPLIB_ERR_ARGUMENT);
    EXPECT_EQ(conn->initResponse(700), SIPLIB_ERR_ARGUMENT);
    int code = 5;
    EXPECT_EQ(conn->getResponseCode(code), SIPLIB_ERR_STATE);
    EXPECT_EQ(code, 5);
}

TEST_F(AServerConnection, CannotAnswerAfter64TimesT1)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE");
    ASSERT_TRUE(conn);
    const auto deadline = std::chrono::steady_clock::now() + soon;
    int status = SIPLIB_OK;
    while (status == SIPLIB_OK && std::chrono::steady_clock::now() < deadline) {
        status = conn->initResponse(200);
        peer.readable(10);
    }
    EXPECT_EQ(status, SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
}

TEST_F(AServerConnection, CutsABodyAtTheReadersCapacityAndReportsIt)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE", "", std::string(1800, 'x'));
    ASSERT_TRUE(conn);
    LogRecords log;
    const unsigned before = SIPLIB_SIPCutBodies();
    char buf[1024];
    int len = sizeof buf;
    EXPECT_EQ(conn->getBody(buf, len), SIPLIB_ERR_TRUNCATED);
    EXPECT_EQ(len, 1024);
    EXPECT_TRUE(log.has(4, "getBody", "the body of MESSAGE has 1800 bytes and was cut to the reader's 1024"));
    EXPECT_EQ(SIPLIB_SIPCutBodies() - before, 1u);
    EXPECT_EQ(body(conn), std::string(1800, 'x')); // and can still be read whole
}

TEST_F(AServerConnection, ReportsThatThereIsNoMemory)
{
    SIPLIB_SIPConnection* conn = arrived("MESSAGE");
    ASSERT_TRUE(conn);
    ASSERT_EQ(conn->initResponse(200), SIPLIB_OK);
    const std::string text(2000, 'x');
    const std::function<int()> operations[] = {
        [&] { return conn->setHeader("X-Long-Header", text.c_str()); },
        [&] { return conn->addHeader("X-Long-Header", text.c_str()); },
        [&] { return conn->setBody(text.data(), 2000); },
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
    EXPECT_GT(failures, 3);
    EXPECT_EQ(raw_status(peer.receive()), 200);
}

} // namespace
