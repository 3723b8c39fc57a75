// Who owns what, for how long, and what a stale pointer does.
#include "raw_peer.h"
#include "sip_fixture.h"
#include "siplib/stack.h"

#include <atomic>
#include <thread>
#include <vector>

namespace {

class ALifetime : public WithStack {
protected:
    // A request that has been answered and received.
    SIPLIB_SIPClientConnection* done()
    {
        SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port(), "udp", &ears);
        EXPECT_EQ(conn->send(), SIPLIB_OK);
        const std::string sent = peer.receive();
        peer.send_to(peer.last_from(), raw_response(sent, 200));
        EXPECT_EQ(ears.next_status(), 200);
        return conn;
    }
    template <typename Condition>
    static bool eventually(Condition condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + soon;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::yield();
        }
        return true;
    }
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    ResponseEars ears;
};

TEST_F(ALifetime, EndsByItself64TimesT1AfterTheLastUse)
{
    cfg.T1 = 4;
    start();
    SIPLIB_SIPClientConnection* conn = done();
    int code = 0;
    EXPECT_EQ(conn->getResponseCode(code), SIPLIB_OK);
    EXPECT_TRUE(eventually([&] { return conn->getResponseCode(code) == SIPLIB_ERR_STATE; }));
    EXPECT_EQ(conn->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(conn->receive(), SIPLIB_ERR_STATE);
}

// An announced response may be received even after its connection has ended.
TEST_F(ALifetime, LeavesAnAnnouncedResponseReceivable)
{
    cfg.T1 = 4;
    start();
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port(), "udp", &ears);
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    ASSERT_EQ(ears.next(), conn);                                                            // the 408
    EXPECT_TRUE(eventually([&] { return conn->setListener(nullptr) == SIPLIB_ERR_STATE; })); // it is finished
    EXPECT_EQ(conn->receive(), SIPLIB_OK);
    EXPECT_EQ(conn->receive(), SIPLIB_ERR_STATE);
}

TEST_F(ALifetime, ReusesShellsAndStalePointersStayHarmless)
{
    cfg.maxTransactions = 1; // 1024 shells
    start();
    SIPLIB_SIPClientConnection* stale = done();
    ASSERT_EQ(stale->close(), SIPLIB_OK);
    bool reused = false;
    for (int i = 0; i < 2000 && !reused; ++i) {
        SIPLIB_SIPObject* object = connector.open("sip:a@127.0.0.1", nullptr);
        ASSERT_TRUE(object);
        reused = object == stale;
        EXPECT_TRUE(reused || stale->receive() == SIPLIB_ERR_STATE);
        EXPECT_EQ(object->close(), SIPLIB_OK);
    }
    EXPECT_TRUE(reused);
    EXPECT_EQ(siplib::Stack::running()->clients().made(), 257u); // a quarter lies free, one is in use
}

TEST_F(ALifetime, MakesRoomWithWhatIsFinished)
{
    cfg.maxTransactions = 1;
    cfg.T1 = 500;
    start();
    for (int i = 0; i < 1024; ++i)
        done();
    EXPECT_TRUE(connector.open("sip:a@127.0.0.1", nullptr));
}

TEST_F(ALifetime, MakesRoomWithWhatWasOpenedAndForgotten)
{
    cfg.maxTransactions = 1;
    cfg.T1 = 1;
    start();
    for (int i = 0; i < 1024; ++i)
        ASSERT_TRUE(connector.open("sip:a@127.0.0.1", nullptr));
    EXPECT_TRUE(eventually([&] { return connector.open("sip:a@127.0.0.1", nullptr) != nullptr; }));
}

// A listener that is exchanged all the time hears everything together with the other one.
TEST_F(ALifetime, LosesNothingWhileListenersAreExchanged)
{
    start();
    RequestEars one;
    RequestEars two;
    one.react = two.react = [](SIPLIB_SIPConnection* conn) { answer(conn, 200); };
    int port = 0;
    SIPLIB_SIPNotifier* notifier = listen(&one, port);
    ASSERT_TRUE(notifier);
    std::atomic<bool> stop{false};
    std::thread exchanging([&] {
        for (int i = 0; !stop; ++i)
            notifier->setListener(i % 3 == 0 ? nullptr : i % 3 == 1 ? &one : &two);
        notifier->setListener(&one);
    });
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(request("MESSAGE", port, "udp", &ears)->send(), SIPLIB_OK);
    int good = 0;
    int refused = 0;
    for (int i = 0; i < 300; ++i) {
        const int status = ears.next_status();
        good += status == 200 ? 1 : 0;
        refused += status == 503 ? 1 : 0; // more than 64 waited while nobody listened
    }
    stop = true;
    exchanging.join();
    EXPECT_EQ(good + refused, 300);
    EXPECT_GT(good, 0);
    EXPECT_EQ(one.count() + two.count(), static_cast<std::size_t>(good));
}

TEST_F(ALifetime, TakesOperationsOfManyThreadsOnOneConnection)
{
    start();
    std::vector<std::thread> threads;
    for (int round = 0; round < 20; ++round) {
        SIPLIB_SIPClientConnection* conn = request("MESSAGE", peer.port(), "udp", &ears);
        ASSERT_TRUE(conn);
        std::thread sender([conn] { conn->send(); });
        std::thread reader([conn] {
            char buf[64];
            int len = sizeof buf;
            conn->getHeader("From", buf, len);
            conn->setHeader("Subject", "x");
        });
        std::thread closer([conn] { conn->close(); });
        sender.join();
        reader.join();
        closer.join();
        EXPECT_EQ(conn->close(), SIPLIB_ERR_STATE);
    }
}

} // namespace
