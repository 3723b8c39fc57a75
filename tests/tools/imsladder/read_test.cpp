#include "tools/imsladder/read.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace imsladder;

namespace {

const std::string good =
    R"({"time":1700000000000001,"program":"imslinkevd","pid":12,"direction":"sent","transport":"udp",)"
    R"("local":"127.0.0.1:5070","peer":"127.0.0.1:5080","message":"BYE sip:a SIP/2.0\r\nCall-ID: \u00E9\u0000\r\n\r\n"})";

std::string why_not(const std::string& line)
{
    Record record;
    std::string why;
    return parse_line(line, record, why) ? "" : why;
}

std::string with(const std::string& from, const std::string& to)
{
    std::string line = good;
    return line.replace(line.find(from), from.size(), to);
}

} // namespace

TEST(ARecordedLine, IsReadWhole)
{
    Record record;
    std::string why;
    ASSERT_TRUE(parse_line(good, record, why)) << why;
    EXPECT_EQ(record.time, 1700000000000001);
    EXPECT_EQ(record.program, "imslinkevd");
    EXPECT_EQ(record.pid, 12);
    EXPECT_TRUE(record.sent);
    EXPECT_EQ(record.transport, "udp");
    EXPECT_EQ(record.local, "127.0.0.1:5070");
    EXPECT_EQ(record.peer, "127.0.0.1:5080");
    EXPECT_EQ(record.summary.method, "BYE");
}

TEST(ARecordedLine, GivesBackTheBytesOfTheMessage)
{
    Record record;
    std::string why;
    ASSERT_TRUE(parse_line(good, record, why));
    EXPECT_EQ(record.summary.call_id, std::string("\xE9\0", 2));
    EXPECT_EQ(record.summary.size, 34u);
    ASSERT_TRUE(parse_line(with(R"(\u00E9)", R"(\u20AC\uD83D\uDE00)"), record, why));
    EXPECT_EQ(record.summary.call_id, std::string("??\0", 3)) << "beyond what the writer writes";
}

TEST(ARecordedLine, MayHoldMembersOfLaterVersions)
{
    EXPECT_EQ(why_not(with("{", R"({"later":[{}],)")), "");
    EXPECT_EQ(why_not(with(R"("sent")", R"("received")")), "");
}

TEST(ARecordedLine, IsRefusedWithAReason)
{
    EXPECT_EQ(why_not(""), "not JSON");
    EXPECT_EQ(why_not(good.substr(0, 100)), "not JSON");
    EXPECT_EQ(why_not(good + good), "not JSON");
    EXPECT_EQ(why_not("[1]"), "not a JSON object");
    EXPECT_EQ(why_not("{}"), "no number \"time\"");
    EXPECT_EQ(why_not(with("1700000000000001", "\"1\"")), "no number \"time\"");
    EXPECT_EQ(why_not(with("1700000000000001", "1.5")), "no number \"time\"");
    EXPECT_EQ(why_not(with("1700000000000001", "-1")), "no number \"time\"");
    EXPECT_EQ(why_not(with("1700000000000001", "18446744073709551615")), "no number \"time\"");
    EXPECT_EQ(why_not(with("\"imslinkevd\"", "7")), "no text \"program\"");
    EXPECT_EQ(why_not(with("\"message\"", "\"massage\"")), "no text \"message\"");
    EXPECT_EQ(why_not(with("\"sent\"", "\"Sent\"")), "\"direction\" is neither \"sent\" nor \"received\"");
    EXPECT_EQ(why_not(std::string(100000, '[')), "not JSON");
    EXPECT_EQ(why_not(std::string("\"\xFF\"")), "not JSON");
}

TEST(AFile, IsReadPastItsBadLines)
{
    std::istringstream in(good + "\n\n  \r\n{\"time\":1,\"prog\n" + good + "\nx\n" + good);
    std::vector<Record> records;
    const BadLines bad = read_records(in, records);
    EXPECT_EQ(records.size(), 3u);
    EXPECT_EQ(bad.count, 2u);
    EXPECT_EQ(bad.first_line, 4u);
    EXPECT_EQ(bad.why, "not JSON");
}
