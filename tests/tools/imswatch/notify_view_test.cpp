#include "tools/imswatch/notify_view.h"

#include <gtest/gtest.h>

namespace {

Notify_view a_link()
{
    Notify_view view;
    view.package = "kiv-link-event";
    view.subscription.state = "active";
    view.subscription.expires = 600;
    view.profile_header = "1";
    view.kind = Notify_view::Body::link;
    view.profile_name = "default";
    view.profile_id = 1;
    view.reference = 2;
    view.name = "eth0";
    view.mac = "02:00:00:00:00:01";
    view.ip_address = "192.0.2.1";
    view.status = "up";
    view.cause = "operational";
    view.network = "IEEE";
    view.access_type = "802.3";
    view.access_point = "eth0";
    return view;
}

TEST(ANotify, IsOneLineForPeople)
{
    EXPECT_EQ(
        print_text(a_link(), "T"),
        "T  kiv-link-event  active for 600 s  eth0 is up, operational  ip 192.0.2.1  mac 02:00:00:00:00:01  "
        "access IEEE 802.3 over eth0  profile default");
    auto view = a_link();
    view.kind = Notify_view::Body::access;
    view.network = "";
    view.subscription = {"terminated", "timeout", std::nullopt, std::nullopt};
    EXPECT_EQ(print_text(view, "T"), "T  kiv-link-event  terminated (timeout)  access none");
    view.kind = Notify_view::Body::none;
    EXPECT_EQ(print_text(view, "T"), "T  kiv-link-event  terminated (timeout)  no document");
}

TEST(ANotify, IsOneJsonObjectForPrograms)
{
    EXPECT_EQ(
        print_json(a_link(), "T"),
        R"({"type":"notify","time":"T","package":"kiv-link-event","state":"active","expires":600,)"
        R"("profile_header":"1","profile":{"id":1,"name":"default"},)"
        R"("link":{"reference":2,"name":"eth0","mac":"02:00:00:00:00:01","ip":"192.0.2.1","status":"up",)"
        R"("cause":"operational"},"access":{"network":"IEEE","type":"802.3","point":"eth0"}})");
    auto view = a_link();
    view.kind = Notify_view::Body::unknown;
    view.raw = "\"quoted\" \xff";
    view.subscription = {"terminated", "probation", std::nullopt, 2};
    EXPECT_EQ(print_json(view, "T"),
              "{\"type\":\"notify\",\"time\":\"T\",\"package\":\"kiv-link-event\",\"state\":\"terminated\","
              "\"reason\":\"probation\",\"retry_after\":2,\"profile_header\":\"1\","
              "\"body\":\"\\\"quoted\\\" \xef\xbf\xbd\"}");
}

TEST(ALineAboutTheSubscription, HasBothForms)
{
    EXPECT_EQ(print_text("refused", "status 489", "T"), "T  refused: status 489");
    EXPECT_EQ(print_json("refused", "status 489", "T"),
              R"({"type":"refused","time":"T","detail":"status 489"})");
}

TEST(ASubscriptionState, IsReadWhateverItsCapitals)
{
    Subscriber::Notified state;
    ASSERT_TRUE(parse_subscription_state("Terminated;Reason=Probation;retry-after=5", state));
    EXPECT_EQ(state.state, "terminated");
    EXPECT_EQ(state.reason, "probation");
    EXPECT_EQ(state.retry_after, 5u);
    EXPECT_FALSE(state.expires);
    ASSERT_TRUE(parse_subscription_state("active;expires=soon", state));
    EXPECT_FALSE(state.expires);
    EXPECT_FALSE(parse_subscription_state("", state));
}

} // namespace
