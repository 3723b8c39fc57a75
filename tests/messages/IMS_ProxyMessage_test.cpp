#include "messages/IMS_ProxyMessage.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ARouteMessage : ::testing::Test {
    RecordingClientConnection conn;
    IMSSetRouteXml document;
};

TEST_F(ARouteMessage, SetsItsHeadersInOrder)
{
    const IMS_ProxyMessage message(&conn, "<sip:a@h>", "<sip:b@h>", &document);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(MESSAGE)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Content-Type, application/xml)"));
    EXPECT_EQ(message.body, &document);
    EXPECT_TRUE(message.is_outgoing);
}

TEST_F(ARouteMessage, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection other;
    const std::string text = "<sip:a@h>";
    const IMS_ProxyMessage from_chars(&conn, text.c_str(), text.c_str(), &document);
    const IMS_ProxyMessage from_strings(&other, text, text, &document);
    EXPECT_EQ(conn.calls, other.calls);
    EXPECT_EQ(conn.calls.back(), "setHeader(Content-Type, application/xml)");
}

TEST_F(ARouteMessage, IsSentWithItsDocument)
{
    document.ip_address = "192.0.2.1";
    IMS_ProxyMessage message(&conn, "<sip:a@h>", "<sip:b@h>", &document);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("setBody(" + std::to_string(document.buffer_length) + ")", "send()"));
    EXPECT_EQ(conn.sent_body, std::string(document.buffer, static_cast<std::size_t>(document.buffer_length)));
    EXPECT_NE(conn.sent_body.find("<ip-address>192.0.2.1</ip-address>"), std::string::npos) << conn.sent_body;
}

TEST_F(ARouteMessage, IsNotSentWhenItsDocumentCannotBeEncoded)
{
    struct : IMSSetRouteXml {
        int encodeXml() override { return -1; }
    } broken;
    IMS_ProxyMessage message(&conn, "<sip:a@h>", "<sip:b@h>", &broken);
    conn.calls.clear();
    LogRecords log;
    EXPECT_FALSE(message.send());
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "send", "Error encoding XML"}}));
}

TEST_F(ARouteMessage, WithoutADocumentIsSentWithoutABody)
{
    IMS_ProxyMessage message(&conn, "<sip:a@h>", "<sip:b@h>", nullptr);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("send()"));
}

TEST_F(ARouteMessage, OnANullConnectionSetsNothingAndFailsToSend)
{
    LogRecords log;
    IMS_ProxyMessage message(nullptr, "<sip:a@h>", "<sip:b@h>", &document);
    EXPECT_THAT(log.all(), IsEmpty());
    EXPECT_FALSE(message.send());
    EXPECT_EQ(log.all().back(), (LogRecord{4, "send", "failed: Connection is null"}));
}

TEST_F(ARouteMessage, LeavesTheCallersDocumentAlone)
{
    {
        IMS_ProxyMessage message(&conn, "<sip:a@h>", "<sip:b@h>", &document);
        message.send();
    }
    EXPECT_NE(document.buffer, nullptr);
    EXPECT_EQ(document.encodeXml(), 0);
}

static_assert(std::is_base_of<IMS_MessageMsg, IMS_ProxyMessage>::value, "");
static_assert(sizeof(IMS_ProxyMessage) == sizeof(IMS_MessageMsg), "adds no fields");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_ProxyMessage>::value, "");

} // namespace
