#include "messages/IMS_Message.h"

#include "tests/support/canned_address.h"
#include "tests/support/log_records.h"
#include "tests/support/memory_sweep.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Records = std::vector<LogRecord>;

const char* const NULL_STRING = nullptr;

LogRecord ok(const char* function, const std::string& text)
{
    return {5, function, text};
}
LogRecord failed(const char* function, const std::string& text)
{
    return {4, function, text};
}

// A message on a received connection, its calls and its log.
class AMessage : public testing::Test {
protected:
    RecordingServerConnection conn;
    IMS_Message message{&conn};
    LogRecords log;
};

// ---- construction

class ANewRequest : public testing::Test {
protected:
    RecordingClientConnection conn;
    LogRecords log;
};

TEST_F(ANewRequest, SetsMethodFromToAndContactInOrder)
{
    const IMS_Message message(&conn, "NOTIFY", "<sip:a@127.0.0.1>;tag=1", "<sip:b@127.0.0.1>",
                              "<sip:c@127.0.0.1:5070>", NULL_STRING);
    EXPECT_THAT(conn.calls, ElementsAre("initRequest(NOTIFY)", "setHeader(From, <sip:a@127.0.0.1>;tag=1)",
                                        "setHeader(To, <sip:b@127.0.0.1>)",
                                        "setHeader(Contact, <sip:c@127.0.0.1:5070>)"));
    EXPECT_EQ(log.all(), (Records{ok("init_request", "request=NOTIFY"),
                                  ok("set_header", "tag=From val=<sip:a@127.0.0.1>;tag=1"),
                                  ok("set_header", "tag=To val=<sip:b@127.0.0.1>"),
                                  ok("set_header", "tag=Contact val=<sip:c@127.0.0.1:5070>")}));
    EXPECT_EQ(message.connection, &conn);
}

TEST_F(ANewRequest, SetsNoContactForAnEmptyOrNullOne)
{
    const IMS_Message empty(&conn, "MESSAGE", "<sip:a@h>", "<sip:b@h>", "", "");
    const IMS_Message null(&conn, "MESSAGE", "<sip:a@h>", "<sip:b@h>", NULL_STRING, NULL_STRING);
    EXPECT_THAT(conn.calls_of("setHeader"),
                ElementsAre("setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)"));
    EXPECT_THAT(conn.calls_of("setImsServerAddress"), IsEmpty());
}

TEST_F(ANewRequest, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection other;
    const IMS_Message a(&conn, "NOTIFY", "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", "<sip:127.0.0.1:5062>");
    const IMS_Message b(&other, "NOTIFY", std::string("<sip:a@h>"), std::string("<sip:b@h>"),
                        std::string("<sip:c@h>"), std::string("<sip:127.0.0.1:5062>"));
    EXPECT_EQ(other.calls, conn.calls);
    EXPECT_EQ(conn.calls.size(), 5u);
}

TEST_F(ANewRequest, OnANullConnectionDoesNothing)
{
    SIPLIB_SIPClientConnection* const none = nullptr;
    const IMS_Message message(none, "NOTIFY", "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", "<sip:127.0.0.1>");
    EXPECT_EQ(message.connection, nullptr);
    EXPECT_THAT(log.all(), IsEmpty());
}

TEST_F(ANewRequest, GoesOnAfterFailures)
{
    conn.status_of = {{"initRequest", 103}, {"setHeader", 102}};
    const IMS_Message message(&conn, "NOTIFY", "<sip:a@h>", "<sip:b@h>", "", "");
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(NOTIFY)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)"));
    EXPECT_EQ(log.all(), (Records{failed("init_request", "failed: request=NOTIFY status=103"),
                                  failed("set_header", "failed: tag=From val=<sip:a@h> status=102"),
                                  failed("set_header", "failed: tag=To val=<sip:b@h> status=102")}));
}

TEST_F(ANewRequest, WithoutAddressesSetsNone)
{
    const IMS_Message message(&conn, "NOTIFY", NULL_STRING, "", NULL_STRING, NULL_STRING);
    EXPECT_THAT(conn.calls, ElementsAre("initRequest(NOTIFY)"));
    const LogRecord none = failed("set_addr_header", "SIPLIB_SIPAddress object is not created");
    EXPECT_EQ(log.all(), (Records{ok("init_request", "request=NOTIFY"), none, none}));
}

