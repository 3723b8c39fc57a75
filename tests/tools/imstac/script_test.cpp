#include "tools/imstac/script.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

using imstac::Channel;
using imstac::Parsed;
using imstac::Step;
using imstac::Verb;
using namespace std::chrono_literals;

Step step_of(const std::string& line)
{
    Step step;
    std::string why;
    EXPECT_EQ(imstac::parse_step(line, step, why), Parsed::step) << line << ": " << why;
    return step;
}

std::string complaint(const std::string& line)
{
    Step step;
    std::string why;
    EXPECT_EQ(imstac::parse_step(line, step, why), Parsed::wrong) << line;
    return why;
}

} // namespace

TEST(AStatement, SendsAMessage)
{
    const Step step = step_of("send async 0x1001 ref=7 type=2 hex=\"00 ff\" times=3");
    EXPECT_EQ(step.verb, Verb::send);
    EXPECT_EQ(step.channel, Channel::async);
    EXPECT_EQ(step.message.id, 0x1001);
    EXPECT_EQ(step.message.ref, 7u);
    EXPECT_EQ(step.message.type, 2);
    EXPECT_EQ(step.message.body, std::string("\0\xff", 2));
    EXPECT_EQ(step.times, 3u);
    EXPECT_FALSE(step.answer);
    EXPECT_EQ(step_of("send sync 4097 text=hello").message.body, "hello");
}

TEST(AStatement, ThatSendsSaysWhichAnswerIsAwaited)
{
    EXPECT_EQ(step_of("send sync 0x1001").answer->id, 0x1001);
    EXPECT_FALSE(step_of("send sync 0x1001 answer=none").answer);
    EXPECT_EQ(step_of("send sync 0x1001 answer=async").answer->channel, Channel::async);
    const Step other = step_of("send async 0x1001 answer=sync:0x2001");
    EXPECT_EQ(other.answer->channel, Channel::sync);
    EXPECT_EQ(other.answer->id, 0x2001);
    EXPECT_EQ(step_of("send sync 33025").answer->channel, Channel::async);
}

TEST(AStatement, ExpectsAMessage)
{
    const Step step = step_of("expect sync 0x1001 ref=7 type=1 text=\"a b\" within=250ms times=2");
    EXPECT_EQ(step.verb, Verb::expect);
    EXPECT_EQ(step.channel, Channel::sync);
    EXPECT_EQ(*step.pattern.id, 0x1001);
    EXPECT_EQ(*step.pattern.ref, 7u);
    EXPECT_EQ(*step.pattern.type, 1);
    EXPECT_EQ(*step.pattern.body, "a b");
    EXPECT_EQ(*step.time, 250ms);
    EXPECT_EQ(step.times, 2u);
}

TEST(AStatement, ExpectsAnyMessageOrTheEnd)
{
    const Step any = step_of("expect async any");
    EXPECT_FALSE(any.pattern.id || any.pattern.ref || any.pattern.type || any.pattern.body ||
                 any.pattern.closed);
    EXPECT_TRUE(step_of("expect async closed within=1s").pattern.closed);
    EXPECT_EQ(*step_of("expect async any hex=").pattern.body, "") << "an empty body is one";
}

TEST(AStatement, SendsRawBytesClosesAndPauses)
{
    const Step raw = step_of("raw sync 01 0203");
    EXPECT_EQ(raw.verb, Verb::raw);
    EXPECT_EQ(raw.channel, Channel::sync);
    EXPECT_EQ(raw.bytes, "\x01\x02\x03");
    EXPECT_EQ(step_of("close async").verb, Verb::close);
    const Step pause = step_of("pause 2s");
    EXPECT_EQ(pause.verb, Verb::pause);
    EXPECT_EQ(*pause.time, 2s);
}

TEST(AStatement, MayBeNoneAtAll)
{
    Step step;
    std::string why;
    for (const char* line : {"", "   ", "# comment", "\t# comment", "\r"})
        EXPECT_EQ(imstac::parse_step(line, step, why), Parsed::nothing) << line;
}

TEST(AStatement, ThatIsWrongIsRefusedWithAReason)
{
    EXPECT_EQ(complaint("shout sync 1"), "'shout' is none of send, expect, raw, close, pause");
    EXPECT_EQ(complaint("send"), "after send stands a channel, async or sync");
    EXPECT_EQ(complaint("send both 1"), "after send stands a channel, async or sync");
    EXPECT_EQ(complaint("send sync"),
              "after the channel stands a message id from 0 to 65535, such as 0x8101");
    EXPECT_EQ(complaint("send sync 65536"), complaint("send sync any"));
    EXPECT_EQ(complaint("send sync 1 ref"), "'ref' is no attribute of send");
    EXPECT_EQ(complaint("send sync 1 within=1s"), "'within=1s' is no attribute of send");
    EXPECT_EQ(complaint("expect sync 1 answer=none"), "'answer=none' is no attribute of expect");
    EXPECT_EQ(complaint("send sync 1 ref=4294967296"), "ref is a number from 0 to 4294967295");
    EXPECT_EQ(complaint("send sync 1 type=256"), "type is a number from 0 to 255");
    EXPECT_EQ(complaint("send sync 1 hex=0"), "hex is pairs of hexadecimal digits");
    EXPECT_EQ(complaint("send sync 1 text=" + std::string(65536, 'x')), "a body has 65535 bytes at most");
    EXPECT_EQ(complaint("send sync 1 times=0"), "times is a number from 1 to 10000000");
    EXPECT_EQ(complaint("send sync 1 answer=maybe"),
              "answer is none, async, sync, or one of the two with an id: async:0x2001");
    EXPECT_EQ(complaint("send sync 1 answer=async:"), complaint("send sync 1 answer=none:1"));
    EXPECT_EQ(complaint("expect sync"), "after the channel stands a message id, 'any' or 'closed'");
    EXPECT_EQ(complaint("expect sync 70000"), complaint("expect sync"));
    EXPECT_EQ(complaint("expect sync 1 within=soon"),
              "within is a time such as 250ms or 2s, an hour at most");
    EXPECT_EQ(complaint("expect sync closed ref=1"), "the end of a channel has no ref, type, body or times");
    EXPECT_EQ(complaint("raw sync"), "after the channel stand the bytes, pairs of hexadecimal digits");
    EXPECT_EQ(complaint("raw sync zz"), complaint("raw sync"));
    EXPECT_EQ(complaint("close sync now"), "nothing stands after the channel");
    EXPECT_EQ(complaint("pause"), "pause has one time, such as 250ms or 2s, an hour at most");
    EXPECT_EQ(complaint("pause 1"), complaint("pause"));
    EXPECT_EQ(complaint("send sync 1 text=\"x"), "a quote does not end");
}

TEST(AScript, IsItsStatementsWithWhereTheyStand)
{
    std::istringstream in("# hello\n\nsend async 0x8101   # socket-init\r\nexpect async 0x8101\n");
    imstac::Steps steps;
    std::string why;
    ASSERT_TRUE(imstac::parse_script(in, "demo", steps, why)) << why;
    ASSERT_EQ(steps.size(), 2u);
    EXPECT_EQ(steps[0].source, "demo:3");
    EXPECT_EQ(steps[1].source, "demo:4");
}

TEST(AScript, IsRefusedAtItsFirstWrongLine)
{
    std::istringstream in("send async 1\nsend async\nshout\n");
    imstac::Steps steps;
    std::string why;
    EXPECT_FALSE(imstac::parse_script(in, "demo", steps, why));
    EXPECT_EQ(why, "demo:2: after the channel stands a message id from 0 to 65535, such as 0x8101");
}
