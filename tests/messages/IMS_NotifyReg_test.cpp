#include "messages/IMS_NotifyReg.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ARegistrationNotify : ::testing::Test {
    RecordingClientConnection conn;
    NotifyUaXmlData document;
};

TEST_F(ARegistrationNotify, SetsItsHeadersInOrder)
{
    const IMS_NotifyReg message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(NOTIFY)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Contact, <sip:c@h>)", "setHeader(Event, kiv-reg-event-info)",
                            "setHeader(Expires, 0)", "setHeader(Subscription-State, active)",
                            "setHeader(Content-Type, application/reginfo+xml)"));
    EXPECT_EQ(message.body, &document);
    EXPECT_TRUE(message.is_outgoing);
}

TEST_F(ARegistrationNotify, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection other;
    const std::string text = "<sip:a@h>";
    const IMS_NotifyReg from_chars(&conn, text.c_str(), text.c_str(), text.c_str(), &document);
    const IMS_NotifyReg from_strings(&other, text, text, text, &document);
    EXPECT_EQ(conn.calls, other.calls);
    EXPECT_EQ(conn.calls.back(), "setHeader(Content-Type, application/reginfo+xml)");
}

TEST_F(ARegistrationNotify, IsSentWithItsDocument)
{
    document.reg_status = "registered";
    IMS_NotifyReg message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("setBody(" + std::to_string(document.buffer_length) + ")", "send()"));
    EXPECT_EQ(conn.sent_body, std::string(document.buffer, static_cast<std::size_t>(document.buffer_length)));
    EXPECT_NE(conn.sent_body.find("<reg-status>registered</reg-status>"), std::string::npos)
        << conn.sent_body;
}

TEST_F(ARegistrationNotify, IsNotSentWhenItsDocumentCannotBeEncoded)
{
    struct : NotifyUaXmlData {
        int encodeXml() override { return -1; }
    } broken;
    IMS_NotifyReg message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &broken);
    conn.calls.clear();
    LogRecords log;
    EXPECT_FALSE(message.send());
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "send", "Error encoding XML"}}));
}

TEST_F(ARegistrationNotify, WithoutADocumentIsSentWithoutABody)
{
    IMS_NotifyReg message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", nullptr);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("send()"));
}

TEST_F(ARegistrationNotify, OnANullConnectionSetsNothingAndFailsToSend)
{
    LogRecords log;
    IMS_NotifyReg message(nullptr, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
    EXPECT_THAT(log.all(), IsEmpty());
    EXPECT_FALSE(message.send());
    EXPECT_EQ(log.all().back(), (LogRecord{4, "send", "failed: Connection is null"}));
}

TEST_F(ARegistrationNotify, LeavesTheCallersDocumentAlone)
{
    {
        IMS_NotifyReg message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
        message.send();
    }
    EXPECT_NE(document.buffer, nullptr);
    EXPECT_EQ(document.encodeXml(), 0);
}

TEST_F(ARegistrationNotify, ReceivedAsStateReportsTheFirstContactOfEachRegistration)
{
    RecordingServerConnection received;
    received.body = R"(<?xml version="1.0"?>
<reginfo xmlns="urn:ietf:params:xml:ns:reginfo" version="0" state="full">
  <registration aor="sip:joe@example.com" id="as9" state="active">
    <contact id="76" state="active" event="registered" expires="7200"><uri>sip:joe@192.0.2.1</uri></contact>
    <contact id="77" state="terminated" event="expired" expires="0"><uri>sip:joe@192.0.2.2</uri></contact>
  </registration>
  <registration aor="tel:+15550100" id="as10" state="active">
    <contact id="78" state="active" event="created"/>
  </registration>
</reginfo>)";
    const IMS_NotifyReg notify(&received, true);
    const auto* state = dynamic_cast<RegXmlData*>(notify.body);
    ASSERT_NE(state, nullptr);
    EXPECT_EQ(state->match_uri, "");
    EXPECT_EQ(state->reginfo_state, "full");
    EXPECT_THAT(state->aors, ElementsAre("sip:joe@example.com", "tel:+15550100"));
    EXPECT_THAT(state->states, ElementsAre("active", "active"));
    EXPECT_THAT(state->expires_list, ElementsAre(7200, -1));
}

TEST_F(ARegistrationNotify, ReceivedAsADescriptionTellsMethodsAndHeader)
{
    RecordingServerConnection received;
    received.body = "<ua-info><methods>INVITE</methods><sip-headers>User-agent:Kivo</sip-headers></ua-info>";
    const IMS_NotifyReg notify(&received, false);
    const auto* description = dynamic_cast<RegUaXmlData*>(notify.body);
    ASSERT_NE(description, nullptr);
    EXPECT_EQ(description->methods, "INVITE");
    EXPECT_EQ(description->header_name, "User-agent");
    EXPECT_EQ(description->header_value, "Kivo");
}

TEST_F(ARegistrationNotify, ReceivedAsStateButADescriptionIsLoggedAsAnError)
{
    LogRecords log;
    RecordingServerConnection received;
    received.body = "<ua-info><name>internet</name></ua-info>";
    const IMS_NotifyReg notify(&received, true);
    ASSERT_NE(dynamic_cast<RegXmlData*>(notify.body), nullptr);
    EXPECT_EQ(log.of("parse"), (std::vector<LogRecord>{NOT_PARSED}));
}

static_assert(!std::is_constructible<IMS_NotifyReg, SIPLIB_SIPConnection*>::value, "says which document");

static_assert(std::is_base_of<IMS_Notify, IMS_NotifyReg>::value, "");
static_assert(sizeof(IMS_NotifyReg) == sizeof(IMS_Notify), "adds no fields");

} // namespace
