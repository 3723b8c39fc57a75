#include "subscriptions/IMS_event_mgmt.h"
#include "tests/core/class_wide.h"
#include "tests/core/sip_fakes.h"
#include "tests/core/test_agent.h"
#include "tests/support/canned_address.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>

namespace {

using Records = std::vector<LogRecord>;
using Texts = std::vector<std::string>;

class Addressing : public testing::Test {
protected:
    Addressing() { IMS_daemon::__d_progname = "agent"; }
    ~Addressing() override { IMS_event_mgmt reset; }
    ClassWide members;
    WorkingDir dir;
    LogRecords log;
    FakeConnector connector;
    FakeNotifier notifier; // outlives the agent, which takes its listener out at its end
    FakeClientConnection connection;
    TestAgent agent;
};

// ---- own URI ----

TEST_F(Addressing, NamesTheAgentByProgramAndPort)
{
    agent.fill_myuri(5070);
    EXPECT_EQ(IMS_User_Agent::__ua_myuri, "<sip:agent@127.0.0.1:5070>");
    EXPECT_EQ(log.all(), (Records{{5, "fill_myuri", "__ua_myuri=<sip:agent@127.0.0.1:5070>"}}));
}

// ---- proxy ----

TEST_F(Addressing, TakesTheProxyOfTheOption)
{
    dir.write("router.cap", "Route: sip:other\n");
    char option[] = "sip:proxy.example.com:5000;transport=tcp";
    IMS_User_Agent::__ua_arg_proxy = option;
    agent.fill_proxy();
    EXPECT_EQ(IMS_User_Agent::__ua_proxy, option);
    EXPECT_EQ(log.all(), (Records{{5, "fill_proxy", std::string("__ua_proxy=") + option}}));
}

TEST_F(Addressing, TakesTheRouteOfACapabilityFileWithoutTheOption)
{
    dir.write("a.cap", "Event: reg\nContact: <sip:a@127.0.0.1>\n");
    dir.write("router.cap", "Contact: <sip:r@127.0.0.1>\nRoute:   <sip:proxy.example.com;lr> \n");
    agent.fill_proxy();
    EXPECT_EQ(IMS_User_Agent::__ua_proxy, "<sip:proxy.example.com;lr>");
    EXPECT_EQ(log.all(), (Records{{5, "fill_proxy", "__ua_proxy=<sip:proxy.example.com;lr>"}}));
}

TEST_F(Addressing, HasNoProxyWithoutOptionAndFile)
{
    IMS_User_Agent::__ua_proxy = "stale";
    agent.fill_proxy();
    EXPECT_EQ(IMS_User_Agent::__ua_proxy, "");
    EXPECT_EQ(log.all(), (Records{{5, "fill_proxy", "__ua_proxy="}}));
}

// ---- next hop ----

class TheNextHop : public Addressing {
protected:
    void fill(const std::string& proxy)
    {
        IMS_User_Agent::__ua_proxy = proxy;
        agent.fill_immediate_hop(hop);
    }
    SIPLIB_SipImsServerAddress hop;
};

TEST_F(TheNextHop, IsTheLocalDefaultWithoutAProxy)
{
    std::memset(hop.host, 'x', sizeof hop.host);
    fill("");
    EXPECT_EQ(hop.flag, 1);
    EXPECT_EQ(hop.port, 5060);
    EXPECT_EQ(std::string(hop.host, sizeof hop.host),
              std::string("127.0.0.1") + std::string(SIPLIB_HOST_SIZE - 9, '\0'));
    EXPECT_EQ(hop.transport, "");
    EXPECT_EQ(log.of("fill_immediate_hop"),
              (Records{{5, "fill_immediate_hop", "proxy is at 127.0.0.1::5060"}}));
}

TEST_F(TheNextHop, IsTheProxy)
{
    fill("sip:proxy.example.com:5000;transport=tcp");
    EXPECT_EQ(hop.flag, 1);
    EXPECT_EQ(hop.port, 5000);
    EXPECT_STREQ(hop.host, "proxy.example.com");
    EXPECT_EQ(hop.transport, "tcp");
    EXPECT_EQ(log.of("fill_immediate_hop"),
              (Records{{5, "fill_immediate_hop", "proxy is at proxy.example.com:tcp:5000"}}));
}

TEST_F(TheNextHop, IsTheProxyInBracketsToo)
{
    fill("\"Edge\" <sip:10.0.0.1;transport=udp;lr>");
    EXPECT_EQ(hop.port, 5060);
    EXPECT_STREQ(hop.host, "10.0.0.1");
    EXPECT_EQ(hop.transport, "udp");
}

TEST_F(TheNextHop, ReadsTheProxyAsTheValueOfAContact)
{
    AddressFactory none(nullptr);
    fill("whatever it is");
    EXPECT_EQ(AddressFactory::asked_for(), Texts(3, "Contact: whatever it is"));
}

TEST_F(TheNextHop, CutsALongHostInsideItsField)
{
    const std::string host = std::string(58, 'h') + ".x";
    ASSERT_EQ(host.size(), 60u);
    fill("sip:" + host + ":5000");
    EXPECT_EQ(std::string(hop.host), host.substr(0, 50));
    EXPECT_EQ(hop.host[50], '\0');
    EXPECT_EQ(hop.flag, 1) << "the field behind the host";
    EXPECT_EQ(hop.port, 5000) << "the field before it";
}

TEST_F(TheNextHop, HoldsAHostOfExactly50Characters)
{
    const std::string host = std::string(48, 'h') + ".x";
    fill("sip:" + host);
    EXPECT_EQ(std::string(hop.host), host);
}

TEST_F(TheNextHop, HasPortMinus1WhenTheProxysPortIsNone)
{
    for (const char* port : {"0", "65536", "99999999999", "5o60"}) {
        fill(std::string("sip:h:") + port);
        EXPECT_EQ(hop.port, -1) << port;
        EXPECT_STREQ(hop.host, "h");
    }
}

TEST_F(TheNextHop, HasPort0AndNoHostWhenTheProxyIsNoAddress)
{
    fill("*");
    EXPECT_EQ(hop.port, 0);
    EXPECT_STREQ(hop.host, "");
    EXPECT_EQ(hop.transport, "");
    EXPECT_EQ(log.of("fill_immediate_hop"), (Records{{5, "fill_immediate_hop", "proxy is at ::0"}}));
}

// ---- event owners ----

TEST_F(Addressing, RegistersTheOwnersOfTheSixPackagesInTheirOrder)
{
    dir.write("z.cap", "Event: isim\nEvent: ipcan\nEvent: callstate\nContact: <sip:z@127.0.0.1>\n");
    dir.write("a.cap", "Event: imsreg\nContact: <sip:a@127.0.0.1>\nEvent: kiv-link-event\n");
    dir.write("m.cap", "Event: message-summary\nContact: <sip:m@127.0.0.1>\n");
    dir.write("r.cap", "Contact: <sip:r@127.0.0.1>\nEvent: reg\n");
    IMS_event_mgmt reset;
    agent.fill_event_owners();
    Texts owners;
    for (const auto& owner : IMS_event_mgmt::evlist)
        owners.push_back(owner.event + " " + owner.header + " " + owner.address);
    EXPECT_EQ(owners,
              (Texts{"imsreg Contact <sip:a@127.0.0.1>", "reg Contact <sip:r@127.0.0.1>",
                     "message-summary Contact <sip:m@127.0.0.1>", "callstate Contact <sip:z@127.0.0.1>",
                     "ipcan Contact <sip:z@127.0.0.1>", "isim Contact <sip:z@127.0.0.1>"}));
}

TEST_F(Addressing, RegistersNobodyForAPackageWithoutAnOwner)
{
    dir.write("r.cap", "Event: reg\nContact: <sip:r@127.0.0.1>\n");
    dir.write("s.cap", "Event: isim\nContact:   \n"); // an empty contact owns nothing
    IMS_event_mgmt reset;
    agent.fill_event_owners();
    ASSERT_EQ(IMS_event_mgmt::evlist.size(), 1u);
    EXPECT_EQ(IMS_event_mgmt::evlist[0].event, "reg");
}

// ---- local notifier ----

class TheLocalNotifier : public Addressing {
protected:
    // Opens a notifier on `free_port` only.
    void only_free(int free_port)
    {
        connector.answer = [this, free_port](const std::string& call) -> SIPLIB_SIPObject* {
            return call == "uri sip:" + std::to_string(free_port) + " from null" ? &notifier : nullptr;
        };
    }
};

TEST_F(TheLocalNotifier, TakesTheFirstFreePort)
{
    only_free(5072);
    EXPECT_EQ(agent.open_local_notifier(5070), &notifier);
    EXPECT_EQ(connector.calls,
              (Texts{"uri sip:5070 from null", "uri sip:5071 from null", "uri sip:5072 from null"}));
    EXPECT_EQ(IMS_User_Agent::__ua_myuri, "<sip:agent@127.0.0.1:5072>");
    EXPECT_EQ(log.all(), (Records{{4, "conn_open", "desturi=sip:5070 srcuri=(null) failed"},
                                  {4, "conn_open", "desturi=sip:5071 srcuri=(null) failed"},
                                  {5, "conn_open", "desturi=sip:5072 srcuri=(null)"},
                                  {5, "fill_myuri", "__ua_myuri=<sip:agent@127.0.0.1:5072>"}}));
}

TEST_F(TheLocalNotifier, DeliversItsRequestsToTheAgent)
{
    only_free(5070);
    agent.open_local_notifier(5070);
    ASSERT_EQ(notifier.listeners.size(), 1u);
    ASSERT_NE(notifier.listeners[0], nullptr);
    FakeServerConnection request;
    notifier.accepted = &request;
    notifier.listeners[0]->notifyRequest(&notifier);
    agent.process_one_message();
    ASSERT_EQ(agent.events.size(), 1u);
    EXPECT_EQ(agent.events[0].kind, MSG_TYPE_SIP_REQUEST);
}

TEST_F(TheLocalNotifier, GetsItsListenerBeforeThePortIsRecorded)
{
    IMS_User_Agent::__ua_myuri = "as it was";
    std::string uri_then;
    notifier.on_listener = [&] { uri_then = IMS_User_Agent::__ua_myuri; };
    only_free(5070);
    agent.open_local_notifier(5070);
    notifier.on_listener = nullptr;
    EXPECT_EQ(uri_then, "as it was");
}

TEST_F(TheLocalNotifier, TriesTheHundredthPort)
{
    only_free(5169);
    EXPECT_EQ(agent.open_local_notifier(5070), &notifier);
    EXPECT_EQ(connector.calls.size(), 100u);
}

TEST_F(TheLocalNotifier, IsNullWhenNoneOfAHundredPortsIsFree)
{
    IMS_User_Agent::__ua_myuri = "as it was";
    only_free(5170);
    EXPECT_EQ(agent.open_local_notifier(5070), nullptr);
    EXPECT_EQ(connector.calls.size(), 100u);
    EXPECT_EQ(connector.calls.back(), "uri sip:5169 from null");
    EXPECT_EQ(log.all().size(), 100u) << "no line beside conn_open's";
    EXPECT_EQ(log.of("conn_open").size(), 100u);
    EXPECT_EQ(IMS_User_Agent::__ua_myuri, "as it was");
}

TEST_F(TheLocalNotifier, CountsAPortThatGivesSomethingElseAsTaken)
{
    FakeClientConnection no_notifier;
    connector.answer = [&](const std::string& call) -> SIPLIB_SIPObject* {
        if (call == "uri sip:5070 from null") return &no_notifier;
        return &notifier;
    };
    EXPECT_EQ(agent.open_local_notifier(5070), &notifier);
    EXPECT_EQ(IMS_User_Agent::__ua_myuri, "<sip:agent@127.0.0.1:5071>");
}

TEST_F(TheLocalNotifier, GoesBeyondTheLargestIntWithoutHarm)
{
    EXPECT_EQ(agent.open_local_notifier(INT_MAX), nullptr);
    EXPECT_EQ(connector.calls.size(), 100u);
    EXPECT_EQ(connector.calls.back(), "uri sip:2147483746 from null");
}

// ---- opening connections ----

class OpeningAConnection : public Addressing {
protected:
    void all_open()
    {
        connector.answer = [this](const std::string&) { return &connection; };
    }
};

TEST_F(OpeningAConnection, ByUriLogsTheOutcome)
{
    auto& by = IMS_User_Agent::__ua_connector;
    EXPECT_EQ(IMS_User_Agent::conn_open(by, "sip:a", "sip:b"), nullptr);
    all_open();
    EXPECT_EQ(IMS_User_Agent::conn_open(by, "sip:a", "sip:b"), &connection);
    EXPECT_EQ(IMS_User_Agent::conn_open(by, nullptr, nullptr), &connection);
    EXPECT_EQ(connector.calls, (Texts{"uri sip:a from sip:b", "uri sip:a from sip:b", "uri null from null"}));
    EXPECT_EQ(log.all(), (Records{{4, "conn_open", "desturi=sip:a srcuri=sip:b failed"},
                                  {5, "conn_open", "desturi=sip:a srcuri=sip:b"},
                                  {5, "conn_open", "desturi=(null) srcuri=(null)"}}));
}

TEST_F(OpeningAConnection, ByAddressLogsTheOutcome)
{
    auto& by = IMS_User_Agent::__ua_connector;
    EXPECT_EQ(IMS_User_Agent::conn_open(by, "udp", "10.0.0.1", 5060, "10.0.0.2", 5070), nullptr);
    all_open();
    EXPECT_EQ(IMS_User_Agent::conn_open(by, "udp", "10.0.0.1", 5060, "10.0.0.2", 5070), &connection);
    EXPECT_EQ(IMS_User_Agent::conn_open(by, nullptr, nullptr, -1, nullptr, 0), &connection);
    EXPECT_EQ(connector.calls, (Texts{"udp 10.0.0.1:5060 from 10.0.0.2:5070",
                                      "udp 10.0.0.1:5060 from 10.0.0.2:5070", "null null:-1 from null:0"}));
    EXPECT_EQ(log.all(), (Records{{4, "conn_open", "failed type=udp destip=10.0.0.1 destport=5060"},
                                  {5, "conn_open", "type=udp destip=10.0.0.1 destport=5060"},
                                  {5, "conn_open", "type=(null) destip=(null) destport=-1"}}));
}

TEST_F(OpeningAConnection, ByToAndFromLogsTheOutcome)
{
    auto& by = IMS_User_Agent::__ua_connector;
    EXPECT_EQ(IMS_User_Agent::conn_open(by, "sip:t", "sip:f", "sip:s"), nullptr);
    all_open();
    EXPECT_EQ(IMS_User_Agent::conn_open(by, "sip:t", "sip:f", "sip:s"), &connection);
    EXPECT_EQ(IMS_User_Agent::conn_open(by, "sip:t", nullptr, nullptr), &connection);
    EXPECT_EQ(connector.calls, (Texts{"to sip:t from sip:f by sip:s", "to sip:t from sip:f by sip:s",
                                      "to sip:t from null by null"}));
    EXPECT_EQ(log.all(), (Records{{4, "conn_open", "to=sip:t from = sip:f srcuri=sip:s failed"},
                                  {5, "conn_open", "to=sip:t from = sip:f srcuri=sip:s"},
                                  {5, "conn_open", "to=sip:t from = (null) srcuri=(null)"}}));
}

} // namespace
