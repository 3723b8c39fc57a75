#include "messages/IMS_SubsDALinkAvailEv.h"

#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;

TEST(ALinkAvailabilitySubscribe, AsksForItsPackageWithExpiresZero)
{
    RecordingClientConnection conn;
    const IMS_SubsDALinkAvailEv subscribe(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", -1);
    EXPECT_THAT(conn.calls, ElementsAre("initRequest(SUBSCRIBE)", "setHeader(From, <sip:a@h>)",
                                        "setHeader(To, <sip:b@h>)", "setHeader(Contact, <sip:c@h>)",
                                        "setHeader(Event, kiv-link-avail-event)", "setHeader(Expires, 0)",
                                        "setHeader(Kiv-Profile-ID, -1)"));
}

TEST(ALinkAvailabilitySubscribe, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection a;
    RecordingClientConnection b;
    std::string address = "<sip:a@h>";
    const IMS_SubsDALinkAvailEv from_chars(&a, address.c_str(), address.c_str(), address.c_str(), -1);
    const IMS_SubsDALinkAvailEv from_strings(&b, address, address, address, -1);
    EXPECT_EQ(a.calls, b.calls);
}

TEST(ALinkAvailabilitySubscribe, TakesAnotherExpiryBeforeItIsSent)
{
    RecordingClientConnection conn;
    IMS_SubsDALinkAvailEv subscribe(&conn, "<sip:a@h>", "<sip:b@h>", nullptr, -1);
    conn.calls.clear();
    subscribe.set_expires(3600);
    EXPECT_TRUE(subscribe.send());
    EXPECT_THAT(conn.calls, ElementsAre("setHeader(Expires, 3600)", "send()"));
}

static_assert(std::is_base_of<IMS_Subscribe, IMS_SubsDALinkAvailEv>::value, "");
static_assert(sizeof(IMS_SubsDALinkAvailEv) == sizeof(IMS_Subscribe), "adds no fields");

} // namespace
