#include "tools/imsladder/svg.h"

#include "tests/tools/imsladder/samples.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace imsladder;
using namespace samples;

namespace {

std::size_t count(const std::string& text, const std::string& part)
{
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

} // namespace

TEST(ThePicture, HasAGroupWithAHoverTextForEachMessage)
{
    const std::string r = request("NOTIFY", "b1", "Event: reg\r\n");
    const std::string answer = response("404 Not Found", "NOTIFY", "b1");
    const std::string svg =
        draw_svg(merge({sent(0, agent, watch.address, r), sent(500000, agent, watch.address, r),
                        received(500100, watch, agent.address, r), sent(500200, watch, agent.address, answer),
                        received(500300, agent, watch.address, answer)}));
    EXPECT_EQ(svg.rfind("<svg xmlns=\"http://www.w3.org/2000/svg\"", 0), 0u);
    EXPECT_EQ(svg.substr(svg.size() - 7), "</svg>\n");
    EXPECT_EQ(count(svg, "<g class=\"message request lost\">"), 1u);
    EXPECT_EQ(count(svg, "<g class=\"message request odd again\">"), 1u);
    EXPECT_EQ(count(svg, "<g class=\"message failure\">"), 1u);
    EXPECT_EQ(count(svg, "NOTIFY sip:a@127.0.0.1 SIP/2.0\nVia: "), 2u);
    EXPECT_EQ(count(svg, "not in the record of its receiver"), 1u);
    EXPECT_EQ(count(svg, "<g"), count(svg, "</g>"));
}

TEST(ThePicture, EscapesAllText)
{
    const Party evil{"<script>&\"'", 1, "<b>"};
    const std::string svg = draw_svg(
        merge({sent(0, evil, "</svg>", "<i>&\x01\xFF sip:a SIP/2.0\r\nEvent: ]]>\r\nX: <script>\r\n\r\n")}));
    EXPECT_EQ(count(svg, "<script>"), 0u);
    EXPECT_EQ(count(svg, "</svg>"), 1u);
    EXPECT_EQ(count(svg, "&lt;script&gt;&amp;&quot;'"), 3u) << "two boxes, one hover text";
    EXPECT_EQ(count(svg, "]]>"), 0u);
    EXPECT_TRUE(
        std::all_of(svg.begin(), svg.end(), [](char c) { return c == '\n' || (c >= 0x20 && c < 0x7F); }));
}

TEST(ThePicture, IsWholeInItself)
{
    const std::string svg = draw_svg(merge({sent(0, agent, sipp, request("X", "b"))}));
    EXPECT_EQ(count(svg, "http"), 1u) << "the name space, and nothing to fetch";
    EXPECT_EQ(count(svg, "href"), 0u);
    EXPECT_EQ(count(svg, "url("), 0u);
}

TEST(ThePicture, ShowsAMessageToItselfAndNothingAtAll)
{
    const std::string r = request("OPTIONS", "b1");
    EXPECT_EQ(count(draw_svg(merge({sent(0, agent, agent.address, r), received(1, agent, agent.address, r)})),
                    "<path class=\"arrow\""),
              1u);
    EXPECT_EQ(count(draw_svg(Ladder()), "</svg>"), 1u);
}
