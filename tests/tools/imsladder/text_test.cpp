#include "tools/imsladder/text.h"

#include "tests/tools/imsladder/samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

using namespace imsladder;
using namespace samples;

namespace {

Ladder story()
{
    const std::string s = request("SUBSCRIBE", "b1", "Event: reg\r\n");
    const std::string n = request("NOTIFY", "b2", "Event: reg\r\nSubscription-State: active\r\n");
    return merge({sent(0, watch, agent.address, s), received(100, agent, watch.address, s),
                  sent(1200, agent, watch.address, n), sent(501200, agent, watch.address, n),
                  received(501300, watch, agent.address, n),
                  received(2000000, agent, sipp, request("OPTIONS", "b3"))});
}

} // namespace

TEST(TheTextLadder, IsDrawnWithLines)
{
    EXPECT_EQ(draw_text(story(), {false, 200}),
              "                 imswatch                        imslinkevd       127.0.0.1:5090\n"
              "              127.0.0.1:5080                   127.0.0.1:5070\n"
              "                     │                                │                  │\n"
              "    0.000000         ├──────── SUBSCRIBE reg ────────▶│                  │\n"
              "    0.001200         │✗────── NOTIFY reg active ──────┤                  │\n"
              "    0.501200         │◀╌╌ NOTIFY reg active (again) ╌╌┤                  │\n"
              "    2.000000         │                                │◀──── OPTIONS ────┤\n"
              "                     │                                │                  │\n"
              "              ╌╌ (again): sent before, a retransmission\n"
              "              ✗  not in the record of its receiver: lost on the way\n");
}

TEST(TheTextLadder, IsPureAsciiWhenAsked)
{
    const std::string text = draw_text(story(), {true, 60});
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char c) {
        return c == '\n' || (c >= 0x20 && c < 0x7F);
    })) << text;
    EXPECT_NE(text.find("|x"), std::string::npos) << text;
    EXPECT_NE(text.find("..."), std::string::npos) << text;
}

TEST(TheTextLadder, KeepsToTheWidth)
{
    for (const std::size_t width : {60u, 70u, 80u, 100u}) {
        std::istringstream lines(draw_text(story(), {true, width}));
        for (std::string line; std::getline(lines, line);) {
            const bool legend = line.find("  x  ") != line.npos || line.find(" .. ") != line.npos;
            EXPECT_TRUE(legend || line.size() <= width) << line;
        }
    }
}

TEST(TheTextLadder, CrossesTheLifelinesBetween)
{
    const Party third{"third", 33, "127.0.0.1:6000"};
    const std::string text =
        draw_text(merge({sent(0, watch, agent.address, request("A_RATHER_LONG_METHOD", "b1")),
                         sent(2, agent, third.address, request("B", "b2")),
                         sent(4, third, watch.address, request("C", "b3"))}),
                  {true, 200});
    EXPECT_NE(text.find(" C --+---"), std::string::npos) << text;
}

TEST(TheTextLadder, ShowsAMessageToItself)
{
    const std::string r = request("OPTIONS", "b1");
    const std::string text = draw_text(
        merge({sent(0, agent, agent.address, r), received(1, agent, agent.address, r)}), {true, 80});
    EXPECT_NE(text.find("|@ OPTIONS\n"), std::string::npos) << text;
}

TEST(TheTextLadder, OfNothingIsEmpty)
{
    EXPECT_EQ(draw_text(Ladder(), {}), "");
}

TEST(Seconds, HaveSixDecimals)
{
    EXPECT_EQ(seconds(0), "0.000000");
    EXPECT_EQ(seconds(1002003), "1.002003");
}