// ---- the route

TEST_F(ANewRequest, HandsARouteOverAsTheNextHop)
{
    const IMS_Message message(&conn, "NOTIFY", "<sip:a@h>", "<sip:b@h>", "",
                              "<sip:127.0.0.1:5062;transport=tcp>");
    EXPECT_EQ(conn.calls.back(), "setImsServerAddress(127.0.0.1, 5062, tcp)");
    EXPECT_EQ(conn.hop.flag, 1);
    EXPECT_EQ(
        log.all().back(),
        ok("IMS_Message", "130: calling setImsServerAddress:127.0.0.1  and port:5062 tranposrt tcp   "));
}

TEST_F(ANewRequest, HandsARouteWithoutTransportOverWithAnEmptyOne)
{
    const IMS_Message message(&conn, "NOTIFY", "<sip:a@h>", "<sip:b@h>", "", "<sip:127.0.0.1>");
    EXPECT_EQ(conn.calls.back(), "setImsServerAddress(127.0.0.1, 5060, )");
    EXPECT_EQ(log.all().back(),
              ok("IMS_Message", "130: calling setImsServerAddress:127.0.0.1  and port:5060 tranposrt    "));
}

TEST_F(ANewRequest, SkipsARouteThatIsNoAddress)
{
    AddressFactory none(nullptr);
    IMS_Message message(&conn, "NOTIFY", "<sip:a@h>", "<sip:b@h>", "", "nonsense");
    EXPECT_THAT(AddressFactory::asked_for(),
                ElementsAre("From: <sip:a@h>", "To: <sip:b@h>", "Route: nonsense"));
    EXPECT_THAT(conn.calls, ElementsAre("initRequest(NOTIFY)"));
    EXPECT_EQ(log.all().back(), failed("IMS_Message", "118: SIPLIB_SIPAddress object is not created"));
    EXPECT_TRUE(message.send());
}

TEST_F(ANewRequest, CutsPortAndHostOfItsRouteToTheRecord)
{
    CannedAddress address;
    address.parts = {{"tostring", "<x>"}, {"host", std::string(60, 'h')}};
    address.port = 70000;
    AddressFactory canned(&address);
    const IMS_Message message(&conn, "NOTIFY", "a", "b", "", "route");
    EXPECT_EQ(conn.hop.port, 70000 - 65536);
    EXPECT_EQ(std::string(conn.hop.host), std::string(50, 'h'));
    EXPECT_EQ(log.all().back(), ok("IMS_Message", "130: calling setImsServerAddress:" + std::string(60, 'h') +
                                                      "  and port:70000 tranposrt    "));
}

TEST_F(ANewRequest, TakesPortZeroWhenItsRouteHasNone)
{
    CannedAddress address;
    address.port = -1;
    address.port_status = SIPLIB_ERR_SYNTAX;
    AddressFactory canned(&address);
    const IMS_Message message(&conn, "NOTIFY", "a", "b", "", "route");
    EXPECT_EQ(conn.hop.port, 0);
    EXPECT_EQ(conn.hop.host[0], 0);
}

TEST_F(ANewRequest, TakesNothingHalfReadFromItsRoute)
{
    CannedAddress address;
    address.parts = {{"tostring", "<x>"}};
    address.writes_on_failure = true;
    AddressFactory canned(&address);
    const IMS_Message message(&conn, "NOTIFY", "a", "b", "", "route");
    EXPECT_EQ(conn.calls.back(), "setImsServerAddress(, 5060, )");
}

TEST_F(ANewRequest, DeletesEveryAddressItMade)
{
    const int before = CannedAddress::alive;
    {
        CannedAddress address;
        address.parts = {{"tostring", "<x>"}};
        AddressFactory canned(&address);
        const IMS_Message message(&conn, "NOTIFY", "a", "b", "c", "route");
        EXPECT_EQ(AddressFactory::asked_for().size(), 4u);
        EXPECT_EQ(CannedAddress::alive, before + 1);
    }
    EXPECT_EQ(CannedAddress::alive, before);
}

