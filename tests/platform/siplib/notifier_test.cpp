#include "raw_peer.h"
#include "sip_fixture.h"

#include <thread>

namespace {

class ANotifier : public WithStack {
protected:
    ANotifier() { start(); }
    void send(const std::string& branch) { peer.send_to(port, raw_request("MESSAGE", peer.port(), branch)); }
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    RequestEars ears;
    int port = 0;
};

TEST_F(ANotifier, YieldsOneConnectionForEachRequest)
{
    SIPLIB_SIPNotifier* notifier = listen(&ears, port);
    ASSERT_TRUE(notifier);
    send("1");
    EXPECT_TRUE(ears.next());
    EXPECT_EQ(notifier->acceptAndOpen(), nullptr);
    EXPECT_EQ(notifier->acceptAndOpen(nullptr), nullptr);
    EXPECT_EQ(notifier->receive(), SIPLIB_ERR_STATE);
    EXPECT_EQ(notifier->send(), SIPLIB_ERR_UNSUPPORTED);
}

TEST_F(ANotifier, AnnouncesWhatCameBeforeItsListener)
{
    SIPLIB_SIPNotifier* notifier = listen(nullptr, port);
    ASSERT_TRUE(notifier);
    for (int i = 0; i < 3; ++i)
        send(std::to_string(i));
    EXPECT_EQ(notifier->acceptAndOpen(), nullptr); // announced to nobody yet
    ASSERT_EQ(notifier->setListener(&ears), SIPLIB_OK);
    for (int i = 0; i < 3; ++i) {
        SIPLIB_SIPConnection* conn = ears.next();
        ASSERT_TRUE(conn);
        EXPECT_EQ(header(conn, "Call-ID"), "call-" + std::to_string(i));
    }
}

TEST_F(ANotifier, Refuses503WhenTooManyWaitForAListener)
{
    ASSERT_TRUE(listen(nullptr, port));
    for (int i = 0; i < 65; ++i)
        send(std::to_string(i));
    const std::string reply = peer.receive();
    EXPECT_EQ(raw_status(reply), 503);
    EXPECT_NE(raw_header(reply, "Retry-After"), "");
    EXPECT_EQ(raw_header(reply, "Call-ID"), "call-64");
}

TEST_F(ANotifier, HasItsPortForItselfOnUdpAndTcp)
{
    SIPLIB_SIPNotifier* notifier = listen(&ears, port);
    ASSERT_TRUE(notifier);
    const std::string same = "sip:" + std::to_string(port);
    EXPECT_EQ(connector.open(same.c_str(), nullptr), nullptr);
    EXPECT_FALSE(RawSocket::bound(SOCK_DGRAM, port).open());
    EXPECT_FALSE(RawSocket::bound(SOCK_STREAM, port).open());
    ASSERT_EQ(notifier->close(), SIPLIB_OK);
    EXPECT_TRUE(RawSocket::bound(SOCK_DGRAM, port).open());
    EXPECT_TRUE(RawSocket::bound(SOCK_STREAM, port).open());
}

class ATakenPort : public ANotifier, public ::testing::WithParamInterface<int> {};

// The port of one transport is taken: nothing of the other stays bound.
TEST_P(ATakenPort, LeavesNothingBound)
{
    const RawSocket taken = RawSocket::bound(GetParam());
    const int other = GetParam() == SOCK_DGRAM ? SOCK_STREAM : SOCK_DGRAM;
    const std::string uri = "sip:" + std::to_string(taken.port());
    EXPECT_EQ(connector.open(uri.c_str(), nullptr), nullptr);
    EXPECT_TRUE(RawSocket::bound(other, taken.port()).open());
}
INSTANTIATE_TEST_SUITE_P(OfOneTransport, ATakenPort, ::testing::Values(SOCK_DGRAM, SOCK_STREAM));

TEST_F(ANotifier, CannotHaveAPortThatThereIsNot)
{
    EXPECT_EQ(connector.open("sip:65536", nullptr), nullptr);
    EXPECT_EQ(connector.open("sip:2147483746", nullptr), nullptr);
    EXPECT_EQ(connector.open("sip:99999999999999999999", nullptr), nullptr);
}

TEST_F(ANotifier, AnswersErrStateOnceItIsClosed)
{
    SIPLIB_SIPNotifier* notifier = listen(&ears, port);
    ASSERT_EQ(notifier->close(), SIPLIB_OK);
    EXPECT_EQ(notifier->close(), SIPLIB_ERR_STATE);
    EXPECT_EQ(notifier->setListener(&ears), SIPLIB_ERR_STATE);
    int left = 9;
    EXPECT_EQ(notifier->getLocalPort(left), SIPLIB_ERR_STATE);
    EXPECT_EQ(left, 9);
    EXPECT_EQ(notifier->acceptAndOpen(), nullptr);
}

TEST_F(ANotifier, Answers503ForWhatWaitedWhenItCloses)
{
    SIPLIB_SIPNotifier* notifier = listen(nullptr, port);
    send("1");
    send("2");
    // The second one's arrival is certain when a third party's request has been refused or heard; a listener
    // tells.
    ears.accept = false;
    notifier->setListener(&ears);
    ASSERT_TRUE(ears.wait_count(2));
    ASSERT_EQ(notifier->close(), SIPLIB_OK);
    EXPECT_EQ(raw_status(peer.receive()), 503);
    EXPECT_EQ(raw_status(peer.receive()), 503);
}

// When setListener has returned, the old listener may be destroyed.
TEST_F(ANotifier, WaitsForARunningCallbackOfTheOldListener)
{
    SIPLIB_SIPNotifier* notifier = listen(nullptr, port);
    std::atomic<bool> inside{false};
    std::atomic<bool> finished{false};
    std::mutex mutex;
    std::condition_variable entered;
    RequestEars slow;
    slow.react = [&](SIPLIB_SIPConnection*) {
        {
            std::lock_guard<std::mutex> guard(mutex);
            inside = true;
            entered.notify_all();
        }
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
        while (std::chrono::steady_clock::now() < until)
            std::this_thread::yield();
        finished = true;
    };
    notifier->setListener(&slow);
    send("1");
    {
        std::unique_lock<std::mutex> lock(mutex);
        ASSERT_TRUE(entered.wait_for(lock, soon, [&] { return inside.load(); }));
    }
    ASSERT_EQ(notifier->setListener(nullptr), SIPLIB_OK);
    EXPECT_TRUE(finished);
}

TEST_F(ANotifier, MayExchangeItsListenerFromWithinTheCallback)
{
    SIPLIB_SIPNotifier* notifier = listen(nullptr, port);
    RequestEars second;
    ears.react = [&](SIPLIB_SIPConnection*) { EXPECT_EQ(notifier->setListener(&second), SIPLIB_OK); };
    notifier->setListener(&ears);
    send("1");
    ASSERT_TRUE(ears.next());
    send("2");
    EXPECT_TRUE(second.next());
    EXPECT_EQ(ears.count(), 1u);
}

} // namespace
