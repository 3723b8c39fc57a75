// Binding is seen from outside: see the notifier's tests. Here: what a bound stack's sockets look like.
#include "../raw_peer.h"
#include "../sip_fixture.h"
#include "siplib/sofia/agent.h"

#include <thread>

namespace {

class AnAgent : public WithStack {};

TEST_F(AnAgent, BindsUdpOnlyWithoutTheTcpFlag)
{
    cfg.tcpFlag = 0;
    start();
    RequestEars ears;
    int port = 0;
    ASSERT_TRUE(listen(&ears, port));
    EXPECT_FALSE(RawSocket::bound(SOCK_DGRAM, port).open());
    EXPECT_TRUE(RawSocket::bound(SOCK_STREAM, port).open());
    EXPECT_EQ(request("MESSAGE", port, "tcp")->send(), SIPLIB_ERR_TRANSPORT);
    EXPECT_EQ(request("MESSAGE", port, "udp")->send(), SIPLIB_OK);
    EXPECT_TRUE(ears.next());
}

TEST_F(AnAgent, BindsTcpToAnAddressOfItsOwn)
{
    std::strcpy(cfg.tcpLocalAddress, "127.0.0.2");
    start();
    RequestEars ears;
    int port = 0;
    ASSERT_TRUE(listen(&ears, port));
    EXPECT_TRUE(RawSocket::bound(SOCK_STREAM, port).open()); // 127.0.0.1
    EXPECT_FALSE(RawSocket::bound(SOCK_DGRAM, port).open());
    host = "127.0.0.2";
    EXPECT_EQ(request("MESSAGE", port, "tcp")->send(), SIPLIB_OK);
    EXPECT_TRUE(ears.next());
}

TEST(AnAgentInUse, IsOneWhileACallbackOfItRuns)
{
    int dummies[2] = {};
    const auto* one = reinterpret_cast<const nta_agent_t*>(&dummies[0]);
    const auto* other = reinterpret_cast<const nta_agent_t*>(&dummies[1]);
    EXPECT_FALSE(siplib::sofia::AgentInUse::is(one));
    const siplib::sofia::AgentInUse outer(one);
    {
        const siplib::sofia::AgentInUse inner(other);
        EXPECT_TRUE(siplib::sofia::AgentInUse::is(one));
        EXPECT_TRUE(siplib::sofia::AgentInUse::is(other));
        std::thread([one] { EXPECT_FALSE(siplib::sofia::AgentInUse::is(one)); }).join();
    }
    EXPECT_TRUE(siplib::sofia::AgentInUse::is(one));
    EXPECT_FALSE(siplib::sofia::AgentInUse::is(other));
}

} // namespace