// An address whose making fails has no header; what follows is set all the same, and nothing leaves.
TEST_F(ANewRequest, GoesOnWhenMemoryRunsOut)
{
    struct : SIPLIB_SIPClientConnection { // allocates nothing itself
        int setHeader(const char*, const char*) override { return ++headers, SIPLIB_OK; }
        int setImsServerAddress(const SIPLIB_SipImsServerAddress&) override { return ++hops, SIPLIB_OK; }
        int headers = 0;
        int hops = 0;
    } counting;
    const char* const a = "<sip:a-user-with-a-long-name@a-host-with-a-long-name.example.com>";
    const char* const route = "<sip:a-proxy-with-a-long-name.example.com;transport=a-long-transport-of-ours>";
    int lines_seen = 0;
    const int failures = sweep([&] { const IMS_Message message(&counting, "NOTIFY", a, a, a, route); },
                               [&](bool has_failed, int lines) {
                                   EXPECT_GE(counting.headers + counting.hops, has_failed ? 3 : 4);
                                   EXPECT_LE(lines, has_failed ? 1 : 0);
                                   lines_seen += lines;
                               },
                               [&] { counting.headers = counting.hops = 0; });
    EXPECT_GT(failures, 4);
    EXPECT_GE(lines_seen, 4); // the rest is the SIP library's, which then gives no address
}

TEST_F(ANewRequest, TouchesTheConnectionNoMoreWhenItGoes)
{
    {
        const IMS_Message message(&conn, "NOTIFY", "<sip:a@h>", "<sip:b@h>", "", "");
        conn.calls.clear();
    }
    EXPECT_THAT(conn.calls, IsEmpty());
}

TEST_F(AMessage, ThatWasReceivedCallsNothingByItself)
{
    EXPECT_EQ(message.connection, &conn);
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_THAT(log.all(), IsEmpty());
}

// ---- address headers

TEST_F(AMessage, SetsAnAddressHeaderAsTheAddressPrintsItself)
{
    message.set_addr_header("From", "sip:a@127.0.0.1", nullptr, nullptr);
    EXPECT_THAT(conn.calls, ElementsAre("setHeader(From, <sip:a@127.0.0.1>)"));
    EXPECT_EQ(log.all(), (Records{ok("set_header", "tag=From val=<sip:a@127.0.0.1>")}));
}

TEST_F(AMessage, SetsAnAddressHeaderWithAParameter)
{
    message.set_addr_header("From", "\"Name\" <sip:a@127.0.0.1>", "tag", "77");
    EXPECT_THAT(conn.calls, ElementsAre("setHeader(From, \"Name\" <sip:a@127.0.0.1>;tag=77)"));
}

TEST_F(AMessage, TakesANullParameterValueAsEmpty)
{
    CannedAddress address;
    address.parts = {{"tostring", "<x>"}};
    AddressFactory canned(&address);
    message.set_addr_header("From", "x", "lr", nullptr);
    EXPECT_THAT(conn.calls, ElementsAre("setHeader(From, <x>;lr=)"));
}

TEST_F(AMessage, SetsNoAddressHeaderFromWhatIsNoAddress)
{
    const LogRecord none = failed("set_addr_header", "SIPLIB_SIPAddress object is not created");
    message.set_addr_header("From", nullptr, nullptr, nullptr);
    message.set_addr_header("From", "", "tag", "1");
    message.set_addr_header(nullptr, "*", nullptr, nullptr);
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (Records{none, none, none}));
}

TEST_F(AMessage, SetsNoAddressHeaderWhenTheAddressCannotPrintItself)
{
    const int before = CannedAddress::alive;
    const CannedAddress mute; // no text form
    AddressFactory canned(&mute);
    message.set_addr_header("From", "x", nullptr, nullptr);
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (Records{failed("set_addr_header", "SIPLIB_SIPAddress object is not created")}));
    EXPECT_EQ(CannedAddress::alive, before + 1);
}

// ---- headers

TEST_F(AMessage, ReadsAHeaderIntoAClearedBuffer)
{
    conn.headers["Event"] = "kiv-link-event";
    char buf[32];
    std::memset(buf, 'x', sizeof buf);
    EXPECT_TRUE(message.get_header("Event", buf, sizeof buf));
    EXPECT_STREQ(buf, "kiv-link-event");
    EXPECT_EQ(std::count(buf + 14, buf + sizeof buf, 0), 18);
    EXPECT_EQ(log.all(), (Records{ok("get_header", "tag=Event val=kiv-link-event len=14")}));
}

