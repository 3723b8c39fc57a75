// Whole exchanges between two ends of the library, over loopback.
#include "sip_fixture.h"

namespace {

struct Way {
    const char* address;
    const char* transport;
};

class AnExchange : public WithStack, public ::testing::WithParamInterface<Way> {
protected:
    AnExchange() : WithStack(GetParam().address) {}
    const char* transport() const { return GetParam().transport; }
};

TEST_P(AnExchange, CarriesARequestAndItsResponse)
{
    start();
    RequestEars server;
    ResponseEars client;
    int port = 0;
    ASSERT_TRUE(listen(&server, port));
    SIPLIB_SIPClientConnection* out = request("MESSAGE", port, transport(), &client);
    ASSERT_TRUE(out);
    EXPECT_EQ(out->setHeader("Content-Type", "text/plain"), SIPLIB_OK);
    EXPECT_EQ(out->setBody("hello\r\n\r\nworld", 14), SIPLIB_OK);
    ASSERT_EQ(out->send(), SIPLIB_OK);

    SIPLIB_SIPConnection* in = server.next();
    ASSERT_TRUE(in);
    EXPECT_EQ(in->receive(), SIPLIB_OK);
    EXPECT_EQ(method(in), "MESSAGE");
    EXPECT_EQ(header(in, "Content-Type"), "text/plain");
    EXPECT_EQ(body(in), "hello\r\n\r\nworld");
    ASSERT_EQ(in->initResponse(200), SIPLIB_OK);
    EXPECT_EQ(in->setHeader("Server", "test/1"), SIPLIB_OK);
    EXPECT_EQ(in->setBody("fine", 4), SIPLIB_OK);
    ASSERT_EQ(in->send(), SIPLIB_OK);

    ASSERT_EQ(client.next(), out);
    ASSERT_EQ(out->receive(), SIPLIB_OK);
    int code = 0;
    EXPECT_EQ(out->getResponseCode(code), SIPLIB_OK);
    EXPECT_EQ(code, 200);
    EXPECT_EQ(header(out, "Server"), "test/1");
    EXPECT_EQ(body(out), "fine");
    EXPECT_EQ(method(out), "MESSAGE");
    EXPECT_EQ(out->receive(), SIPLIB_ERR_STATE);
}

// The life of a subscription: SUBSCRIBE, 200, NOTIFY in the dialog, 200.
TEST_P(AnExchange, CarriesASubscriptionAndItsNotification)
{
    start();
    RequestEars notifier_ears;
    RequestEars subscriber_ears;
    ResponseEars responses;
    int notifier_port = 0;
    int subscriber_port = 0;
    ASSERT_TRUE(listen(&notifier_ears, notifier_port));
    ASSERT_TRUE(listen(&subscriber_ears, subscriber_port));

    SIPLIB_SIPClientConnection* subscribe = request("SUBSCRIBE", notifier_port, transport(), &responses);
    ASSERT_TRUE(subscribe);
    subscribe->setHeader("Event", "reg");
    subscribe->setHeader("Expires", "600");
    subscribe->setHeader("Contact", ("<" + uri(subscriber_port, transport()) + ">").c_str());
    ASSERT_EQ(subscribe->send(), SIPLIB_OK);
    SIPLIB_SIPConnection* subscription = notifier_ears.next();
    ASSERT_TRUE(subscription);
    EXPECT_EQ(method(subscription), "SUBSCRIBE");
    ASSERT_EQ(subscription->initResponse(200), SIPLIB_OK);
    subscription->setHeader("Expires", "600");
    subscription->setHeader("Contact", ("<" + uri(notifier_port, transport()) + ">").c_str());
    ASSERT_EQ(subscription->send(), SIPLIB_OK);
    ASSERT_EQ(responses.next_status(), 200);

    SIPLIB_SIPDialog* dialog = subscription->getDialog();
    ASSERT_TRUE(dialog);
    SIPLIB_SIPClientConnection* notify = dialog->newRequest("NOTIFY");
    ASSERT_TRUE(notify);
    notify->setHeader("Event", "reg");
    notify->setHeader("Subscription-State", "active;expires=600");
    notify->setListener(&responses);
    ASSERT_EQ(notify->send(), SIPLIB_OK);
    SIPLIB_SIPConnection* notification = subscriber_ears.next();
    ASSERT_TRUE(notification);
    EXPECT_EQ(method(notification), "NOTIFY");
    EXPECT_EQ(header(notification, "Call-ID"), header(subscribe, "Call-ID"));
    EXPECT_EQ(notification->getDialog(), subscribe->getDialog());
    ASSERT_TRUE(notification->getDialog());
    EXPECT_EQ(answer(notification, 200), SIPLIB_OK);
    EXPECT_EQ(responses.next_status(), 200);
}

TEST_P(AnExchange, GoesToTheNextHopWhateverTheRequestUriSays)
{
    start();
    RequestEars server;
    ResponseEars client;
    int port = 0;
    ASSERT_TRUE(listen(&server, port));
    SIPLIB_SIPClientConnection* out = request("OPTIONS", 9, transport(), &client);
    ASSERT_EQ(out->setRequestURI("<sip:nobody@192.0.2.1>"), SIPLIB_OK);
    SIPLIB_SipImsServerAddress hop;
    std::strncpy(hop.host, GetParam().address, sizeof hop.host - 1);
    hop.port = port;
    hop.flag = 1;
    hop.transport = transport();
    ASSERT_EQ(out->setImsServerAddress(hop), SIPLIB_OK);
    ASSERT_EQ(out->send(), SIPLIB_OK);
    SIPLIB_SIPConnection* in = server.next();
    ASSERT_TRUE(in);
    EXPECT_EQ(answer(in, 405), SIPLIB_OK);
    EXPECT_EQ(client.next_status(), 405);
}

INSTANTIATE_TEST_SUITE_P(Over, AnExchange,
                         ::testing::Values(Way{"127.0.0.1", "udp"}, Way{"127.0.0.1", "tcp"},
                                           Way{"::1", "udp"}, Way{"::1", "tcp"}),
                         [](const auto& way) {
                             return std::string(way.param.transport) +
                                    (std::strchr(way.param.address, ':') ? "OnIPv6" : "OnIPv4");
                         });

} // namespace
