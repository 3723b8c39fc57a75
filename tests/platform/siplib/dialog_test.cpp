#include "raw_peer.h"
#include "sip_fixture.h"

namespace {

class DialogEars : public SIPLIB_SIPDialogListener {
public:
    ~DialogEars() override { SIPLIB_SIPStop(); }
    void notifyIncomingMessage(SIPLIB_SipUaInfo info) override
    {
        std::lock_guard<std::mutex> guard(mutex_);
        infos.push_back(info);
    }
    void notifyRequest(SIPLIB_SIPNotifier* notifier, SIPLIB_SIPDialog* dialog) override
    {
        SIPLIB_SIPConnection* conn = notifier->acceptAndOpen(dialog);
        std::lock_guard<std::mutex> guard(mutex_);
        conns.push_back(conn);
        changed_.notify_all();
    }
    SIPLIB_SIPConnection* next()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!changed_.wait_for(lock, soon, [this] { return !conns.empty(); })) return nullptr;
        SIPLIB_SIPConnection* conn = conns.front();
        conns.pop_front();
        return conn;
    }
    std::deque<SIPLIB_SIPConnection*> conns;
    std::deque<SIPLIB_SipUaInfo> infos;

private:
    std::mutex mutex_;
    std::condition_variable changed_;
};

// A peer has subscribed at our notifier.
class ADialog : public WithStack {
protected:
    void subscribe(const std::string& extra = "Expires: 600\r\n")
    {
        start();
        notifier = listen(&ears, port);
        peer.send_to(port, raw_request("SUBSCRIBE", peer.port(), "s",
                                       "Event: reg\r\nContact: <sip:raw@127.0.0.1:" +
                                           std::to_string(peer.port()) + ">\r\n" + extra));
        conn = ears.next();
        ASSERT_TRUE(conn);
        EXPECT_EQ(conn->getDialog(), nullptr);
        ASSERT_EQ(answer(conn, 200), SIPLIB_OK);
        const std::string reply = peer.receive();
        ASSERT_EQ(raw_status(reply), 200);
        to = raw_header(reply, "To");
        dialog = conn->getDialog();
        ASSERT_TRUE(dialog);
    }
    std::string inside(const std::string& name, const std::string& branch, const std::string& extra = "")
    {
        std::string text = raw_request(name, peer.port(), branch, extra);
        const auto replace = [&text](const std::string& what, const std::string& by) {
            text.replace(text.find(what), what.size(), by);
        };
        replace("To: <sip:peer@127.0.0.1>", "To: " + to);
        replace("tag=r" + branch, "tag=rs");
        replace("call-" + branch, "call-s");
        return text;
    }
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    RequestEars ears;
    DialogEars dialog_ears;
    ResponseEars responses;
    SIPLIB_SIPNotifier* notifier = nullptr;
    SIPLIB_SIPConnection* conn = nullptr;
    SIPLIB_SIPDialog* dialog = nullptr;
    std::string to;
    int port = 0;
};

TEST_F(ADialog, KnowsItsCallId)
{
    subscribe();
    std::string id;
    EXPECT_EQ(dialog->getCallId(id), SIPLIB_OK);
    EXPECT_EQ(id, "call-s");
    EXPECT_EQ(dialog->asDialog(), dialog);
    EXPECT_EQ(dialog->receive(), SIPLIB_ERR_STATE);
}

