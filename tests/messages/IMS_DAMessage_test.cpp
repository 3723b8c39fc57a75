#include "messages/IMS_DAMessage.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ADiscoveryMessage : ::testing::Test {
    RecordingClientConnection conn;
    DAMessageXmlData document;
};

TEST_F(ADiscoveryMessage, SetsItsHeadersInOrder)
{
    const IMS_DAMessage message(&conn, "<sip:a@h>", "<sip:b@h>", &document);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(MESSAGE)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Content-Type, application/xml)"));
    EXPECT_EQ(message.body, &document);
    EXPECT_TRUE(message.is_outgoing);
}

TEST_F(ADiscoveryMessage, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection other;
    const std::string text = "<sip:a@h>";
    const IMS_DAMessage from_chars(&conn, text.c_str(), text.c_str(), &document);
    const IMS_DAMessage from_strings(&other, text, text, &document);
    EXPECT_EQ(conn.calls, other.calls);
    EXPECT_EQ(conn.calls.back(), "setHeader(Content-Type, application/xml)");
}

TEST_F(ADiscoveryMessage, IsSentWithItsDocument)
{
    document.proxy_list = {{"192.0.2.1", 5060, "pcscf"}};
    IMS_DAMessage message(&conn, "<sip:a@h>", "<sip:b@h>", &document);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("setBody(" + std::to_string(document.buffer_length) + ")", "send()"));
    EXPECT_EQ(conn.sent_body, std::string(document.buffer, static_cast<std::size_t>(document.buffer_length)));
    EXPECT_NE(conn.sent_body.find("<ip-address>192.0.2.1:pcscf:5060</ip-address>"), std::string::npos)
        << conn.sent_body;
}

TEST_F(ADiscoveryMessage, IsNotSentWhenItsDocumentCannotBeEncoded)
{
    struct : DAMessageXmlData {
        int encodeXml() override { return -1; }
    } broken;
    IMS_DAMessage message(&conn, "<sip:a@h>", "<sip:b@h>", &broken);
    conn.calls.clear();
    LogRecords log;
    EXPECT_FALSE(message.send());
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "send", "Error encoding XML"}}));
}

TEST_F(ADiscoveryMessage, WithoutADocumentIsSentWithoutABody)
{
    IMS_DAMessage message(&conn, "<sip:a@h>", "<sip:b@h>", nullptr);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("send()"));
}

TEST_F(ADiscoveryMessage, OnANullConnectionSetsNothingAndFailsToSend)
{
    LogRecords log;
    IMS_DAMessage message(nullptr, "<sip:a@h>", "<sip:b@h>", &document);
    EXPECT_THAT(log.all(), IsEmpty());
    EXPECT_FALSE(message.send());
    EXPECT_EQ(log.all().back(), (LogRecord{4, "send", "failed: Connection is null"}));
}

TEST_F(ADiscoveryMessage, LeavesTheCallersDocumentAlone)
{
    {
        IMS_DAMessage message(&conn, "<sip:a@h>", "<sip:b@h>", &document);
        message.send();
    }
    EXPECT_NE(document.buffer, nullptr);
    EXPECT_EQ(document.encodeXml(), 0);
}

static_assert(std::is_base_of<IMS_MessageMsg, IMS_DAMessage>::value, "");
static_assert(sizeof(IMS_DAMessage) == sizeof(IMS_MessageMsg), "adds no fields");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_DAMessage>::value, "");

} // namespace