TEST_F(AMessage, TellsTheCallersLengthWhenAHeaderCannotBeRead)
{
    char buf[16] = "old";
    EXPECT_FALSE(message.get_header("Event", buf, sizeof buf));
    EXPECT_STREQ(buf, "");
    conn.headers["Event"] = "longer than sixteen characters";
    EXPECT_FALSE(message.get_header("Event", buf, sizeof buf));
    EXPECT_STREQ(buf, "longer than six");
    EXPECT_EQ(log.all(),
              (Records{failed("get_header", "failed: tag=Event val= len=16 status=104"),
                       failed("get_header", "failed: tag=Event val=longer than six len=16 status=105")}));
}

TEST_F(AMessage, EndsAHeaderValueInsideTheBufferWhateverTheConnectionDid)
{
    class Careless : public SIPLIB_SIPServerConnection {
        int getHeader(const char*, char* buf, int& len) override
        {
            std::memset(buf, 'x', static_cast<std::size_t>(len));
            len = 1000000;
            return SIPLIB_OK;
        }
    } careless;
    IMS_Message m(&careless);
    char buf[4];
    EXPECT_TRUE(m.get_header("Event", buf, sizeof buf));
    EXPECT_STREQ(buf, "xxx");
    EXPECT_EQ(log.all(), (Records{ok("get_header", "tag=Event val=xxx len=1000000")}));
}

TEST_F(AMessage, TakesABufferOfNoLengthOrNoBufferToTheConnection)
{
    char buf[2] = {'a', 'b'}; // not terminated, and not to be touched
    EXPECT_FALSE(message.get_header("Event", buf, 0));
    EXPECT_FALSE(message.get_header("Event", buf, -5));
    EXPECT_FALSE(message.get_header(nullptr, nullptr, 5));
    EXPECT_EQ(buf[0], 'a');
    EXPECT_EQ(log.all(), (Records{failed("get_header", "failed: tag=Event val= len=0 status=104"),
                                  failed("get_header", "failed: tag=Event val= len=-5 status=104"),
                                  failed("get_header", "failed: tag=(null) val=(null) len=5 status=104")}));
}

TEST_F(AMessage, SetsAddsAndRemovesHeaders)
{
    EXPECT_TRUE(message.set_header("Event", "a"));
    EXPECT_TRUE(message.add_header("Route", "b"));
    EXPECT_TRUE(message.remove_header("Via"));
    EXPECT_THAT(conn.calls, ElementsAre("setHeader(Event, a)", "addHeader(Route, b)", "removeHeader(Via)"));
    EXPECT_EQ(log.all(), (Records{ok("set_header", "tag=Event val=a"), ok("add_header", "tag=Route val=b"),
                                  ok("remove_header", "tag=Via")}));
}

TEST_F(AMessage, TellsWhichHeaderCouldNotBeChanged)
{
    conn.status_of = {{"setHeader", 101}, {"addHeader", 102}, {"removeHeader", 103}};
    EXPECT_FALSE(message.set_header("Event", "a%sb"));
    EXPECT_FALSE(message.add_header("Route", "b"));
    EXPECT_FALSE(message.remove_header("Via"));
    EXPECT_EQ(log.all(), (Records{failed("set_header", "failed: tag=Event val=a%sb status=101"),
                                  failed("add_header", "failed: tag=Route val=b status=102"),
                                  failed("remove_header", "failed: tag=Via status=103")}));
}

TEST_F(AMessage, PassesNullTextsOnAndShowsThemAsNull)
{
    conn.status_of = {{"setHeader", 102}};
    message.set_header(nullptr, nullptr);
    message.add_header("Route", nullptr);
    message.remove_header(nullptr);
    message.set_method(nullptr);
    message.init_request(nullptr);
    message.set_request_uri(nullptr);
    EXPECT_THAT(conn.calls,
                ElementsAre("setHeader((null), (null))", "addHeader(Route, (null))", "removeHeader((null))",
                            "setMethod((null))", "initRequest((null))", "setRequestURI((null))"));
    EXPECT_EQ(log.all(), (Records{failed("set_header", "failed: tag=(null) val=(null) status=102"),
                                  ok("add_header", "tag=Route val=(null)"), ok("remove_header", "tag=(null)"),
                                  ok("set_method", "method=(null)"), ok("init_request", "request=(null)"),
                                  ok("set_request_uri", "request_uri=(null)")}));
}

