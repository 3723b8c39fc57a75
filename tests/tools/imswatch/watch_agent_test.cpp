#include "tools/imswatch/watch_agent.h"

#include "tests/support/fake_sip.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

// A notifier made of fakes: it answers each SUBSCRIBE and sends NOTIFYs into the agent's queue while the
// agent runs on its own thread of the test.
struct Peer : Fake_connector {
    SIPLIB_SIPObject* open(const char* to, const char* from) override
    {
        SIPLIB_SIPObject* object = Fake_connector::open(to, from);
        if (from != nullptr && object != nullptr) {
            auto scripted = std::make_unique<Scripted>(*this);
            scripted->uri = to;
            scripts.push_back(std::move(scripted));
            return scripts.back().get();
        }
        return object;
    }
    // Answers as soon as it is sent.
    struct Scripted : Fake_client {
        explicit Scripted(Peer& p) : peer(p) {}
        int send() override
        {
            ++sent;
            peer.on_subscribe(*this);
            return SIPLIB_OK;
        }
        Peer& peer;
    };

    void on_subscribe(Scripted& subscribe)
    {
        subscribe.code = code;
        subscribe.response = response;
        subscribe.response["To"] = subscribe.headers["To"] + ";tag=notifier";
        agent->handle_notify_response(&subscribe);
        if (code != 200) return;
        const bool is_end = subscribe.headers["Expires"] == "0";
        notify(subscribe, is_end ? "terminated;reason=timeout" : "active;expires=100");
    }
    void notify(Fake_client& subscribe, const std::string& state)
    {
        notifies.push_back(std::make_unique<Fake_request>());
        Fake_request& n = *notifies.back();
        n.method = "NOTIFY";
        n.received = {{"Call-ID", subscribe.headers["Call-ID"]},
                      {"From", "<sip:notifier@127.0.0.1>;tag=notifier"},
                      {"To", subscribe.headers["From"]},
                      {"CSeq", std::to_string(notifies.size()) + " NOTIFY"},
                      {"Event", "kiv-link-event"},
                      {"Subscription-State", state}};
        if (change) change(n);
        agent->handle_notify_request(&n);
    }

    IMS_User_Agent* agent = nullptr;
    int code = 200;
    Headers response = {{"Expires", "100"}, {"Contact", "<sip:notifier@127.0.0.1:5099>"}};
    std::function<void(Fake_request&)> change;
    std::vector<std::unique_ptr<Scripted>> scripts;
    std::vector<std::unique_ptr<Fake_request>> notifies;
};

struct AWatcher : ::testing::Test {
    AWatcher()
    {
        options.package = "kiv-link-event";
        options.count = 1;
        options.json = true;
    }
    Outcome run()
    {
        testing::internal::CaptureStdout();
        Outcome outcome = Outcome::failed;
        {
            Watch_agent agent(options);
            char name[] = "imswatch";
            char* argv[] = {name, nullptr};
            agent.set_options(1, argv);
            peer.agent = &agent;
            outcome = agent.run();
        }
        said = testing::internal::GetCapturedStdout();
        return outcome;
    }
    bool says(const std::string& text) const { return said.find(text) != std::string::npos; }

    LogRecords log;
    WorkingDir dir;
    Peer peer;
    Watch_options options;
    std::string said;
};

TEST_F(AWatcher, FindsTheOwnerSubscribesCountsAndUnsubscribes)
{
    dir.write("imslinkevd.cap", "Event: kiv-link-event\nContact: <sip:imslinkevd@127.0.0.1:5080>\n");
    EXPECT_EQ(run(), Outcome::came);
    ASSERT_EQ(peer.scripts.size(), 2u);
    auto& first = *peer.scripts[0];
    EXPECT_EQ(first.uri, "<sip:imslinkevd@127.0.0.1:5080>");
    EXPECT_EQ(first.method, "SUBSCRIBE");
    EXPECT_EQ(first.headers["Event"], "kiv-link-event");
    EXPECT_EQ(first.headers["Expires"], "3600");
    auto& last = *peer.scripts[1];
    EXPECT_EQ(last.uri, "<sip:notifier@127.0.0.1:5099>") << "the Contact of the answer";
    EXPECT_EQ(last.headers["Expires"], "0");
    EXPECT_EQ(last.headers["Call-ID"], first.headers["Call-ID"]);
    EXPECT_NE(last.headers["To"].find(";tag=notifier"), std::string::npos);
    for (const auto& notify : peer.notifies)
        EXPECT_EQ(notify->code, 200);
    EXPECT_TRUE(says(R"("type":"notify")")) << said;
}

TEST_F(AWatcher, SaysWhenNobodyServesThePackage)
{
    EXPECT_EQ(run(), Outcome::nobody_serves);
    EXPECT_TRUE(says("nobody"));
}

TEST_F(AWatcher, SubscribesOverTheTransportThatWasAskedFor)
{
    options.uri = "sip:x@127.0.0.1:5080";
    options.transport = "tcp";
    EXPECT_EQ(run(), Outcome::came);
    EXPECT_EQ(peer.scripts[0]->uri, "<sip:x@127.0.0.1:5080;transport=tcp>");
    EXPECT_NE(peer.scripts[0]->headers["Contact"].find(";transport=tcp>"), std::string::npos);
}

TEST_F(AWatcher, TellsTheStatusOfARefusal)
{
    options.uri = "sip:x@127.0.0.1:5080";
    peer.code = 489;
    EXPECT_EQ(run(), Outcome::refused);
    EXPECT_TRUE(says("status 489")) << said;
}

TEST_F(AWatcher, AnswersForeignAndBrokenNotifiesWithoutCountingThem)
{
    options.uri = "sip:x@127.0.0.1:5080";
    options.seconds = 0.01;
    options.count = 2; // the good one at the end is not enough
    const struct {
        const char* header;
        const char* value;
        int code;
    } rows[] = {{"Call-ID", "other", 481},
                {"To", "<sip:imswatch@127.0.0.1>;tag=other", 481},
                {"From", "<sip:notifier@127.0.0.1>", 481},
                {"Event", "kiv-link-event;id=1", 481},
                {"Event", "presence", 481},
                {"CSeq", "0 NOTIFY", 500},
                {"CSeq", "NOTIFY", 400},
                {"Subscription-State", ";", 400}};
    for (const auto& row : rows) {
        peer.change = [&](Fake_request& n) {
            if (peer.notifies.size() == 1) n.received[row.header] = row.value;
        };
        EXPECT_EQ(run(), Outcome::too_little) << row.value;
        EXPECT_EQ(peer.notifies.front()->code, row.code) << row.value;
        peer.notifies.clear();
    }
    peer.change = [&](Fake_request& n) {
        if (peer.notifies.size() == 1) n.method = "MESSAGE";
    };
    EXPECT_EQ(run(), Outcome::too_little);
    EXPECT_EQ(peer.notifies.front()->code, 405);
    EXPECT_EQ(peer.notifies.front()->answer["Allow"], "NOTIFY");
}

TEST_F(AWatcher, EndsWhenItsTimeIsOver)
{
    options.uri = "sip:x@127.0.0.1:5080";
    options.count = 5;
    options.seconds = 0.02;
    EXPECT_EQ(run(), Outcome::too_little) << "two of five";
    options.count = 0;
    EXPECT_EQ(run(), Outcome::came);
}

TEST_F(AWatcher, EndsWhenItCannotListen)
{
    options.uri = "sip:x@127.0.0.1:5080";
    peer.has_ports = false;
    EXPECT_EQ(run(), Outcome::failed);
}

} // namespace
