#include "messages/IMS_NotifyDALinkAvailEv.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;

using Records = std::vector<LogRecord>;

DALinkAvailEvXmlData* read(const IMS_NotifyDALinkAvailEv& notify)
{
    return dynamic_cast<DALinkAvailEvXmlData*>(notify.body);
}

TEST(ALinkAvailabilityNotify, SetsItsHeadersInOrder)
{
    RecordingClientConnection a;
    RecordingClientConnection b;
    DALinkAvailEvXmlData document;
    const IMS_NotifyDALinkAvailEv notify(&a, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
    EXPECT_THAT(a.calls,
                ElementsAre("initRequest(NOTIFY)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Contact, <sip:c@h>)", "setHeader(Event, kiv-link-avail-event)",
                            "setHeader(Expires, 0)", "setHeader(Subscription-State, active)",
                            "setHeader(Content-Type, application/xml)"));
    const IMS_NotifyDALinkAvailEv from_strings(&b, std::string("<sip:a@h>"), std::string("<sip:b@h>"),
                                               std::string("<sip:c@h>"), &document);
    EXPECT_EQ(a.calls, b.calls);
}

TEST(ALinkAvailabilityNotify, SentAndReceivedCarriesTheIeeeForm)
{
    RecordingClientConnection out;
    DALinkAvailEvXmlData document;
    document.access_network = "IEEE";
    document.ieee.ap = "00:11:22:33:44:55";
    IMS_NotifyDALinkAvailEv(&out, "<sip:a@h>", "<sip:b@h>", nullptr, &document).send();
    RecordingServerConnection in;
    in.body = out.sent_body;
    const IMS_NotifyDALinkAvailEv notify(&in);
    ASSERT_NE(read(notify), nullptr);
    EXPECT_EQ(read(notify)->access_network, "IEEE");
    EXPECT_EQ(read(notify)->ieee.ap, "00:11:22:33:44:55");
}

// The element's name starts with a digit: it is sent so, and no XML parser reads it.
TEST(ALinkAvailabilityNotify, OfTheRadioFormIsSentAndCannotBeReceived)
{
    RecordingClientConnection out;
    DALinkAvailEvXmlData document;
    document.access_network = "3GPP";
    document.threegpp.hplmn = "26201";
    EXPECT_TRUE(IMS_NotifyDALinkAvailEv(&out, "<sip:a@h>", "<sip:b@h>", nullptr, &document).send());
    EXPECT_NE(out.sent_body.find("<3GPP>"), std::string::npos);
    RecordingServerConnection in;
    in.body = out.sent_body;
    LogRecords log;
    const IMS_NotifyDALinkAvailEv notify(&in);
    ASSERT_NE(read(notify), nullptr);
    EXPECT_EQ(read(notify)->access_network, "");
    EXPECT_EQ(
        of_body_reading(log),
        (Records{{5, "get_body", "len=" + std::to_string(in.body.size())}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TEST(ALinkAvailabilityNotify, ReceivedEmptyHasNoDocument)
{
    LogRecords log;
    RecordingServerConnection conn;
    const IMS_NotifyDALinkAvailEv notify(&conn);
    EXPECT_EQ(notify.body, nullptr);
    EXPECT_EQ(log.all(), (Records{{5, "get_body", "len=0"}}));
}

TEST(ALinkAvailabilityNotify, ReceivedThroughNoConnectionHasAnEmptyDocument)
{
    LogRecords log;
    const IMS_NotifyDALinkAvailEv notify(static_cast<SIPLIB_SIPConnection*>(nullptr));
    EXPECT_NE(read(notify), nullptr);
    EXPECT_EQ(of_body_reading(log),
              (Records{{4, "get_body", "get_body failed: Connection is null"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

static_assert(sizeof(IMS_NotifyDALinkAvailEv) == sizeof(IMS_Notify), "adds no fields");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_NotifyDALinkAvailEv>::value, "");

} // namespace
