#include "baseuafw/fwk_answer.h"

#include "baseuafw/fwk_frame.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Pairs = std::vector<SIP_IMS_CFG_TAG_VALUE_T>;

std::string long_text(std::size_t size)
{
    return std::string(size, 'x');
}

} // namespace

TEST(ARequest, NamesItsDocumentAndPath)
{
    EXPECT_EQ(fwk::get_request("config", "/config/a"), "GET config\n/config/a");
    EXPECT_EQ(fwk::set_request("config", "/config/a", "1\n2%"), "SET config\n/config/a\n1%0A2%25");
    EXPECT_EQ(fwk::set_request("config", "/config/a", ""), "SET config\n/config/a\n");
    EXPECT_EQ(fwk::mget_request("config", Pairs{{"T1", ""}, {"/a/b", "old"}}), "MGET config\nT1\n/a/b");
}

TEST(ARequest, IsNotMadeOfWhatALineCannotCarry)
{
    EXPECT_EQ(fwk::get_request("con\nfig", "/a"), "");
    EXPECT_EQ(fwk::get_request("config", "/a\n"), "");
    EXPECT_EQ(fwk::get_request("", "/a"), "");
    EXPECT_EQ(fwk::get_request("config", ""), "");
    EXPECT_EQ(fwk::set_request("config", "/a\n/b", "x"), "");
    EXPECT_EQ(fwk::mget_request("config", Pairs{{"a\nb", ""}}), "");
    EXPECT_EQ(fwk::mget_request("config", Pairs{}), "");
}

TEST(ARequest, IsNotMadeLongerThanAFrame)
{
    const std::size_t head = std::string("SET c\n/a\n").size();
    EXPECT_EQ(fwk::set_request("c", "/a", long_text(fwk::MAX_PAYLOAD - head)).size(), fwk::MAX_PAYLOAD);
    EXPECT_EQ(fwk::set_request("c", "/a", long_text(fwk::MAX_PAYLOAD - head + 1)), "");
}

TEST(AnAnswerToGet, GivesTheValue)
{
    std::string value = "before";
    EXPECT_TRUE(fwk::parse_value("1\na%0Ab%25", value));
    EXPECT_EQ(value, "a\nb%");
    EXPECT_TRUE(fwk::parse_value("1\n", value));
    EXPECT_EQ(value, "");
}

TEST(AnAnswerToGet, LeavesTheValueAloneWhenNothingWasFound)
{
    std::string value = "before";
    for (const char* answer : {"0", "", "ERR words", "10", "1x", "GO", "0\n1"})
        EXPECT_FALSE(fwk::parse_value(answer, value)) << answer;
    EXPECT_EQ(value, "before");
}

TEST(AnAnswerToSet, SaysWhetherItWasStored)
{
    EXPECT_TRUE(fwk::parse_stored("1"));
    EXPECT_FALSE(fwk::parse_stored("0"));
    EXPECT_FALSE(fwk::parse_stored("ERR words"));
    EXPECT_FALSE(fwk::parse_stored(""));
}

TEST(AnAnswerToMget, FillsWhatWasFoundByItsTag)
{
    Pairs pairs{{"T1", "old1"}, {"T2", "old2"}, {"T4", "old4"}, {"T1", "again"}};
    EXPECT_TRUE(fwk::parse_pairs("1\nT4\n5000\nT1\na%0Ab", pairs));
    EXPECT_EQ(pairs[0].value, "a\nb");
    EXPECT_EQ(pairs[1].value, "old2");
    EXPECT_EQ(pairs[2].value, "5000");
    EXPECT_EQ(pairs[3].value, "a\nb");
}

TEST(AnAnswerToMget, MayEndWithAnEmptyValue)
{
    Pairs pairs{{"a", "old"}};
    EXPECT_TRUE(fwk::parse_pairs("1\na\n", pairs));
    EXPECT_EQ(pairs[0].value, "");
}

TEST(AnAnswerToMget, ChangesNothingWhenNoTagIsKnown)
{
    Pairs pairs{{"a", "old"}};
    for (const char* answer : {"0", "", "1", "1\n", "1\nother\nvalue", "ERR words"})
        EXPECT_FALSE(fwk::parse_pairs(answer, pairs)) << answer;
    EXPECT_EQ(pairs[0].value, "old");
}

TEST(AnAnswerToSync, IsGoAndNothingElse)
{
    EXPECT_TRUE(fwk::parse_go("GO"));
    EXPECT_FALSE(fwk::parse_go("GO\n"));
    EXPECT_FALSE(fwk::parse_go("1"));
    EXPECT_FALSE(fwk::parse_go(""));
}
