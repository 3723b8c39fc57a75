#include "registrar/IMS_LocalRegistrar.h"

#include "core/IMS_User_Agent.h"
#include "tests/core/class_wide.h"
#include "tests/support/canned_address.h"
#include "tests/support/log_records.h"
#include "tests/support/memory_sweep.h"
#include "tests/support/recording_connection.h"
#include "xml/RegUaXmlData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

using Records = std::vector<LogRecord>;
using Registrar = IMS_LocalRegistrar;

const std::string address = "\"Joe\" <sip:joe@192.0.2.1:5070;transport=tcp>;expires=60";

// A connection whose body is gone from the caller's memory once it was set.
struct ARegistration : ::testing::Test {
    ARegistration() { IMS_User_Agent::__ua_fwk_intf = nullptr; }

    void set_up(RegUaXmlData* document = nullptr, int expires = 3600, const std::string& authorization = "")
    {
        Registrar::setup_message(&conn, address, "internet", expires, authorization, document);
    }
    std::string value_of(const std::string& header) const
    {
        for (const std::string& call : conn.calls_of("setHeader"))
            if (call.find("setHeader(" + header + ", ") == 0)
                return call.substr(header.size() + 12, call.size() - header.size() - 13);
        return "(none)";
    }
    std::string encoded_by_hand() const
    {
        RegUaXmlData document;
        Registrar::build_register_xml(&document, "internet");
        return std::string(document.buffer, static_cast<std::size_t>(document.buffer_length));
    }
    ClassWide members;
    LogRecords log;
    RecordingClientConnection conn;
};

TEST_F(ARegistration, IsSetUpInOrder)
{
    set_up(nullptr, 3600, "Digest username=\"joe\"");
    EXPECT_THAT(conn.calls,
                ElementsAre("setHeader(From, sip:joe@192.0.2.1)", "setHeader(To, sip:joe@192.0.2.1)",
                            "setHeader(Content-Type, application/xml)",
                            "setImsServerAddress(127.0.0.1, 5060, )", "setHeader(Expires, 3600)",
                            "setHeader(Authorization, Digest username=\"joe\")",
                            "setHeader(Contact, " + address + ")", StartsWith("setBody(")));
}

TEST_F(ARegistration, LogsItsFromHeader)
{
    set_up();
    EXPECT_EQ(log.of("setup_message"), (Records{{5, "setup_message", "From header: sip:joe@192.0.2.1"}}));
    EXPECT_EQ(log.all().front().function, "setup_message");
}

TEST_F(ARegistration, HasNoAuthorizationWhenNoneIsGiven)
{
    set_up();
    EXPECT_EQ(value_of("Authorization"), "(none)");
    EXPECT_EQ(conn.calls.size(), 7u);
}

TEST_F(ARegistration, WritesItsExpiryAsANumber)
{
    const struct {
        int expires;
        const char* text;
    } cases[] = {{0, "0"}, {1, "1"}, {-1, "-1"}, {INT_MAX, "2147483647"}, {INT_MIN, "-2147483648"}};
    for (const auto& each : cases) {
        conn.calls.clear();
        set_up(nullptr, each.expires);
        EXPECT_EQ(value_of("Expires"), each.text);
    }
}

TEST_F(ARegistration, TakesUserAndHostOfAnyAddress)
{
    const struct {
        const char* given;
        const char* from;
    } cases[] = {
        {"<sip:joe@example.com>", "sip:joe@example.com"},
        {"sip:joe@example.com;tag=1", "sip:joe@example.com"},
        {"<sip:joe@[2001:db8::1]:5070>", "sip:joe@[2001:db8::1]"},
        {"<sip:example.com>", "sip:@example.com"},
        {"", "sip:@"},
        {"no address", "sip:@"},
    };
    for (const auto& each : cases) {
        conn.calls.clear();
        Registrar::setup_message(&conn, each.given, "internet", 60, "", nullptr);
        EXPECT_EQ(value_of("From"), each.from) << each.given;
        EXPECT_EQ(value_of("To"), each.from) << each.given;
        EXPECT_EQ(value_of("Contact"), each.given);
    }
}

TEST_F(ARegistration, AsksForPartsOfAFromHeader)
{
    CannedAddress parts;
    parts.parts = {{"user", "u"}, {"host", "h"}};
    const AddressFactory factory(&parts);
    set_up();
    EXPECT_THAT(AddressFactory::asked_for(), ElementsAre("From: " + address, "From: " + address));
    EXPECT_EQ(value_of("From"), "sip:u@h");
}