// ---- body

TEST_F(AMessage, ReadsABodyAndItsLength)
{
    conn.body = "<a/>";
    char buf[8];
    std::memset(buf, 'x', sizeof buf);
    int len = sizeof buf;
    EXPECT_TRUE(message.get_body(buf, len));
    EXPECT_EQ(len, 4);
    EXPECT_EQ(std::string(buf, 8), std::string("<a/>\0\0\0\0", 8));
    EXPECT_EQ(log.all(), (Records{ok("get_body", "len=4")}));
}

TEST_F(AMessage, TellsTheLengthAfterwardsWhenABodyCannotBeRead)
{
    conn.body = "<longer/>";
    char buf[4];
    int len = sizeof buf;
    EXPECT_FALSE(message.get_body(buf, len));
    EXPECT_EQ(len, 4);
    EXPECT_EQ(std::string(buf, 4), "<lon");
    EXPECT_EQ(log.all(), (Records{failed("get_body", "failed: len=4 status=105")}));
}

TEST_F(AMessage, NeverReportsABodyBeyondTheBuffer)
{
    class Careless : public SIPLIB_SIPServerConnection {
        int getBody(char*, int& len) override
        {
            len = 5000;
            return SIPLIB_OK;
        }
    } careless;
    IMS_Message m(&careless);
    char buf[8];
    int len = sizeof buf;
    EXPECT_TRUE(m.get_body(buf, len));
    EXPECT_EQ(len, 8);
    EXPECT_EQ(log.all(), (Records{ok("get_body", "len=8")}));
}

TEST_F(AMessage, ClearsNoBufferOfNoLength)
{
    char buf[2] = {'a', 'b'};
    int len = 0;
    EXPECT_FALSE(message.get_body(buf, len));
    len = -3;
    EXPECT_FALSE(message.get_body(buf, len));
    EXPECT_EQ(len, -3);
    len = 2;
    EXPECT_FALSE(message.get_body(nullptr, len));
    EXPECT_EQ(buf[0], 'a');
}

TEST_F(AMessage, SetsABody)
{
    EXPECT_TRUE(message.set_body("<a/>", 4));
    EXPECT_EQ(conn.sent_body, "<a/>");
    conn.status_of["setBody"] = 108;
    EXPECT_FALSE(message.set_body(nullptr, 0));
    EXPECT_EQ(log.all(), (Records{ok("set_body", "ok"), failed("set_body", "failed: status=108")}));
}

// ---- methods and responses

TEST_F(AMessage, TellsTheResponseCodeWhateverTheStatus)
{
    conn.response_code = 481;
    EXPECT_EQ(message.get_response(), 481);
    conn.status_of["getResponseCode"] = 103;
    EXPECT_EQ(message.get_response(), 0);
    EXPECT_EQ(log.all(), (Records{ok("get_response", "respcode=481"), ok("get_response", "respcode=0")}));
}

TEST_F(AMessage, IsOfAMethodOnlyOnAnExactMatch)
{
    conn.method = "SUBSCRIBE";
    EXPECT_TRUE(message.is_method("SUBSCRIBE"));
    EXPECT_FALSE(message.is_method("subscribe"));
    EXPECT_FALSE(message.is_method("SUB"));
    EXPECT_FALSE(message.is_method(nullptr));
    EXPECT_EQ(log.all(), (Records{ok("is_method", "found SUBSCRIBE"), ok("is_method", "not found subscribe"),
                                  ok("is_method", "not found SUB"), ok("is_method", "not found (null)")}));
    EXPECT_THAT(conn.calls_of("getMethod").size(), 4u);
    EXPECT_EQ(conn.calls[0], "getMethod(256)");
}

TEST_F(AMessage, ComparesAMethodThatCouldNotBeRead)
{
    conn.status_of["getMethod"] = 103;
    EXPECT_TRUE(message.is_method(""));
    EXPECT_FALSE(message.is_method("NOTIFY"));
}