TEST_F(ADialog, BuildsRequestsInsideIt)
{
    subscribe();
    SIPLIB_SIPClientConnection* notify = dialog->newRequest("NOTIFY");
    ASSERT_TRUE(notify);
    EXPECT_EQ(notify->getDialog(), dialog);
    notify->setHeader("Event", "reg");
    notify->setHeader("Subscription-State", "active");
    ASSERT_EQ(notify->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    EXPECT_EQ(sent.find("NOTIFY sip:raw@127.0.0.1:"), 0u);
    EXPECT_EQ(raw_header(sent, "From"), to);
    EXPECT_EQ(raw_header(sent, "To"), "<sip:raw@127.0.0.1>;tag=rs");
    EXPECT_EQ(raw_header(sent, "Call-ID"), "call-s");
    EXPECT_EQ(dialog->newRequest(nullptr), nullptr);
    EXPECT_EQ(dialog->newRequest("not a token"), nullptr);
}

TEST_F(ADialog, GivesItsRequestsToItsOwnListener)
{
    subscribe();
    ASSERT_EQ(dialog->setListener(&dialog_ears), SIPLIB_OK);
    peer.send_to(port, inside("SUBSCRIBE", "2", "Event: reg\r\nExpires: 600\r\n"));
    SIPLIB_SIPConnection* refresh = dialog_ears.next();
    ASSERT_TRUE(refresh);
    EXPECT_EQ(refresh->getDialog(), dialog);
    ASSERT_EQ(dialog_ears.infos.size(), 1u);
    EXPECT_EQ(dialog_ears.infos[0].method, "SUBSCRIBE");
    EXPECT_EQ(dialog_ears.infos[0].call_id, "call-s");
    EXPECT_EQ(dialog_ears.infos[0].response_code, 0);
    EXPECT_EQ(ears.count(), 1u); // the first SUBSCRIBE only
    EXPECT_EQ(dialog->receive(), SIPLIB_OK);
    EXPECT_EQ(dialog->receive(), SIPLIB_ERR_STATE);
    EXPECT_EQ(answer(refresh, 200), SIPLIB_OK);
    EXPECT_EQ(raw_header(peer.receive(), "To"), to);
    EXPECT_EQ(notifier->acceptAndOpen(dialog), nullptr);
}

TEST_F(ADialog, LeavesItsRequestsToTheNotifierWithoutAListener)
{
    subscribe();
    peer.send_to(port, inside("SUBSCRIBE", "2", "Event: reg\r\n"));
    SIPLIB_SIPConnection* refresh = ears.next();
    ASSERT_TRUE(refresh);
    EXPECT_EQ(refresh->getDialog(), dialog);
}

TEST_F(ADialog, EndsWithClose)
{
    subscribe();
    ASSERT_EQ(dialog->close(), SIPLIB_OK);
    EXPECT_EQ(dialog->close(), SIPLIB_ERR_STATE);
    std::string id = "before";
    EXPECT_EQ(dialog->getCallId(id), SIPLIB_ERR_STATE);
    EXPECT_EQ(id, "before");
    EXPECT_EQ(dialog->newRequest("NOTIFY"), nullptr);
    EXPECT_EQ(dialog->setListener(&dialog_ears), SIPLIB_ERR_STATE);
    peer.send_to(port, inside("SUBSCRIBE", "2", "Event: reg\r\n"));
    SIPLIB_SIPConnection* later = ears.next();
    ASSERT_TRUE(later);
    EXPECT_EQ(later->getDialog(), nullptr);
}

TEST_F(ADialog, EndsWhenThePeerDoesNotKnowIt)
{
    cfg.maxSubscriptions = 1;
    subscribe();
    SIPLIB_SIPClientConnection* notify = dialog->newRequest("NOTIFY");
    notify->setListener(&responses);
    ASSERT_EQ(notify->send(), SIPLIB_OK);
    const std::string sent = peer.receive();
    peer.send_to(peer.last_from(), raw_response(sent, 481));
    ASSERT_EQ(responses.next_status(), 481);
    // Its place is free again.
    peer.send_to(port, raw_request("SUBSCRIBE", peer.port(), "x", "Event: reg\r\n"));
    EXPECT_TRUE(ears.next());
}

TEST_F(ADialog, EndsWhenTheSubscriptionIsNotRefreshed)
{
    cfg.maxSubscriptions = 1;
    cfg.T1 = 2;
    subscribe("Expires: 0\r\n");
    // 503 while it stands, then room again.
    int attempt = 0;
    int status = 503;
    const auto deadline = std::chrono::steady_clock::now() + soon;
    while (status == 503 && std::chrono::steady_clock::now() < deadline) {
        peer.send_to(port, raw_request("SUBSCRIBE", peer.port(), "again" + std::to_string(++attempt),
                                       "Event: reg\r\n"));
        status = peer.readable(50) ? raw_status(peer.receive()) : 0;
    }
    EXPECT_EQ(status, 0); // accepted: the application has it now
    EXPECT_TRUE(ears.next());
}

TEST_F(ADialog, TakesAPlaceOfTheLimit)
{
    cfg.maxSubscriptions = 1;
    subscribe();
    peer.send_to(port, raw_request("SUBSCRIBE", peer.port(), "x", "Event: reg\r\n"));
    const std::string reply = peer.receive();
    EXPECT_EQ(raw_status(reply), 503);
    EXPECT_NE(raw_header(reply, "Retry-After"), "");
    SIPLIB_SIPClientConnection* ours = request("SUBSCRIBE", peer.port());
    EXPECT_EQ(ours->send(), SIPLIB_ERR_STATE);
}

} // namespace
