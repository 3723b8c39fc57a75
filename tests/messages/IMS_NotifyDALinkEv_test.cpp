#include "messages/IMS_NotifyDALinkEv.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

using testing::ElementsAre;

using Records = std::vector<LogRecord>;

DALinkEvXmlData* read(const IMS_NotifyDALinkEv& notify)
{
    return dynamic_cast<DALinkEvXmlData*>(notify.body);
}

TEST(ALinkEventNotify, SetsItsHeadersInOrder)
{
    RecordingClientConnection conn;
    DALinkEvXmlData document;
    const IMS_NotifyDALinkEv notify(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document, 7);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(NOTIFY)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Contact, <sip:c@h>)", "setHeader(Event, kiv-link-event)",
                            "setHeader(Expires, 1)", "setHeader(Subscription-State, active)",
                            "setHeader(Kiv-Profile-ID, 7)", "setHeader(Content-Type, application/xml)"));
}

TEST(ALinkEventNotify, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection a;
    RecordingClientConnection b;
    DALinkEvXmlData document;
    const std::string text = "<sip:a@h>";
    const IMS_NotifyDALinkEv from_chars(&a, "<sip:a@h>", "<sip:a@h>", "<sip:a@h>", &document, -1);
    const IMS_NotifyDALinkEv from_strings(&b, text, text, text, &document, -1);
    EXPECT_EQ(a.calls, b.calls);
    EXPECT_EQ(a.calls[7], "setHeader(Kiv-Profile-ID, -1)");
}

TEST(ALinkEventNotify, IsSentWithItsDocument)
{
    RecordingClientConnection conn;
    DALinkEvXmlData document;
    document.name = "internet";
    IMS_NotifyDALinkEv notify(&conn, "<sip:a@h>", "<sip:b@h>", nullptr, &document, 7);
    EXPECT_TRUE(notify.send());
    EXPECT_EQ(conn.sent_body, std::string(document.buffer, static_cast<std::size_t>(document.buffer_length)));
    EXPECT_NE(conn.sent_body.find("<name>internet</name>"), std::string::npos);
}

TEST(ALinkEventNotify, SentAndReceivedCarriesTheEvent)
{
    RecordingClientConnection out;
    DALinkEvXmlData document;
    document.name = "internet";
    document.profile_id = 7;
    document.device.status = "up";
    IMS_NotifyDALinkEv(&out, "<sip:a@h>", "<sip:b@h>", nullptr, &document, 7).send();
    RecordingServerConnection in;
    in.body = out.sent_body;
    LogRecords log;
    const IMS_NotifyDALinkEv notify(&in);
    ASSERT_NE(read(notify), nullptr);
    EXPECT_EQ(read(notify)->name, "internet");
    EXPECT_EQ(read(notify)->profile_id, 7);
    EXPECT_EQ(read(notify)->device.status, "up");
    EXPECT_EQ(of_body_reading(log),
              (Records{{5, "get_body", "len=" + std::to_string(in.body.size())}, PARSED}));
    EXPECT_THAT(in.calls, ElementsAre("getBody(1024)"));
}

TEST(ALinkEventNotify, ReceivedEmptyHasNoDocument)
{
    LogRecords log;
    RecordingServerConnection conn;
    const IMS_NotifyDALinkEv notify(&conn);
    EXPECT_EQ(notify.body, nullptr);
    EXPECT_FALSE(notify.is_outgoing);
    EXPECT_EQ(log.all(), (Records{{5, "get_body", "len=0"}}));
}

TEST(ALinkEventNotify, ReceivedAsGarbageHasAnEmptyDocument)
{
    LogRecords log;
    RecordingServerConnection conn;
    conn.body = "no xml at all";
    const IMS_NotifyDALinkEv notify(&conn);
    ASSERT_NE(read(notify), nullptr);
    EXPECT_EQ(read(notify)->name, "");
    EXPECT_EQ(notify.body->buffer, nullptr);
    EXPECT_EQ(of_body_reading(log), (Records{{5, "get_body", "len=13"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TEST(ALinkEventNotify, ReceivedThroughAFailingConnectionHasAnEmptyDocument)
{
    LogRecords log;
    RecordingServerConnection conn;
    conn.status_of["getBody"] = SIPLIB_ERR_STATE;
    const IMS_NotifyDALinkEv notify(&conn);
    ASSERT_NE(read(notify), nullptr);
    EXPECT_EQ(of_body_reading(log),
              (Records{{4, "get_body", "failed: len=1024 status=103"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TEST(ALinkEventNotify, ReceivedThroughNoConnectionHasAnEmptyDocument)
{
    LogRecords log;
    const IMS_NotifyDALinkEv notify(static_cast<SIPLIB_SIPConnection*>(nullptr));
    ASSERT_NE(read(notify), nullptr);
    EXPECT_EQ(of_body_reading(log),
              (Records{{4, "get_body", "get_body failed: Connection is null"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

// A body that fills the buffer exactly, then one byte more.
TEST(ALinkEventNotify, ReceivedIsReadUpTo1024Bytes)
{
    const std::string head = "<link-info><profile-info><name>";
    const std::string tail = "</name></profile-info></link-info>";
    RecordingServerConnection conn;
    conn.body = head + std::string(1024 - head.size() - tail.size(), 'n') + tail;
    ASSERT_EQ(conn.body.size(), 1024u);
    const IMS_NotifyDALinkEv whole(&conn);
    EXPECT_EQ(read(whole)->name.size(), 1024 - head.size() - tail.size());
    conn.body = head + std::string(1025 - head.size() - tail.size(), 'n') + tail;
    LogRecords log;
    const IMS_NotifyDALinkEv cut(&conn);
    EXPECT_EQ(read(cut)->name, "");
    EXPECT_EQ(of_body_reading(log),
              (Records{{4, "get_body", "failed: len=1024 status=105"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TEST(ALinkEventNotify, ReceivedIsAnsweredWithoutABody)
{
    RecordingServerConnection conn;
    conn.body = "<link-info/>";
    IMS_NotifyDALinkEv notify(&conn);
    conn.calls.clear();
    EXPECT_TRUE(notify.init_response(200));
    EXPECT_TRUE(notify.send());
    EXPECT_THAT(conn.calls, ElementsAre("initResponse(200)", "send()"));
}

TEST(ALinkEventNotify, IsDestroyedThroughItsBase)
{
    RecordingServerConnection conn;
    conn.body = "<link-info/>";
    const std::unique_ptr<IMS_Message> message = std::make_unique<IMS_NotifyDALinkEv>(&conn);
    EXPECT_NE(message, nullptr); // the leak checker sees the document go
}

static_assert(std::is_base_of<IMS_Notify, IMS_NotifyDALinkEv>::value, "");
static_assert(sizeof(IMS_NotifyDALinkEv) == sizeof(IMS_Notify), "adds no fields");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_NotifyDALinkEv>::value, "");

} // namespace