TEST_F(ARegistration, GoesOnWhenTheConnectionRefusesAHeader)
{
    conn.status_of["setHeader"] = SIPLIB_ERR_SYNTAX;
    conn.status_of["setImsServerAddress"] = SIPLIB_ERR_STATE;
    set_up(nullptr, 60, "Digest x");
    EXPECT_EQ(conn.calls.size(), 8u);
}

TEST_F(ARegistration, WithoutAConnectionOnlyLogs)
{
    RegUaXmlData document;
    Registrar::setup_message(nullptr, address, "internet", 60, "", nullptr);
    Registrar::setup_message(nullptr, address, "internet", 60, "", &document);
    EXPECT_EQ(log.all(), (Records{{5, "setup_message", "From header: sip:joe@192.0.2.1"},
                                  {5, "setup_message", "From header: sip:joe@192.0.2.1"}}));
}

// Its lines and its calls, in one order: each call on the connection is a line as well.
TEST_F(ARegistration, LogsBeforeTheCallsThatALineIsAbout)
{
    struct : SIPLIB_SIPClientConnection {
        int setHeader(const char* name, const char*) override
        {
            IMS_log::loginfo(5, "setHeader", "%s", name);
            return SIPLIB_OK;
        }
        int setBody(const char*, int) override
        {
            IMS_log::loginfo(5, "setBody", "called");
            return SIPLIB_OK;
        }
    } telling;
    RegUaXmlData document;
    document.name = "voice";
    Registrar::setup_message(&telling, address, "internet", 60, "", &document);
    EXPECT_EQ(log.all(),
              (Records{{5, "setup_message", "From header: sip:joe@192.0.2.1"},
                       {5, "setHeader", "From"},
                       {5, "setHeader", "To"},
                       {5, "setHeader", "Content-Type"},
                       {5, "setHeader", "Expires"},
                       {5, "setHeader", "Contact"},
                       {4, "setup_message",
                        "profile name internet passed in parameter does not match that in xml body"},
                       {5, "setBody", "called"}}));
}

// ---- the next hop ----

TEST_F(ARegistration, GoesToTheRegistrarOnTheDevice)
{
    std::memset(conn.hop.host, 'x', sizeof conn.hop.host);
    conn.hop.transport = "tcp";
    Registrar::set_ims_server_ip_address_and_port(&conn);
    EXPECT_EQ(std::string(conn.hop.host, sizeof conn.hop.host), "127.0.0.1" + std::string(42, '\0'));
    EXPECT_EQ(conn.hop.port, 5060);
    EXPECT_EQ(conn.hop.flag, 1);
    EXPECT_EQ(conn.hop.transport, "");
    EXPECT_EQ(conn.calls.size(), 1u);
    Registrar::set_ims_server_ip_address_and_port(nullptr);
}

// ---- the body ----

TEST_F(ARegistration, DescribesTheUserAgentWhenNoDocumentIsGiven)
{
    set_up();
    EXPECT_EQ(conn.sent_body, encoded_by_hand());
    const std::string value = Registrar::form_user_agent_header();
    EXPECT_EQ(conn.sent_body,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<ua-info>\n"
              "  <profile-info>\n"
              "    <name>internet</name>\n"
              "  </profile-info>\n"
              "  <aor>\n"
              "    <request-routing-support>\n"
              "      <methods>INVITE,UPDATE,CANCEL,REFER,ACK,NOTIFY,BYE,PRACK,MESSAGE</methods>\n"
              "      <content-type>application/xml</content-type>\n"
              "      <events/>\n"
              "    </request-routing-support>\n"
              "    <ua-specific-parameters>\n"
              "      <sip-headers>\n"
              "        <header>User-agent: " +
                  value +
                  "</header>\n"
                  "      </sip-headers>\n"
                  "      <ua-section-in-network-profile/>\n"
                  "    </ua-specific-parameters>\n"
                  "  </aor>\n"
                  "</ua-info>\n");
}

// A connection that keeps the pointer, to show that the text may be gone afterwards: it compares at call
// time.
TEST_F(ARegistration, SetsABodyThatIsWholeWhenTheConnectionSeesIt)
{
    struct : RecordingClientConnection {
        int setBody(const char* data, int len) override
        {
            at_call.assign(data, static_cast<std::size_t>(len));
            return SIPLIB_OK;
        }
        std::string at_call;
    } copying;
    Registrar::setup_message(&copying, address, "internet", 60, "", nullptr);
    EXPECT_EQ(copying.at_call, encoded_by_hand());
}

