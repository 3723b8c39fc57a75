#include "messages/IMS_Notify.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ANotify : public testing::Test {
protected:
    RecordingClientConnection conn;
    ScriptedDocument document;
    LogRecords log;
};

TEST_F(ANotify, SetsItsHeadersInOrder)
{
    const IMS_Notify notify(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", "kiv-reg-event-info",
                            "application/reginfo+xml", &document, "active", 3600, 4);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(NOTIFY)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Contact, <sip:c@h>)", "setHeader(Event, kiv-reg-event-info)",
                            "setHeader(Expires, 3600)", "setHeader(Subscription-State, active)",
                            "setHeader(Content-Type, application/reginfo+xml)"));
    EXPECT_EQ(notify.body, &document);
    EXPECT_TRUE(notify.is_outgoing);
}

TEST_F(ANotify, OfALinkEventCarriesTheProfileBeforeTheContentType)
{
    const IMS_Notify notify(&conn, "<sip:a@h>", "<sip:b@h>", "", "kiv-link-event", "application/xml",
                            &document, "terminated", 0, -1);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(NOTIFY)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Event, kiv-link-event)", "setHeader(Expires, 0)",
                            "setHeader(Subscription-State, terminated)", "setHeader(Kiv-Profile-ID, -1)",
                            "setHeader(Content-Type, application/xml)"));
}

TEST_F(ANotify, OfAnyOtherEventCarriesNoProfile)
{
    for (const char* event : {"kiv-link-avail-event", "kiv-link-event ", "KIV-LINK-EVENT", ""})
        IMS_Notify(&conn, "<sip:a@h>", "<sip:b@h>", "", event, "application/xml", &document, "active", 0, 9);
    EXPECT_THAT(conn.calls_of("setHeader").size(), 4u * 6u);
    for (const std::string& call : conn.calls)
        EXPECT_EQ(call.find("Kiv-Profile-ID"), std::string::npos) << call;
}

TEST_F(ANotify, PassesNullTextsOn)
{
    conn.status_of["setHeader"] = SIPLIB_ERR_ARGUMENT;
    const IMS_Notify notify(&conn, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, -5, 0);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(NOTIFY)", "setHeader(Event, (null))", "setHeader(Expires, -5)",
                            "setHeader(Subscription-State, (null))", "setHeader(Content-Type, (null))"));
}

TEST_F(ANotify, PutsItsBodyInWhenItIsSent)
{
    IMS_Notify notify(&conn, "<sip:a@h>", "<sip:b@h>", "", "e", "application/xml", &document, "active", 1, 0);
    conn.calls.clear();
    log.clear();
    EXPECT_TRUE(notify.send());
    EXPECT_THAT(conn.calls, ElementsAre("setBody(11)", "send()"));
    EXPECT_EQ(conn.sent_body, "<scripted/>");
    EXPECT_EQ(log.all(),
              (std::vector<LogRecord>{
                  {5, "send", "Successfully encoded XML..."}, {5, "set_body", "ok"}, {5, "send", "ok"}}));
}

TEST_F(ANotify, IsNotSentWhenItsBodyCannotBeEncoded)
{
    document.encode_status = -1;
    IMS_Notify notify(&conn, "<sip:a@h>", "<sip:b@h>", "", "e", "application/xml", &document, "active", 1, 0);
    conn.calls.clear();
    log.clear();
    EXPECT_FALSE(notify.send());
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "send", "Error encoding XML"}}));
}

TEST_F(ANotify, IsSentThoughItsBodyWasRefused)
{
    conn.status_of["setBody"] = 108;
    IMS_Notify notify(&conn, "<sip:a@h>", "<sip:b@h>", "", "e", "application/xml", &document, "active", 1, 0);
    EXPECT_TRUE(notify.send());
}

TEST_F(ANotify, WithoutABodyIsSentWithoutOne)
{
    IMS_Notify notify(&conn, "<sip:a@h>", "<sip:b@h>", "", "e", "application/xml", nullptr, "active", 1, 0);
    conn.calls.clear();
    EXPECT_TRUE(notify.send());
    EXPECT_THAT(conn.calls, ElementsAre("send()"));
    conn.status_of["send"] = 107;
    EXPECT_FALSE(notify.send());
}

TEST_F(ANotify, OnANullConnectionSetsNothingAndFailsToSendAfterEncoding)
{
    IMS_Notify notify(static_cast<SIPLIB_SIPClientConnection*>(nullptr), "<sip:a@h>", "<sip:b@h>", "",
                      "kiv-link-event", "application/xml", &document, "active", 1, 0);
    EXPECT_THAT(log.all(), IsEmpty());
    EXPECT_EQ(notify.body, &document);
    EXPECT_FALSE(notify.send());
    EXPECT_EQ(document.encodes, 1);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "send", "Successfully encoded XML..."},
                                                 {4, "set_body", "failed: Connection is null"},
                                                 {4, "send", "failed: Connection is null"}}));
}

TEST_F(ANotify, LeavesTheCallersDocumentAlone)
{
    const int alive = ScriptedDocument::alive;
    IMS_Notify(&conn, "<sip:a@h>", "<sip:b@h>", "", "e", "t", &document, "active", 1, 0).send();
    EXPECT_EQ(ScriptedDocument::alive, alive);
}

TEST_F(ANotify, ThatWasReceivedReadsNoBodyAndEncodesNone)
{
    RecordingServerConnection received;
    {
        IMS_Notify notify(&received);
        EXPECT_EQ(notify.body, nullptr);
        EXPECT_FALSE(notify.is_outgoing);
        EXPECT_THAT(received.calls, IsEmpty());
        notify.body = new ScriptedDocument; // owned from here on
        notify.parse();
        EXPECT_TRUE(notify.init_response(200));
        EXPECT_TRUE(notify.send());
        EXPECT_THAT(received.calls, ElementsAre("initResponse(200)", "send()"));
    }
    EXPECT_EQ(ScriptedDocument::alive, 1) << "only the fixture's document is left";
}

TEST_F(ANotify, ParsesWhatItHolds)
{
    RecordingServerConnection received;
    IMS_Notify notify(&received);
    notify.parse(); // no document: nothing to do
    auto* held = new ScriptedDocument;
    notify.body = held;
    notify.parse();
    held->parse_status = -1;
    notify.parse();
    EXPECT_EQ(held->parses, 2);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{PARSED, NOT_PARSED}));
}

TEST_F(ANotify, IsSentThroughItsBaseClass)
{
    IMS_Notify notify(&conn, "<sip:a@h>", "<sip:b@h>", "", "e", "t", &document, "active", 1, 0);
    IMS_Message& message = notify;
    EXPECT_TRUE(message.send());
    EXPECT_EQ(document.encodes, 1);
}

static_assert(std::is_base_of<IMS_Message, IMS_Notify>::value, "");
static_assert(!std::is_copy_constructible<IMS_Notify>::value, "");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_Notify>::value, "");
static_assert(sizeof(IMS_Notify::is_outgoing) == 1, "");

} // namespace
