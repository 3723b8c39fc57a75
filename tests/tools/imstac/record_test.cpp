#include "tools/imstac/record.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

using imstac::Channel;
using imstac::Happening;
using imstac::Verb;
using Kind = Happening::Kind;

Happening happening(Kind kind, bool is_sent, Channel channel = Channel::sync)
{
    Happening one;
    one.kind = kind;
    one.time = 1763713800123456;
    one.is_sent = is_sent;
    one.channel = channel;
    return one;
}

Happening sent_message()
{
    Happening one = happening(Kind::message, true);
    one.message = {1, 7, 0x1001, std::string("a\0\xff", 3)};
    one.answer = imstac::Answer{Channel::async, 0x2001};
    return one;
}

std::string complaint(const std::string& line)
{
    Happening read;
    std::string why;
    EXPECT_FALSE(imstac::parse_json_line(line, read, why)) << line;
    return why;
}

bool replay(const std::string& record, bool check, imstac::Steps& steps, std::string& why)
{
    std::istringstream in(record);
    return imstac::parse_record(in, "r", check, steps, why);
}

} // namespace

TEST(ARecordLine, IsOneJsonObject)
{
    EXPECT_EQ(
        imstac::json_line(sent_message()),
        R"({"time":1763713800123456,"event":"message","channel":"sync","direction":"sent","id":4097,"ref":7,)"
        R"("type":1,"body":"6100ff","answer":"async","answer_id":8193})"
        "\n");
    Happening raw = happening(Kind::raw, true, Channel::async);
    raw.detail = "\x01";
    EXPECT_EQ(imstac::json_line(raw),
              R"({"time":1763713800123456,"event":"raw","channel":"async","direction":"sent","bytes":"01"})"
              "\n");
    Happening failed = happening(Kind::failed, false);
    failed.detail = "caf\xe9 \"x\"";
    EXPECT_EQ(imstac::json_line(failed),
              "{\"time\":1763713800123456,\"event\":\"failed\",\"detail\":\"caf\\ufffd \\\"x\\\"\"}\n");
    EXPECT_EQ(imstac::json_line(happening(Kind::closed, false)),
              R"({"time":1763713800123456,"event":"closed","channel":"sync","direction":"received"})"
              "\n");
}

TEST(ARecordLine, IsReadBack)
{
    Happening read;
    std::string why;
    ASSERT_TRUE(imstac::parse_json_line(imstac::json_line(sent_message()), read, why)) << why;
    EXPECT_EQ(imstac::json_line(read), imstac::json_line(sent_message()));
    for (const Kind kind : {Kind::message, Kind::raw, Kind::closed, Kind::connected, Kind::failed})
        for (const bool is_sent : {true, false}) {
            const std::string line = imstac::json_line(happening(kind, is_sent));
            ASSERT_TRUE(imstac::parse_json_line(line, read, why)) << line << why;
            EXPECT_EQ(imstac::json_line(read), line);
        }
}

TEST(ARecordLine, ThatIsWrongIsRefusedWithAReason)
{
    const std::string begin = R"({"time":1,"event":"message","channel":"sync","direction":"sent",)";
    EXPECT_EQ(complaint("{"), "not JSON");
    EXPECT_EQ(complaint("[]"), "not a JSON object");
    EXPECT_EQ(complaint("{}"), "'event' is not a text");
    EXPECT_EQ(complaint(R"({"event":"rain"})"), "'event' is \"rain\"");
    EXPECT_EQ(complaint(R"({"event":"message","time":-1})"), "'time' is not a number up to 9223372036854775");
    EXPECT_EQ(complaint(R"({"event":"message","time":1,"channel":"x"})"),
              "'channel' is neither \"async\" nor \"sync\"");
    EXPECT_EQ(complaint(R"({"event":"message","time":1,"channel":"sync","direction":"x"})"),
              "'direction' is neither \"sent\" nor \"received\"");
    EXPECT_EQ(complaint(begin + R"("id":65536})"), "'id' is not a number up to 65535");
    EXPECT_EQ(complaint(begin + R"("id":1,"ref":1.5})"), "'ref' is not a number up to 4294967295");
    EXPECT_EQ(complaint(begin + R"("id":1,"ref":1,"type":256})"), "'type' is not a number up to 255");
    EXPECT_EQ(complaint(begin + R"("id":1,"ref":1,"type":1,"body":"x"})"),
              "'body' is not hexadecimal digits of 65535 bytes at most");
    EXPECT_EQ(complaint(begin + R"("id":1,"ref":1,"type":1,"body":"","answer":"sync"})"),
              "'answer_id' is not a number up to 65535");
}

TEST(ARecord, BecomesStepsThatSendItAgainAtItsTimes)
{
    Happening first = sent_message();
    Happening answer = happening(Kind::message, false);
    answer.time += 500;
    Happening raw = happening(Kind::raw, true);
    raw.time += 2000;
    raw.detail = "xy";
    Happening closed = happening(Kind::closed, true);
    closed.time += 3000;
    imstac::Steps steps;
    std::string why;
    ASSERT_TRUE(replay(imstac::json_line(happening(Kind::connected, false)) + imstac::json_line(first) +
                           "\n" + imstac::json_line(answer) + imstac::json_line(raw) +
                           imstac::json_line(closed),
                       false, steps, why))
        << why;
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(steps[0].verb, Verb::send);
    EXPECT_EQ(steps[0].at.count(), 0);
    EXPECT_EQ(steps[0].message.body, first.message.body);
    EXPECT_EQ(steps[0].answer->id, 0x2001);
    EXPECT_EQ(steps[0].source, "r:2");
    EXPECT_EQ(steps[1].verb, Verb::raw);
    EXPECT_EQ(steps[1].bytes, "xy");
    EXPECT_EQ(steps[1].at, std::chrono::microseconds(2000));
    EXPECT_EQ(steps[2].verb, Verb::close);
    EXPECT_EQ(steps[2].at, std::chrono::microseconds(3000));
}

TEST(ARecord, CanAlsoBeExpectedAgain)
{
    Happening answer = happening(Kind::message, false);
    answer.message = {0, 7, 0x1001, "ok"};
    imstac::Steps steps;
    std::string why;
    ASSERT_TRUE(replay(imstac::json_line(sent_message()) + imstac::json_line(answer) +
                           imstac::json_line(happening(Kind::closed, false)),
                       true, steps, why))
        << why;
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(imstac::shown(steps[1]), "expect sync 0x1001 ref=7 type=0 hex=6f6b");
    EXPECT_EQ(imstac::shown(steps[2]), "expect sync closed");
}

TEST(ARecord, WhoseClockWentBackIsReplayedInItsOrder)
{
    Happening later = sent_message();
    later.time -= 1000;
    imstac::Steps steps;
    std::string why;
    ASSERT_TRUE(replay(imstac::json_line(sent_message()) + imstac::json_line(later), false, steps, why));
    EXPECT_EQ(steps.at(1).at.count(), 0);
}

TEST(ARecord, IsRefusedAtItsFirstWrongLine)
{
    imstac::Steps steps;
    std::string why;
    EXPECT_FALSE(replay(imstac::json_line(sent_message()) + "\nrain\n", false, steps, why));
    EXPECT_EQ(why, "r:3: not JSON");
}
