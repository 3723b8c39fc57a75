#include "messages/IMS_Subscribe.h"

#include "tests/support/log_records.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ASubscribe, SetsRouteThenEventThenExpires)
{
    RecordingClientConnection conn;
    const IMS_Subscribe subscribe(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", "kiv-link-event", 600,
                                  "<sip:127.0.0.1:5062;transport=udp>", 7);
    EXPECT_THAT(conn.calls, ElementsAre("initRequest(SUBSCRIBE)", "setHeader(From, <sip:a@h>)",
                                        "setHeader(To, <sip:b@h>)", "setHeader(Contact, <sip:c@h>)",
                                        "setImsServerAddress(127.0.0.1, 5062, udp)",
                                        "setHeader(Event, kiv-link-event)", "setHeader(Expires, 600)"));
}

TEST(ASubscribe, CarriesAProfileForLinkAvailabilityAlone)
{
    RecordingClientConnection conn;
    const IMS_Subscribe subscribe(&conn, "<sip:a@h>", "<sip:b@h>", nullptr, "kiv-link-avail-event", 0,
                                  nullptr, 7);
    EXPECT_THAT(conn.calls, ElementsAre("initRequest(SUBSCRIBE)", "setHeader(From, <sip:a@h>)",
                                        "setHeader(To, <sip:b@h>)", "setHeader(Event, kiv-link-avail-event)",
                                        "setHeader(Expires, 0)", "setHeader(Kiv-Profile-ID, 7)"));
}

TEST(ASubscribe, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection a;
    RecordingClientConnection b;
    const std::string address = "<sip:a@127.0.0.1>";
    const IMS_Subscribe from_chars(&a, address.c_str(), address.c_str(), address.c_str(), "e", INT_MAX,
                                   address.c_str(), 1);
    const IMS_Subscribe from_strings(&b, address, address, address, "e", INT_MAX, address, 1);
    EXPECT_EQ(a.calls, b.calls);
    EXPECT_EQ(a.calls.back(), "setHeader(Expires, 2147483647)");
}

TEST(ASubscribe, OnANullConnectionDoesNothingInSilence)
{
    LogRecords log;
    IMS_Subscribe subscribe(static_cast<SIPLIB_SIPClientConnection*>(nullptr), "<sip:a@h>", "<sip:b@h>",
                            "<sip:c@h>", "kiv-link-avail-event", 600, "<sip:r@h>", 7);
    subscribe.set_event("e");
    subscribe.set_expires(1);
    subscribe.set_profile(2);
    EXPECT_THAT(log.all(), IsEmpty());
}

TEST(ASubscribe, TakesANullEvent)
{
    RecordingClientConnection conn;
    const IMS_Subscribe subscribe(&conn, "<sip:a@h>", "<sip:b@h>", nullptr, nullptr, 0, nullptr, 7);
    EXPECT_THAT(conn.calls, testing::Contains("setHeader(Event, (null))"));
}

TEST(ASubscribe, ChangesItsHeadersLater)
{
    RecordingServerConnection conn;
    IMS_Subscribe subscribe(&conn);
    EXPECT_THAT(conn.calls, IsEmpty());
    subscribe.set_expires(-1);
    subscribe.set_event("other");
    subscribe.set_profile(INT_MIN);
    EXPECT_THAT(conn.calls, ElementsAre("setHeader(Expires, -1)", "setHeader(Event, other)",
                                        "setHeader(Kiv-Profile-ID, -2147483648)"));
}

TEST(ASubscribe, GoesOnAfterFailuresAndLogsThem)
{
    LogRecords log;
    RecordingClientConnection conn;
    conn.status_of["setHeader"] = 102;
    IMS_Subscribe subscribe(&conn, "<sip:a@h>", "<sip:b@h>", nullptr, "e", 5, nullptr, 0);
    EXPECT_TRUE(log.has(4, "set_header", "failed: tag=Event val=e status=102"));
    EXPECT_TRUE(log.has(4, "set_header", "failed: tag=Expires val=5 status=102"));
    EXPECT_TRUE(subscribe.send());
}

static_assert(std::is_base_of<IMS_Message, IMS_Subscribe>::value, "");
static_assert(sizeof(IMS_Subscribe) == sizeof(IMS_Message), "adds no fields");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_Subscribe>::value, "");

} // namespace
