#include "tools/imsladder/json.h"

#include "tests/tools/imsladder/samples.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace imsladder;
using namespace samples;

TEST(TheJsonLadder, HoldsWhatWasDrawn)
{
    const std::string r = request("NOTIFY", "b1", "Event: reg\r\nSubscription-State: active\r\n");
    const auto json = nlohmann::json::parse(
        draw_json(merge({sent(1000, agent, watch.address, r), sent(2000, agent, watch.address, r),
                         received(2100, watch, agent.address, r),
                         sent(3000, watch, agent.address, response("200 OK", "NOTIFY", "b1")),
                         received(9000, agent, sipp, request("X", "b2"))})));
    EXPECT_EQ(json["start"], 1000);
    ASSERT_EQ(json["participants"].size(), 3u);
    EXPECT_EQ(json["participants"][0]["name"], "imslinkevd");
    EXPECT_EQ(json["participants"][0]["pid"], 22);
    EXPECT_EQ(json["participants"][2]["records"], false);
    ASSERT_EQ(json["messages"].size(), 4u);
    const auto& first = json["messages"][0];
    EXPECT_EQ(first["label"], "NOTIFY reg active");
    EXPECT_EQ(first["lost"], true);
    EXPECT_EQ(first["retransmission"], false);
    EXPECT_EQ(first["seen_by"], "sender");
    const auto& second = json["messages"][1];
    EXPECT_EQ(second["retransmission"], true);
    EXPECT_EQ(second["seen_by"], "both");
    EXPECT_EQ(second["lost"], false);
    const auto& third = json["messages"][2];
    EXPECT_EQ(third["status"], 200);
    EXPECT_EQ(third["method"], "NOTIFY");
    EXPECT_EQ(third["event"], "reg");
    EXPECT_EQ(third["time"], 2000);
    EXPECT_EQ(json["messages"][3]["seen_by"], "receiver");
}

TEST(TheJsonLadder, IsValidWhateverTheMessagesHold)
{
    Record record = sent(0, {"\xFF\"", 1, "\xC3"}, "\x80",
                         "\xFF\xFE sip:\xFF SIP/2.0\r\nEvent: \xE9\r\nCall-ID: \xFF\r\n\r\n");
    record.transport = "\xF0";
    EXPECT_FALSE(nlohmann::json::parse(draw_json(merge({record})), nullptr, false).is_discarded());
    EXPECT_FALSE(nlohmann::json::parse(draw_json(merge({})), nullptr, false).is_discarded());
}
