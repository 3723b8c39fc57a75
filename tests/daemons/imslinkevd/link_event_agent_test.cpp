#include "daemons/imslinkevd/link_event_agent.h"

#include "tests/support/fake_sip.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <csignal>
#include <gtest/gtest.h>

namespace {

// Lets a test take the main loop's turns.
struct Agent : Link_event_agent {
    using IMS_User_Agent::process_one_message;
};

// The agent on fakes of the SIP library and on the real kernel's links; "lo" is watched, which is always
// there.
struct ALinkEventAgent : ::testing::Test {
    void open(const std::function<void(Settings&)>& change = nullptr)
    {
        Settings settings;
        settings.links = "lo";
        settings.min_interval = 0;
        if (change) change(settings);
        char name[] = "imslinkevd";
        char* argv[] = {name, nullptr};
        agent.set_options(1, argv);
        ASSERT_TRUE(agent.open(settings, Milliseconds(40000)));
        agent.process_one_message(); // the links
    }
    static Headers good_headers()
    {
        return {{"From", "<sip:watcher@127.0.0.1>;tag=theirs"},
                {"To", "<sip:imslinkevd@127.0.0.1>"},
                {"Call-ID", "c1"},
                {"CSeq", "1 SUBSCRIBE"},
                {"Contact", "<sip:watcher@127.0.0.1:5070>"},
                {"Event", "kiv-link-event"},
                {"Expires", "600"}};
    }
    Fake_request& request(const Headers& headers, const std::string& method = "SUBSCRIBE")
    {
        requests.push_back(std::make_unique<Fake_request>());
        Fake_request& one = *requests.back();
        one.received = headers;
        one.method = method;
        agent.handle_event(MSG_TYPE_SIP_REQUEST, static_cast<SIPLIB_SIPConnection*>(&one));
        return one;
    }
    void answer(Fake_client& notify, int code, const Headers& headers = {})
    {
        notify.code = code;
        notify.response = headers;
        agent.handle_event(MSG_TYPE_SIP_RESPONSE, static_cast<SIPLIB_SIPConnection*>(&notify));
    }
    Fake_client& notify(std::size_t index = 0) { return *connector.clients.at(index); }
    std::size_t notifies() const { return connector.clients.size(); }
    // A request in the dialog that `first` opened.
    static Headers inside(const Fake_request& first, const std::string& cseq, const std::string& expires)
    {
        Headers headers = first.received;
        headers["To"] = first.answer.at("To");
        headers["CSeq"] = cseq + " SUBSCRIBE";
        headers["Expires"] = expires;
        return headers;
    }

