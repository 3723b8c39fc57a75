// The records of several programs, merged: every message once, every request with its answer.
#include "tests/system/device.h"

#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

struct ARecordedSubscription : ADevice, ::testing::WithParamInterface<const char*> {
    Running recording_notifier() const { return notifier({"-siptrace", dir_.file("notifier.record")}); }

    static void end(Running& process)
    {
        process->signal(SIGTERM);
        EXPECT_EQ(process->wait().status, 0) << process->log();
    }

    Json ladder(const Words& records) const
    {
        ProcessStart start;
        start.argv = {IMSLADDER_BINARY, "--json"};
        start.argv.insert(start.argv.end(), records.begin(), records.end());
        start.dir = dir_.path();
        std::string drawn;
        EXPECT_EQ(run_process(start, &drawn).status, 0);
        return Json::parse(drawn, nullptr, false);
    }

    // Each request is there once and has one final answer, after it and back to who asked.
    static void expect_pairs(const Json& ladder)
    {
        std::map<std::string, const Json*> asked;
        for (const auto& message : ladder["messages"]) {
            const std::string key = message["call_id"].get<std::string>() + message["cseq"].dump() +
                                    message["method"].get<std::string>();
            if (message["status"] == 0) {
                EXPECT_TRUE(asked.emplace(key, &message).second) << "twice: " << message;
                continue;
            }
            const auto found = asked.find(key);
            ASSERT_TRUE(found != asked.end() && found->second != nullptr) << "unasked: " << message;
            EXPECT_EQ((*found->second)["from"], message["to"]);
            EXPECT_NE(message["from"], message["to"]);
            found->second = nullptr;
        }
        for (const auto& one : asked)
            EXPECT_EQ(one.second, nullptr) << "unanswered: " << one.first;
    }
};

TEST_P(ARecordedSubscription, IsOneLadderOfTwoRecords)
{
    auto daemon = recording_notifier();
    auto one =
        watcher({"--transport", GetParam(), "--count", "2", "--siptrace", dir_.file("watcher.record")});
    ASSERT_NE(one->wait_for_line(R"("status":"up")"), "") << one->output();
    ASSERT_TRUE(link("dev0 down"));
    EXPECT_EQ(one->wait().status, 0) << one->output();
    end(daemon);
    const Json all = ladder({"notifier.record", "watcher.record"});
    ASSERT_FALSE(all.is_discarded());
    ASSERT_EQ(all["participants"].size(), 2u) << all.dump(1);
    EXPECT_EQ(all["messages"].size(), 10u) << "2 SUBSCRIBEs, 3 NOTIFYs, their answers: " << all.dump(1);
    for (const auto& message : all["messages"]) {
        EXPECT_EQ(message["seen_by"], "both") << message;
        EXPECT_EQ(message["retransmission"], false) << message;
        EXPECT_EQ(message["transport"], GetParam()) << message;
    }
    expect_pairs(all);
}

TEST_P(ARecordedSubscription, ShowsAForeignPeerUnderItsAddress)
{
    auto daemon = recording_notifier();
    std::string said;
    const bool is_udp = GetParam() == std::string("udp");
    EXPECT_TRUE(is_udp ? sipp("lifetime", {"-t", "u1"}, &said)
                       : sipp("lifetime_over_tcp", {"-t", "t1"}, &said))
        << said;
    end(daemon);
    const Json all = ladder({"notifier.record"});
    ASSERT_FALSE(all.is_discarded());
    EXPECT_EQ(all["messages"].size(), 14u) << "3 SUBSCRIBEs, 4 NOTIFYs, their answers: " << all.dump(1);
    for (const auto& message : all["messages"])
        EXPECT_NE(message["seen_by"], "both") << message;
    expect_pairs(all);
}

INSTANTIATE_TEST_SUITE_P(, ARecordedSubscription, ::testing::Values("udp", "tcp"),
                         [](const auto& way) { return std::string(way.param); });

} // namespace
