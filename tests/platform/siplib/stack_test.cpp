#include "raw_peer.h"
#include "sip_fixture.h"
#include "siplib/stack.h"

#include <csignal>
#include <fcntl.h>
#include <set>

namespace {

class TheStack : public WithStack {};

std::set<int> descriptors()
{
    std::set<int> open;
    for (int fd = 0; fd < 256; ++fd)
        if (fcntl(fd, F_GETFD) >= 0) open.insert(fd);
    return open;
}

std::string what_is(int fd)
{
    char target[128] = "";
    const ssize_t size = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), target, sizeof target - 1);
    return std::to_string(fd) + " " + std::string(target, size > 0 ? static_cast<std::size_t>(size) : 0);
}

TEST_F(TheStack, StartsOnceAndStopsOnce)
{
    EXPECT_EQ(SIPLIB_SIPStart(&cfg), SIPLIB_OK);
    EXPECT_EQ(SIPLIB_SIPStart(&cfg), SIPLIB_OK);
    EXPECT_EQ(SIPLIB_SIPStart(nullptr), SIPLIB_OK);
    SIPLIB_SIPStop();
    SIPLIB_SIPStop();
    EXPECT_EQ(siplib::Stack::running(), nullptr);
}

TEST_F(TheStack, StartsWithDefaultsAtTheFirstOpen)
{
    SIPLIB_SIPObject* object = connector.open("sip:a@127.0.0.1", "<sip:b@127.0.0.1>");
    ASSERT_TRUE(object);
    EXPECT_TRUE(object->asClientConnection());
    EXPECT_EQ(siplib::Stack::running()->cfg().T1, 500);
}

TEST_F(TheStack, RefusesAnAddressThatIsNone)
{
    std::strcpy(cfg.localAddress, "localhost");
    EXPECT_EQ(SIPLIB_SIPStart(&cfg), SIPLIB_ERR_ARGUMENT);
    std::memset(cfg.localAddress, '1', sizeof cfg.localAddress);
    EXPECT_EQ(SIPLIB_SIPStart(&cfg), SIPLIB_ERR_ARGUMENT);
    std::strcpy(cfg.localAddress, "192.0.2.77"); // not ours
    std::strcpy(cfg.tcpLocalAddress, "192.0.2.77");
    EXPECT_EQ(SIPLIB_SIPStart(&cfg), SIPLIB_ERR_TRANSPORT);
    std::strcpy(cfg.localAddress, "127.0.0.1");
    cfg.tcpLocalAddress[0] = '\0';
    EXPECT_EQ(SIPLIB_SIPStart(&cfg), SIPLIB_OK);
}

TEST_F(TheStack, GivesEverythingBackWhenItStops)
{
    start(); // what the process keeps for ever is made once
    SIPLIB_SIPStop();
    const std::set<int> before = descriptors();
    for (int i = 0; i < 10; ++i) {
        start();
        RequestEars ears;
        int port = 0;
        ASSERT_TRUE(listen(&ears, port));
        SIPLIB_SIPClientConnection* conn = request("MESSAGE", port, i % 2 ? "tcp" : "udp");
        ASSERT_EQ(conn->send(), SIPLIB_OK);
        ASSERT_TRUE(ears.next());
        SIPLIB_SIPStop();
        EXPECT_TRUE(RawSocket::bound(SOCK_DGRAM, port).open());
    }
    EXPECT_EQ(descriptors(), before);
}

TEST_F(TheStack, LeavesNoDescriptorToAProgramThatIsStarted)
{
    const std::set<int> before = descriptors();
    start();
    RequestEars ears;
    int port = 0;
    ASSERT_TRUE(listen(&ears, port));
    SIPLIB_SIPClientConnection* conn = request("MESSAGE", port, "tcp");
    ASSERT_EQ(conn->send(), SIPLIB_OK);
    ASSERT_TRUE(ears.next());
    for (int fd : descriptors())
        EXPECT_TRUE(before.count(fd) || (fcntl(fd, F_GETFD) & FD_CLOEXEC)) << what_is(fd);
}

TEST_F(TheStack, LeavesTheProcessItsSigpipe)
{
    struct sigaction wanted = {};
    wanted.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &wanted, nullptr);
    start();
    struct sigaction now = {};
    sigaction(SIGPIPE, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
}

TEST_F(TheStack, CountsTransactions)
{
    cfg.maxTransactions = 2;
    start();
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    ResponseEars ears;
    EXPECT_EQ(request("MESSAGE", peer.port(), "udp", &ears)->send(), SIPLIB_OK);
    EXPECT_EQ(request("MESSAGE", peer.port(), "udp", &ears)->send(), SIPLIB_OK);
    SIPLIB_SIPClientConnection* third = request("MESSAGE", peer.port(), "udp", &ears);
    EXPECT_EQ(third->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(ears.next_status(), 408);
    EXPECT_EQ(ears.next_status(), 408);
    EXPECT_EQ(third->send(), SIPLIB_OK); // as it was: nothing of it was lost
}

TEST_F(TheStack, Refuses503BeyondItsTransactions)
{
    cfg.maxTransactions = 2;
    start();
    RequestEars ears;
    int port = 0;
    ASSERT_TRUE(listen(&ears, port));
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    for (const char* branch : {"1", "2", "3"})
        peer.send_to(port, raw_request("MESSAGE", peer.port(), branch));
    const std::string reply = peer.receive();
    EXPECT_EQ(raw_status(reply), 503);
    EXPECT_NE(raw_header(reply, "Retry-After"), "");
    EXPECT_EQ(raw_header(reply, "Call-ID"), "call-3");
    EXPECT_EQ(answer(ears.next(), 200), SIPLIB_OK);
    EXPECT_EQ(raw_status(peer.receive()), 200);
    peer.send_to(port, raw_request("MESSAGE", peer.port(), "4"));
    ASSERT_TRUE(ears.wait_count(3));
}

TEST_F(TheStack, HasNoConnectionLeftWhenAllAreInUse)
{
    cfg.maxTransactions = 1;
    start();
    for (int i = 0; i < 1024; ++i)
        ASSERT_TRUE(connector.open("sip:a@127.0.0.1", nullptr));
    EXPECT_EQ(connector.open("sip:a@127.0.0.1", nullptr), nullptr);
}

TEST_F(TheStack, CountsRegistrations)
{
    cfg.maxRegClients = 1;
    start();
    RawSocket peer = RawSocket::bound(SOCK_DGRAM);
    EXPECT_EQ(request("REGISTER", peer.port())->send(), SIPLIB_OK);
    EXPECT_EQ(request("REGISTER", peer.port())->send(), SIPLIB_ERR_STATE);
    EXPECT_EQ(request("OPTIONS", peer.port())->send(), SIPLIB_OK);
}

} // namespace