TEST_F(AMessage, ReadsItsMethod)
{
    char buf[SIPLIB_METHOD_SIZE];
    EXPECT_TRUE(message.get_method(buf));
    EXPECT_STREQ(buf, "NOTIFY");
    char small[4];
    EXPECT_FALSE(message.get_method(small, sizeof small));
    EXPECT_STREQ(small, "NOT");
    EXPECT_THAT(conn.calls, ElementsAre("getMethod(256)", "getMethod(4)"));
    EXPECT_EQ(log.all(),
              (Records{ok("get_method", "method=NOTIFY"), failed("get_method", "failed: status=105")}));
}

TEST_F(AMessage, GivesAnEmptyMethodWhenItCannotBeRead)
{
    conn.status_of["getMethod"] = 103;
    char buf[SIPLIB_METHOD_SIZE] = "old";
    EXPECT_FALSE(message.get_method(buf));
    EXPECT_STREQ(buf, "");
    EXPECT_FALSE(message.get_method(nullptr, 0));
    EXPECT_EQ(log.all(), (Records{failed("get_method", "failed: status=103"),
                                  failed("get_method", "failed: status=103")}));
}

TEST_F(AMessage, EndsAMethodInsideTheBufferWhateverTheConnectionDid)
{
    class Careless : public SIPLIB_SIPServerConnection {
        int getMethod(char* buf, int capacity) override
        {
            std::memset(buf, 'M', static_cast<std::size_t>(capacity));
            return SIPLIB_OK;
        }
    } careless;
    IMS_Message m(&careless);
    char buf[8];
    EXPECT_TRUE(m.get_method(buf, sizeof buf));
    EXPECT_STREQ(buf, "MMMMMMM");
    EXPECT_TRUE(m.is_method(std::string(255, 'M').c_str()));
}

TEST_F(AMessage, ComparesTwoMethodNames)
{
    EXPECT_TRUE(IMS_Message::is_method_name("A", "A"));
    EXPECT_FALSE(IMS_Message::is_method_name("A", "a"));
    EXPECT_FALSE(IMS_Message::is_method_name(nullptr, "X"));
    EXPECT_FALSE(IMS_Message::is_method_name("X", nullptr));
    EXPECT_FALSE(IMS_Message::is_method_name(nullptr, nullptr));
    EXPECT_THAT(log.all(), IsEmpty());
}

TEST_F(AMessage, StartsAResponseAndARequest)
{
    EXPECT_TRUE(message.init_response(200));
    EXPECT_TRUE(message.init_request("SUBSCRIBE"));
    EXPECT_TRUE(message.set_method("NOTIFY"));
    EXPECT_TRUE(message.set_request_uri("sip:b@h"));
    EXPECT_THAT(conn.calls, ElementsAre("initResponse(200)", "initRequest(SUBSCRIBE)", "setMethod(NOTIFY)",
                                        "setRequestURI(sip:b@h)"));
    EXPECT_EQ(log.all(),
              (Records{ok("init_response", "ok resp=200"), ok("init_request", "request=SUBSCRIBE"),
                       ok("set_method", "method=NOTIFY"), ok("set_request_uri", "request_uri=sip:b@h")}));
}

TEST_F(AMessage, TellsWhatCouldNotBeStarted)
{
    conn.status_of = {
        {"initResponse", 101}, {"initRequest", 102}, {"setMethod", 103}, {"setRequestURI", 106}};
    EXPECT_FALSE(message.init_response(999));
    EXPECT_FALSE(message.init_request("X"));
    EXPECT_FALSE(message.set_method("X"));
    EXPECT_FALSE(message.set_request_uri("no uri"));
    EXPECT_EQ(log.all(), (Records{failed("init_response", "failed: resp=999 status=101"),
                                  failed("init_request", "failed: request=X status=102"),
                                  failed("set_method", "failed: status=103"),
                                  failed("set_request_uri", "failed: request_uri=no uri status=106")}));
}

TEST_F(AMessage, SendsAndReceives)
{
    EXPECT_TRUE(message.send());
    EXPECT_TRUE(message.receive());
    conn.status_of = {{"send", 107}, {"receive", 103}};
    EXPECT_FALSE(message.send());
    EXPECT_FALSE(message.receive());
    EXPECT_THAT(conn.calls, ElementsAre("send()", "receive()", "send()", "receive()"));
    EXPECT_EQ(log.all(), (Records{ok("send", "ok"), ok("receive", "ok"), failed("send", "failed: status=107"),
                                  failed("receive", "failed: status=103")}));
}

