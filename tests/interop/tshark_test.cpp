// What goes over the wire, as an independent decoder sees it.
#include "tests/system/device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

// Decodes what passes the loopback link; one line a message: transport, method, status, CSeq, complaints.
struct AWireTap : ADevice, ::testing::WithParamInterface<const char*> {
    void listen()
    {
        ProcessStart start;
        start.argv = {"tshark", "-n", "-l", "-i", "lo", "-Y", "sip", "-T", "fields", "-E", "separator=|"};
        for (const char* transport : {"udp", "tcp"})
            start.argv.insert(start.argv.end(), {"-d", std::string(transport) + ".port==5080,sip", "-d",
                                                 std::string(transport) + ".port==5600,sip"});
        for (const char* field : {"ip.proto", "sip.Method", "sip.Status-Code", "sip.CSeq",
                                  "sip.Subscription-State", "_ws.malformed", "_ws.expert.severity"})
            start.argv.insert(start.argv.end(), {"-e", field});
        start.net = &net_;
        start.dir = dir_.path();
        tap_.reset(new Process(start));
        ASSERT_TRUE(tap_->wait_for_log("Capture started")) << tap_->log();
    }

    std::string next() { return tap_->wait_for_line("|"); }
    Running tap_;
};

// Severity of the only complaint that is left: tshark does not know our header field Kiv-Profile-ID.
constexpr const char* NOTE = "4194304";

TEST_P(AWireTap, FindsNothingMalformedInAWholeSubscription)
{
    listen();
    auto daemon = notifier();
    auto one = watcher({"--transport", GetParam(), "--count", "2"});
    ASSERT_NE(one->wait_for_line(R"("status":"up")"), "") << one->output();
    std::vector<std::string> seen;
    for (int i = 0; i < 4; ++i)
        seen.push_back(next());
    ASSERT_TRUE(link("dev0 down"));
    for (int i = 0; i < 6; ++i)
        seen.push_back(next());
    EXPECT_EQ(one->wait().status, 0) << one->output();
    const std::string p = GetParam() == std::string("udp") ? "17" : "6";
    const auto notify = [&p](const std::string& cseq, const std::string& state) {
        return p + "|NOTIFY||" + cseq + " NOTIFY|" + state + "||" + NOTE;
    };
    const auto answer = [&p](const std::string& cseq) { return p + "||200|" + cseq + "|||"; };
    EXPECT_THAT(seen, ElementsAre(p + "|SUBSCRIBE||1 SUBSCRIBE|||", answer("1 SUBSCRIBE"),
                                  notify("1", "active;expires=3600"), answer("1 NOTIFY"),
                                  testing::MatchesRegex(
                                      p + R"(\|NOTIFY\|\|2 NOTIFY\|active;expires=3[0-9]+\|\|)" + NOTE),
                                  answer("2 NOTIFY"), p + "|SUBSCRIBE||2 SUBSCRIBE|||", answer("2 SUBSCRIBE"),
                                  notify("3", "terminated;reason=timeout"), answer("3 NOTIFY")));
}

INSTANTIATE_TEST_SUITE_P(, AWireTap, ::testing::Values("udp", "tcp"),
                         [](const auto& way) { return std::string(way.param); });

} // namespace
