// OPTIONS from sipsak, one and many.
#include "tests/system/device.h"

#include <gtest/gtest.h>

namespace {

struct Sipsak : ADevice {
    Process::End sipsak(const Words& arguments, std::string* said = nullptr) const
    {
        ProcessStart start;
        start.argv = {"sipsak", "-H", "127.0.0.1"}; // it would look the machine's name up
        start.argv.insert(start.argv.end(), arguments.begin(), arguments.end());
        start.argv.insert(start.argv.end(), {"-s", "sip:imslinkevd@127.0.0.1:5080"});
        start.net = &net_;
        return run_process(start, said);
    }
};

TEST_F(Sipsak, GetsAnAnswerToOptions)
{
    auto daemon = notifier();
    for (const char* transport : {"udp", "tcp"}) {
        std::string said;
        EXPECT_EQ(sipsak({"-vv", "-E", transport}, &said).status, 0) << transport << said;
        for (const char* header : {"Allow: SUBSCRIBE, OPTIONS", "Accept: application/xml",
                                   "Allow-Events: kiv-link-event, kiv-link-avail-event"})
            EXPECT_NE(said.find(header), std::string::npos) << transport << said;
    }
}

// sipsak does not wait for the answers of its flood and closes its port; the notifier's record has them all.
TEST_F(Sipsak, FloodsAndEachRequestIsAnswered)
{
    auto daemon = notifier({"-siptrace", dir_.file("record")});
    EXPECT_EQ(sipsak({"-F", "-e", "60"}).status, 0);
    EXPECT_EQ(sipsak({}).status, 0) << "it serves on";
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->wait().status, 0) << daemon->log();
    const std::string record = dir_.read("record");
    const auto count = [&record](const std::string& text) {
        int found = 0;
        for (auto at = record.find(text); at != std::string::npos; at = record.find(text, at + 1))
            ++found;
        return found;
    };
    EXPECT_EQ(count(R"("message":"OPTIONS)"), 61);
    EXPECT_EQ(count(R"("message":"SIP/2.0 200)") + count(R"("message":"SIP/2.0 503)"), 61);
    EXPECT_GE(count(R"("message":"SIP/2.0 200)"), 1);
}

} // namespace
