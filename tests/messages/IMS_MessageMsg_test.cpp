#include "messages/IMS_MessageMsg.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(AMessageRequest, SetsFromToAndContentTypeAlone)
{
    RecordingClientConnection conn;
    ScriptedDocument document;
    const IMS_MessageMsg message(&conn, "<sip:a@h>", "<sip:b@h>", "application/xml", &document);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(MESSAGE)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Content-Type, application/xml)"));
    EXPECT_EQ(message.body, &document);
    EXPECT_TRUE(message.is_outgoing);
}

TEST(AMessageRequest, PutsItsBodyInWhenItIsSent)
{
    RecordingClientConnection conn;
    ScriptedDocument document;
    IMS_MessageMsg message(&conn, "<sip:a@h>", "<sip:b@h>", "application/xml", &document);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("setBody(11)", "send()"));
}

TEST(AMessageRequest, IsNotSentWhenItsBodyCannotBeEncoded)
{
    LogRecords log;
    RecordingClientConnection conn;
    ScriptedDocument document;
    document.encode_status = -1;
    IMS_MessageMsg message(&conn, "<sip:a@h>", "<sip:b@h>", "application/xml", &document);
    EXPECT_FALSE(message.send());
    EXPECT_THAT(conn.calls_of("send"), IsEmpty());
    EXPECT_EQ(log.all().back(), (LogRecord{4, "send", "Error encoding XML"}));
}

TEST(AMessageRequest, OnANullConnectionSetsNothingAndFailsToSend)
{
    LogRecords log;
    ScriptedDocument document;
    IMS_MessageMsg message(static_cast<SIPLIB_SIPClientConnection*>(nullptr), "a", "b", "c", &document);
    EXPECT_THAT(log.all(), IsEmpty());
    EXPECT_FALSE(message.send());
    EXPECT_EQ(log.all().back(), (LogRecord{4, "send", "failed: Connection is null"}));
}

TEST(AMessageRequest, ThatWasReceivedReadsNoBodyAndOwnsWhatItIsGiven)
{
    LogRecords log;
    RecordingServerConnection conn;
    {
        IMS_MessageMsg message(&conn);
        EXPECT_EQ(message.body, nullptr);
        EXPECT_FALSE(message.is_outgoing);
        EXPECT_THAT(conn.calls, IsEmpty());
        message.body = new ScriptedDocument;
        message.parse();
        EXPECT_TRUE(message.send());
        EXPECT_THAT(conn.calls, ElementsAre("send()"));
    }
    EXPECT_EQ(ScriptedDocument::alive, 0);
    EXPECT_TRUE(log.has(5, "parse", "Successfully parsed XML"));
}

static_assert(std::is_base_of<IMS_Message, IMS_MessageMsg>::value, "");
static_assert(!std::is_copy_constructible<IMS_MessageMsg>::value, "");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_MessageMsg>::value, "");

} // namespace
