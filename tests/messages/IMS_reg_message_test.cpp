#include "messages/IMS_reg_message.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"
#include "xml/DALinkEvXmlData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Records = std::vector<LogRecord>;

struct ARegisterRequest : ::testing::Test {
    std::unique_ptr<IMS_reg_message> to_send(XmlData* body, const char* contact = "<sip:c@h>")
    {
        return std::make_unique<IMS_reg_message>(&conn, "<sip:a@h>", "<sip:b@h>", contact, "application/xml",
                                                 body);
    }
    RecordingClientConnection conn;
    ScriptedDocument document;
};

TEST_F(ARegisterRequest, SetsItsHeadersInOrder)
{
    const auto message = to_send(&document);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(REGISTER)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Contact, <sip:c@h>)", "setHeader(Content-Type, application/xml)"));
    EXPECT_EQ(message->body, &document);
    EXPECT_TRUE(message->is_outgoing);
}

TEST_F(ARegisterRequest, HasNoContactWhenNoneIsGiven)
{
    for (const char* contact : {"", static_cast<const char*>(nullptr)}) {
        conn.calls.clear();
        to_send(&document, contact);
        EXPECT_THAT(conn.calls,
                    ElementsAre("initRequest(REGISTER)", "setHeader(From, <sip:a@h>)",
                                "setHeader(To, <sip:b@h>)", "setHeader(Content-Type, application/xml)"));
    }
}

TEST_F(ARegisterRequest, EncodesItsBodyWhenItIsSent)
{
    const auto message = to_send(&document);
    EXPECT_EQ(document.encodes, 0);
    conn.calls.clear();
    LogRecords log;
    EXPECT_TRUE(message->send());
    EXPECT_THAT(conn.calls, ElementsAre("setBody(11)", "send()"));
    EXPECT_THAT(conn.bodies, ElementsAre("<scripted/>"));
    EXPECT_EQ(
        log.all(),
        (Records{{5, "send", "Successfully encoded XML..."}, {5, "set_body", "ok"}, {5, "send", "ok"}}));
}

TEST_F(ARegisterRequest, IsNotSentWhenItsBodyCannotBeEncoded)
{
    document.encode_status = -1;
    const auto message = to_send(&document);
    conn.calls.clear();
    LogRecords log;
    EXPECT_FALSE(message->send());
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (Records{{4, "send", "Error encoding XML"}}));
}

TEST_F(ARegisterRequest, IsSentAlthoughItsBodyWasRefused)
{
    conn.status_of["setBody"] = SIPLIB_ERR_ARGUMENT;
    const auto message = to_send(&document);
    conn.calls.clear();
    EXPECT_TRUE(message->send());
    EXPECT_THAT(conn.calls, ElementsAre("setBody(11)", "send()"));
}

TEST_F(ARegisterRequest, WithoutADocumentIsSentWithoutABody)
{
    const auto message = to_send(nullptr);
    conn.calls.clear();
    LogRecords log;
    EXPECT_TRUE(message->send());
    EXPECT_THAT(conn.calls, ElementsAre("send()"));
    EXPECT_EQ(log.all(), (Records{{5, "send", "ok"}}));
}

TEST_F(ARegisterRequest, TellsWhenTheConnectionDoesNotSend)
{
    conn.status_of["send"] = SIPLIB_ERR_TRANSPORT;
    const auto message = to_send(&document);
    LogRecords log;
    EXPECT_FALSE(message->send());
    EXPECT_EQ(log.all().back(), (LogRecord{4, "send", "failed: status=107"}));
}

TEST_F(ARegisterRequest, OnANullConnectionSetsNothingEncodesAndFails)
{
    LogRecords log;
    IMS_reg_message message(static_cast<SIPLIB_SIPClientConnection*>(nullptr), "a", "b", "c", "d", &document);
    EXPECT_THAT(log.all(), IsEmpty());
    EXPECT_FALSE(message.send());
    EXPECT_EQ(log.all(), (Records{{5, "send", "Successfully encoded XML..."},
                                  {4, "set_body", "failed: Connection is null"},
                                  {4, "send", "failed: Connection is null"}}));
}

TEST_F(ARegisterRequest, LeavesTheCallersDocumentAlone)
{
    to_send(&document);
    EXPECT_EQ(ScriptedDocument::alive, 1);
}

TEST_F(ARegisterRequest, CarriesADocumentOfTheLibrary)
{
    DALinkEvXmlData link;
    link.name = "internet";
    EXPECT_TRUE(to_send(&link)->send());
    EXPECT_EQ(conn.sent_body, std::string(link.buffer, static_cast<std::size_t>(link.buffer_length)));
    EXPECT_NE(conn.sent_body.find("<name>internet</name>"), std::string::npos);
}

TEST_F(ARegisterRequest, ThatWasReceivedReadsNoBodyAndOwnsWhatItIsGiven)
{
    RecordingServerConnection received;
    {
        IMS_reg_message message(&received);
        EXPECT_EQ(message.body, nullptr);
        EXPECT_FALSE(message.is_outgoing);
        EXPECT_THAT(received.calls, IsEmpty());
        message.body = new ScriptedDocument;
        EXPECT_EQ(ScriptedDocument::alive, 2); // and the fixture's
        EXPECT_TRUE(message.send());           // an answer: nothing is encoded
        EXPECT_THAT(received.calls, ElementsAre("send()"));
    }
    EXPECT_EQ(ScriptedDocument::alive, 1);
}

TEST_F(ARegisterRequest, LogsHowItsBodyWasParsed)
{
    RecordingServerConnection received;
    IMS_reg_message message(&received);
    auto* body = new ScriptedDocument;
    message.body = body;
    LogRecords log;
    message.parse();
    body->parse_status = -1;
    message.parse();
    EXPECT_EQ(log.all(), (Records{PARSED, NOT_PARSED}));
    EXPECT_EQ(body->parses, 2);
}

static_assert(std::is_base_of<IMS_Message, IMS_reg_message>::value, "");
static_assert(!std::is_copy_constructible<IMS_reg_message>::value, "");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_reg_message>::value, "");

} // namespace
