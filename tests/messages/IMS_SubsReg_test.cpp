#include "messages/IMS_SubsReg.h"

#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;

TEST(ARegistrationSubscribe, AsksForItsPackageWithExpiresZero)
{
    RecordingClientConnection conn;
    const IMS_SubsReg subscribe(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>");
    EXPECT_THAT(conn.calls, ElementsAre("initRequest(SUBSCRIBE)", "setHeader(From, <sip:a@h>)",
                                        "setHeader(To, <sip:b@h>)", "setHeader(Contact, <sip:c@h>)",
                                        "setHeader(Event, kiv-reg-event-info)", "setHeader(Expires, 0)"));
}

TEST(ARegistrationSubscribe, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection a;
    RecordingClientConnection b;
    std::string address = "<sip:a@h>";
    const IMS_SubsReg from_chars(&a, address.c_str(), address.c_str(), address.c_str());
    const IMS_SubsReg from_strings(&b, address, address, address);
    EXPECT_EQ(a.calls, b.calls);
}

TEST(ARegistrationSubscribe, TakesAnotherExpiryBeforeItIsSent)
{
    RecordingClientConnection conn;
    IMS_SubsReg subscribe(&conn, "<sip:a@h>", "<sip:b@h>", nullptr);
    conn.calls.clear();
    subscribe.set_expires(3600);
    EXPECT_TRUE(subscribe.send());
    EXPECT_THAT(conn.calls, ElementsAre("setHeader(Expires, 3600)", "send()"));
}

static_assert(std::is_base_of<IMS_Subscribe, IMS_SubsReg>::value, "");
static_assert(sizeof(IMS_SubsReg) == sizeof(IMS_Subscribe), "adds no fields");

} // namespace