// ---- no connection

TEST(AMessageWithoutConnection, LogsEveryOperationUnderItsNameAndDoesNothing)
{
    LogRecords log;
    IMS_Message m(static_cast<SIPLIB_SIPConnection*>(nullptr));
    char buf[4] = "abc";
    int len = 4;
    EXPECT_FALSE(m.get_header("Event", buf, 4));
    EXPECT_FALSE(m.set_header("Event", "x"));
    EXPECT_FALSE(m.add_header("Event", "x"));
    EXPECT_FALSE(m.remove_header("Event"));
    EXPECT_FALSE(m.get_body(buf, len));
    EXPECT_FALSE(m.set_body("x", 1));
    EXPECT_EQ(m.get_response(), 0);
    EXPECT_FALSE(m.is_method("NOTIFY"));
    EXPECT_FALSE(m.get_method(buf));
    EXPECT_FALSE(m.set_method("X"));
    EXPECT_FALSE(m.init_response(200));
    EXPECT_FALSE(m.init_request("X"));
    EXPECT_FALSE(m.set_request_uri("sip:a@h"));
    EXPECT_FALSE(m.send());
    EXPECT_FALSE(m.receive());
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(len, 4);
    Records lines;
    for (const char* name : {"get_header", "set_header", "add_header", "remove_header", "get_body",
                             "set_body", "get_response", "is_method", "get_method", "set_method",
                             "init_response", "init_request", "set_request_uri", "send", "receive"}) {
        const bool body = std::string(name) == "get_body";
        lines.push_back(
            failed(name, body ? "get_body failed: Connection is null" : "failed: Connection is null"));
    }
    EXPECT_EQ(log.all(), lines);
}

TEST(AMessageWithoutConnection, LogsAnAddressHeaderAsTheHeaderItWouldSet)
{
    LogRecords log;
    IMS_Message m(static_cast<SIPLIB_SIPConnection*>(nullptr));
    m.set_addr_header("From", "<sip:a@h>", nullptr, nullptr);
    m.set_addr_header("From", "*", nullptr, nullptr);
    const LogRecord line = failed("set_header", "failed: Connection is null");
    EXPECT_EQ(log.all(), (Records{line, line}));
}

// ---- the interface

static_assert(!std::is_copy_constructible<IMS_Message>::value, "");
static_assert(!std::is_copy_assignable<IMS_Message>::value, "");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_Message>::value, "");
static_assert(std::has_virtual_destructor<IMS_Message>::value, "");

// Older callers hold texts in char* and std::string; literals and null pick the character form.
TEST(TheMessageInterface, TakesTextsAsOlderCallersHoldThem)
{
    RecordingClientConnection conn;
    char method[] = "NOTIFY";
    char from[] = "<sip:a@h>";
    char* to = from;
    std::string text = "<sip:a@h>";
    const IMS_Message a(&conn, method, from, to, to, to);
    const IMS_Message b(&conn, method, text, text, text, text);
    const IMS_Message c(&conn, "NOTIFY", "<sip:a@h>", "<sip:a@h>", nullptr, nullptr);
    const IMS_Message d(&conn, method, text, "<sip:a@h>", "", text);
    EXPECT_THAT(conn.calls_of("initRequest").size(), 4u);
}

// Calls the operation in place `slot` of the virtual table, the destructor taking the first two.
template <typename Result>
Result call_slot(IMS_Message* m, int slot)
{
    using Operation = Result (*)(IMS_Message*);
    void** table = *reinterpret_cast<void***>(m);
    return reinterpret_cast<Operation>(table[slot])(m);
}

TEST(TheMessageInterface, HasSendAndReceiveBehindTheDestructor)
{
    RecordingServerConnection conn;
    IMS_Message m(&conn);
    EXPECT_TRUE(call_slot<bool>(&m, 2));
    EXPECT_TRUE(call_slot<bool>(&m, 3));
    EXPECT_THAT(conn.calls, ElementsAre("send()", "receive()"));
}

} // namespace
