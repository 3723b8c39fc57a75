#include "tools/imswatch/received_notify.h"

#include "tests/support/fake_sip.h"
#include "tests/support/log_records.h"
#include "xml/DALinkEvXmlData.h"

#include <gtest/gtest.h>

namespace {

// A NOTIFY with a body.
struct Received : Fake_request {
    int getBody(char* buf, int& len) override
    {
        const auto size =
            body.size() < static_cast<std::size_t>(len) ? body.size() : static_cast<std::size_t>(len);
        std::memcpy(buf, body.data(), size);
        len = static_cast<int>(size);
        return SIPLIB_OK;
    }
    std::string body;
};

struct AReceivedNotify : ::testing::Test {
    AReceivedNotify()
    {
        view.package = "kiv-link-event";
        notify.received = {{"Subscription-State", "active;expires=10"}, {"Kiv-Profile-ID", "3"}};
    }
    LogRecords log;
    Received notify;
    Notify_view view;
};

TEST_F(AReceivedNotify, OfALinkIsReadFromItsDocument)
{
    DALinkEvXmlData document;
    document.name = "home";
    document.profile_id = 3;
    document.ieee.access_type = "802.3";
    document.device.name = "eth0";
    document.device.status = "down";
    document.device.cause = "no-carrier";
    ASSERT_EQ(document.encodeXml(), 0);
    notify.body.assign(document.buffer, static_cast<std::size_t>(document.buffer_length));
    ASSERT_TRUE(read_notify(notify, view));
    EXPECT_EQ(view.kind, Notify_view::Body::link);
    EXPECT_EQ(view.subscription.expires, 10u);
    EXPECT_EQ(view.profile_header, "3");
    EXPECT_EQ(view.profile_name, "home");
    EXPECT_EQ(view.name, "eth0");
    EXPECT_EQ(view.cause, "no-carrier");
    EXPECT_EQ(view.access_type, "802.3");
}

TEST_F(AReceivedNotify, OfAnAccessIsReadUnlessNobodyCanReadIt)
{
    view.package = "kiv-link-avail-event";
    notify.body =
        "<link-info><network><access-network>IEEE</access-network><IEEE><access-type>802.11</access-type>"
        "<AP>wlan0</AP></IEEE></network></link-info>";
    ASSERT_TRUE(read_notify(notify, view));
    EXPECT_EQ(view.kind, Notify_view::Body::access);
    EXPECT_EQ(view.access_type, "802.11");
    EXPECT_EQ(view.access_point, "wlan0");
    notify.body = "<link-info><network><access-network>3GPP</access-network><3GPP/></network></link-info>";
    ASSERT_TRUE(read_notify(notify, view));
    EXPECT_EQ(view.kind, Notify_view::Body::unknown);
}

TEST_F(AReceivedNotify, OfAnotherKindIsShownAsItCameOnOneLine)
{
    notify.body = "what\r\nis\x1b[2Jthis";
    ASSERT_TRUE(read_notify(notify, view));
    EXPECT_EQ(view.kind, Notify_view::Body::unknown);
    EXPECT_EQ(view.raw, "what  is [2Jthis");
    notify.body.clear();
    view.kind = Notify_view::Body::none;
    ASSERT_TRUE(read_notify(notify, view));
    EXPECT_EQ(view.kind, Notify_view::Body::none);
}

TEST_F(AReceivedNotify, WithoutItsStateIsRefused)
{
    notify.received.erase("Subscription-State");
    EXPECT_FALSE(read_notify(notify, view));
}

} // namespace