    LogRecords log;
    WorkingDir dir;
    Fake_connector connector;
    std::vector<std::unique_ptr<Fake_request>> requests;
    Agent agent;
};

TEST_F(ALinkEventAgent, PublishesWhatItServesAndWhere)
{
    open();
    EXPECT_EQ(dir.read("imslinkevd.cap"), "Event: kiv-link-event\nEvent: kiv-link-avail-event\n"
                                          "Contact: <sip:imslinkevd@127.0.0.1:5080>\n");
}

TEST_F(ALinkEventAgent, AcceptsASubscriberAndNotifiesAtOnceInItsDialog)
{
    open();
    auto& subscribe = request(good_headers());
    EXPECT_EQ(subscribe.code, 200);
    EXPECT_EQ(subscribe.sent, 1);
    EXPECT_EQ(subscribe.answer["Expires"], "600");
    EXPECT_EQ(subscribe.answer["Contact"], "<sip:imslinkevd@127.0.0.1:5080>");
    EXPECT_EQ(subscribe.answer["To"].rfind("<sip:imslinkevd@127.0.0.1>;tag=", 0), 0u);
    ASSERT_EQ(notifies(), 1u);
    auto& first = notify();
    EXPECT_EQ(first.uri, "<sip:watcher@127.0.0.1:5070>");
    EXPECT_EQ(first.method, "NOTIFY");
    EXPECT_EQ(first.headers["From"], subscribe.answer["To"]);
    EXPECT_EQ(first.headers["To"], "<sip:watcher@127.0.0.1>;tag=theirs");
    EXPECT_EQ(first.headers["Call-ID"], "c1");
    EXPECT_EQ(first.headers["Event"], "kiv-link-event");
    EXPECT_EQ(first.headers["Subscription-State"], "active;expires=600");
    EXPECT_EQ(first.headers["Kiv-Profile-ID"], "1");
    EXPECT_EQ(first.headers["Content-Type"], "application/xml");
    EXPECT_NE(first.body.find("<name>lo</name>"), std::string::npos) << first.body;
    EXPECT_EQ(first.sent, 1);
    EXPECT_NE(first.listener, nullptr);
    answer(first, 200);
    EXPECT_EQ(first.closed, 1);
    EXPECT_EQ(notifies(), 1u) << "nothing changed";
}

TEST_F(ALinkEventAgent, NotifiesAvailabilityWithoutAProfile)
{
    open();
    auto headers = good_headers();
    headers["Event"] = "kiv-link-avail-event;id=9";
    request(headers);
    auto& first = notify();
    EXPECT_EQ(first.headers["Event"], "kiv-link-avail-event;id=9");
    EXPECT_EQ(first.headers.count("Kiv-Profile-ID"), 0u);
    EXPECT_NE(first.body.find("<access-network>"), std::string::npos) << first.body;
}

TEST_F(ALinkEventAgent, RefreshesInTheDialogAndEndsOnExpiresZero)
{
    open();
    auto& subscribe = request(good_headers());
    answer(notify(), 200);
    auto& refresh = request(inside(subscribe, "2", "300"));
    EXPECT_EQ(refresh.code, 200);
    EXPECT_EQ(refresh.answer["Expires"], "300");
    EXPECT_EQ(refresh.answer["To"], subscribe.answer["To"]);
    ASSERT_EQ(notifies(), 2u);
    answer(notify(1), 200);
    EXPECT_EQ(request(inside(subscribe, "2", "300")).code, 500) << "CSeq must rise";
    auto& end = request(inside(subscribe, "3", "0"));
    EXPECT_EQ(end.code, 200);
    EXPECT_EQ(end.answer["Expires"], "0");
    ASSERT_EQ(notifies(), 3u);
    EXPECT_EQ(notify(2).headers["Subscription-State"], "terminated;reason=timeout");
    EXPECT_EQ(request(inside(subscribe, "4", "300")).code, 481);
}

TEST_F(ALinkEventAgent, AnswersAFetchWithOneNotifyAndKeepsNothing)
{
    open();
    auto headers = good_headers();
    headers["Expires"] = "0";
    EXPECT_EQ(request(headers).code, 200);
    ASSERT_EQ(notifies(), 1u);
    EXPECT_EQ(notify().headers["Subscription-State"], "terminated;reason=timeout");
    EXPECT_NE(notify().body.find("<name>lo</name>"), std::string::npos);
}

TEST_F(ALinkEventAgent, RefusesWithTheHeaderThatHelps)
{
    open([](Settings& s) { s.max_subscribers = 1; });
    auto headers = good_headers();
    headers["Event"] = "presence";
    auto& bad_event = request(headers);
    EXPECT_EQ(bad_event.code, 489);
    EXPECT_EQ(bad_event.answer["Allow-Events"], "kiv-link-event, kiv-link-avail-event");
    headers = good_headers();
    headers["Expires"] = "5";
    EXPECT_EQ(request(headers).answer["Min-Expires"], "60");
    headers.erase("Contact");
    EXPECT_EQ(request(headers).code, 400);
    auto& publish = request(good_headers(), "PUBLISH");
    EXPECT_EQ(publish.code, 405);
    EXPECT_EQ(publish.answer["Allow"], "SUBSCRIBE, OPTIONS");
    EXPECT_EQ(notifies(), 0u);
    EXPECT_EQ(request(good_headers()).code, 200);
    auto& full = request(good_headers());
    EXPECT_EQ(full.code, 503);
    EXPECT_EQ(full.answer["Retry-After"], "5");
}

TEST_F(ALinkEventAgent, AnswersOptionsAndNeverAnAck)
{
    open();
    auto& options = request(good_headers(), "OPTIONS");
    EXPECT_EQ(options.code, 200);
    EXPECT_EQ(options.answer["Allow"], "SUBSCRIBE, OPTIONS");
    EXPECT_EQ(options.answer["Accept"], "application/xml");
    EXPECT_EQ(options.answer["Allow-Events"], "kiv-link-event, kiv-link-avail-event");
    EXPECT_EQ(request(good_headers(), "ACK").sent, 0);
}

TEST_F(ALinkEventAgent, DropsASubscriberThatAnswersItDoesNotKnowTheSubscription)
{
    open();
    auto& subscribe = request(good_headers());
    answer(notify(), 481);
    EXPECT_EQ(request(inside(subscribe, "2", "300")).code, 481);
}

TEST_F(ALinkEventAgent, KeepsASubscriberThatAsksToRetryLater)
{
    open();
    auto& subscribe = request(good_headers());
    answer(notify(), 100);
    answer(notify(), 503, {{"Retry-After", "10"}});
    EXPECT_EQ(notifies(), 1u);
    EXPECT_EQ(request(inside(subscribe, "2", "300")).code, 200);
}

TEST_F(ALinkEventAgent, DropsASubscriberThatCannotBeReached)
{
    open();
    connector.reachable = false;
    auto& unreachable = request(good_headers());
    EXPECT_EQ(unreachable.code, 200);
    EXPECT_EQ(request(inside(unreachable, "2", "300")).code, 481);
    connector.reachable = true;
    connector.send_result = SIPLIB_ERR_STATE;
    auto& unsendable = request(good_headers());
    EXPECT_EQ(notify().closed, 1);
    EXPECT_EQ(notify().listener, nullptr);
    EXPECT_EQ(request(inside(unsendable, "2", "300")).code, 481);
}

TEST_F(ALinkEventAgent, TellsEverySubscriberWhenItEnds)
{
    open();
    request(good_headers());
    answer(notify(), 200);
    agent.fill_queue_and_send_signal(static_cast<MSG_TYPE>(News::stop), nullptr);
    agent.process_one_message();
    ASSERT_EQ(notifies(), 2u);
    EXPECT_EQ(notify(1).headers["Subscription-State"], "terminated;reason=probation;retry-after=2");
    EXPECT_EQ(request(good_headers()).code, 503) << "nobody new";
    answer(notify(1), 200);
    agent.run(); // returns at once
    EXPECT_NE(dir.read("imslinkevd.cap"), "") << "capability files are never deleted";
}

TEST_F(ALinkEventAgent, SaysSoWhenThereIsNoPort)
{
    connector.has_ports = false;
    EXPECT_FALSE(agent.open(Settings(), Milliseconds(1000)));
    EXPECT_TRUE(log.has(3, "open", "no free port from 5080 to 5179"));
}

TEST_F(ALinkEventAgent, LeavesUnknownEventsUnrecognised)
{
    open();
    EXPECT_EQ(agent.handle_event(99, nullptr), 0);
}

} // namespace