TEST_F(ARegistration, SendsTheCallersDocumentAsItWasEncoded)
{
    RegUaXmlData document;
    document.name = "internet";
    document.methods = "OPTIONS";
    ASSERT_EQ(document.encodeXml(), 0);
    document.methods = "changed since";
    const std::string encoded(document.buffer, static_cast<std::size_t>(document.buffer_length));
    log.clear();
    set_up(&document);
    EXPECT_EQ(conn.sent_body, encoded);
    EXPECT_EQ(log.up_to(4), Records{});
    EXPECT_THAT(log.of("encodeXml"), IsEmpty());
    EXPECT_THAT(log.of("form_user_agent_header"), IsEmpty());
    EXPECT_EQ(std::string(document.buffer, static_cast<std::size_t>(document.buffer_length)), encoded);
}

TEST_F(ARegistration, ReportsAnotherProfilesDocumentAndSendsIt)
{
    RegUaXmlData document;
    document.name = "voice";
    ASSERT_EQ(document.encodeXml(), 0);
    set_up(&document);
    EXPECT_EQ(log.up_to(4),
              (Records{{4, "setup_message",
                        "profile name internet passed in parameter does not match that in xml body"}}));
    EXPECT_NE(conn.sent_body.find("<name>voice</name>"), std::string::npos);
    EXPECT_THAT(conn.calls.back(), StartsWith("setBody("));
    EXPECT_EQ(document.name, "voice");
}

TEST_F(ARegistration, OfADocumentThatWasNeverEncodedHasNoBody)
{
    RegUaXmlData document;
    document.name = "internet";
    set_up(&document);
    EXPECT_EQ(conn.calls.back(), "setBody(0)");
    EXPECT_EQ(conn.sent_body, "");
}

// ---- the description ----

TEST_F(ARegistration, FillsInADescriptionAndLeavesTheRestOfIt)
{
    RegUaXmlData document;
    document.aor = "sip:joe@example.com";
    document.events = "reg";
    document.ua_section = "voice";
    document.methods = "replaced";
    Registrar::build_register_xml(&document, "internet");
    EXPECT_EQ(document.name, "internet");
    EXPECT_EQ(document.methods, "INVITE,UPDATE,CANCEL,REFER,ACK,NOTIFY,BYE,PRACK,MESSAGE");
    EXPECT_EQ(document.content_type, "application/xml");
    EXPECT_EQ(document.header_name, "User-agent");
    EXPECT_EQ(document.header_value, Registrar::form_user_agent_header());
    EXPECT_EQ(document.aor, "sip:joe@example.com");
    EXPECT_EQ(document.events, "reg");
    EXPECT_EQ(document.ua_section, "voice");
    const std::string encoded(document.buffer, static_cast<std::size_t>(document.buffer_length));
    EXPECT_NE(encoded.find("<events>reg</events>"), std::string::npos);
}

TEST_F(ARegistration, HasNothingToDescribeWithoutADocument)
{
    Registrar::build_register_xml(nullptr, "internet");
    EXPECT_THAT(log.all(), IsEmpty());
}

// ---- without memory

TEST_F(ARegistration, HasNoUserAgentLineWhenMemoryRunsOut)
{
    std::string value;
    const int failures = sweep([&] { value = Registrar::form_user_agent_header(); },
                               [&](bool has_failed, int lines) {
                                   EXPECT_EQ(value.empty(), has_failed);
                                   EXPECT_EQ(lines, has_failed ? 1 : 0);
                               });
    EXPECT_GT(failures, 1);
}

// An allocation that the SIP library needs is its own to report, so not every failure is a line here.
TEST_F(ARegistration, EndsWhereMemoryRunsOut)
{
    SIPLIB_SIPClientConnection silent; // the mock would allocate as well
    int ended_early = 0;
    sweep([&] { Registrar::setup_message(&silent, "<sip:a@h>", "internet", 60, "", nullptr); },
          [&](bool has_failed, int lines) {
              ended_early += lines;
              EXPECT_TRUE(has_failed || lines == 0);
          });
    EXPECT_GT(ended_early, 0);
}

} // namespace
