#include "tools/imstac/conversation.h"

#include "tools/imstac/script.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

using imstac::Channel;
using imstac::Conversation;
using imstac::Message;
using State = Conversation::State;
using namespace std::chrono_literals;

// Runs a script against arrivals and a clock that the test moves. What it sends is written down.
class AConversation : public ::testing::Test, public imstac::Outlet {
protected:
    void begin(const std::string& script)
    {
        std::istringstream in(script);
        imstac::Steps steps;
        std::string why;
        ASSERT_TRUE(imstac::parse_script(in, "s", steps, why)) << why;
        talk = std::make_unique<Conversation>(steps, rules, *this);
    }
    State go(imstac::Duration later = 0s)
    {
        now += later;
        return talk->advance(now);
    }
    void arrives(Channel channel, std::uint16_t id, std::uint32_t ref = 0, const std::string& body = "")
    {
        talk->on_message(channel, Message{0, ref, id, body});
    }
    std::string take_sent() { return std::exchange(sent, ""); }

    void send(Channel channel, const Message& message, const std::optional<imstac::Answer>&) override
    {
        sent += std::string(name_of(channel)) + " " + std::to_string(message.id) + "/" +
                std::to_string(message.ref) + "\n";
    }
    void send_raw(Channel channel, const std::string& bytes) override
    {
        sent += std::string(name_of(channel)) + " raw " + bytes + "\n";
    }
    void close(Channel channel) override { sent += std::string(name_of(channel)) + " close\n"; }

    Conversation::Rules rules;
    std::unique_ptr<Conversation> talk;
    imstac::Time now = imstac::Time(1000s);
    std::string sent;
};

} // namespace

TEST_F(AConversation, WithoutStepsIsDone)
{
    begin("");
    EXPECT_EQ(go(), State::done);
}

TEST_F(AConversation, SendsARequestAndWaitsForItsAnswer)
{
    begin("send sync 1 ref=7\nsend sync 2\n");
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(take_sent(), "sync 1/7\n");
    EXPECT_EQ(talk->due(), now + 5s);
    arrives(Channel::async, 1);
    arrives(Channel::sync, 9);
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(take_sent(), "") << "neither was the answer";
    arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(take_sent(), "sync 2/0\n");
    arrives(Channel::sync, 2);
    EXPECT_EQ(go(), State::done);
}

TEST_F(AConversation, FailsWhenAnAnswerIsLate)
{
    begin("send sync 1\n");
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(go(4999ms), State::waiting);
    EXPECT_EQ(go(1ms), State::failed);
    EXPECT_EQ(talk->why(), "s:1: send sync 0x0001: no answer within 5 s");
    arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::failed) << "that is final";
}

TEST_F(AConversation, DoesNotWaitForAnswersToEvents)
{
    begin("send async 1\nsend async 2 times=2\nsend sync 3 answer=none\n");
    EXPECT_EQ(go(), State::done);
    EXPECT_EQ(take_sent(), "async 1/0\nasync 2/0\nasync 2/1\nsync 3/0\n");
}

TEST_F(AConversation, KeepsAsManyRequestsUnderWayAsItsWindow)
{
    rules.window = 3;
    begin("send sync 1 ref=10 times=5\n");
    go();
    EXPECT_EQ(take_sent(), "sync 1/10\nsync 1/11\nsync 1/12\n");
    arrives(Channel::sync, 1, 10);
    arrives(Channel::sync, 1, 11);
    go();
    EXPECT_EQ(take_sent(), "sync 1/13\nsync 1/14\n");
    for (int i = 0; i < 3; ++i)
        arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::done);
}

TEST_F(AConversation, KeepsNoMoreBytesUnderWayThanOneReadOfTheAgentTakes)
{
    rules.window = 50;
    begin("send sync 1 times=3 text=" + std::string(495, 'x') + "\nsend async 2 answer=async\n");
    go();
    EXPECT_EQ(take_sent(), "sync 1/0\nsync 1/1\n") << "2 * 511 bytes fit into 1023";
    arrives(Channel::sync, 1);
    go();
    EXPECT_EQ(take_sent(), "sync 1/2\nasync 2/0\n") << "the other channel is read for itself";
    begin("send sync 1 times=2 text=" + std::string(496, 'x') + "\n");
    go();
    EXPECT_EQ(take_sent(), "sync 1/0\n");
    begin("send sync 1 text=" + std::string(2000, 'x') + "\n");
    go();
    EXPECT_EQ(take_sent(), "sync 1/0\n") << "what can never fit is sent alone";
}

TEST_F(AConversation, ExpectsMessagesInTheirOrder)
{
    begin("expect sync 1\nexpect sync 2 ref=5 text=b\n");
    arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::waiting);
    arrives(Channel::sync, 2, 5, "a");
    arrives(Channel::async, 2, 5, "b");
    EXPECT_EQ(go(), State::waiting);
    arrives(Channel::sync, 2, 5, "b");
    EXPECT_EQ(go(), State::done);
}

TEST_F(AConversation, DoesNotTakeAMessageTwice)
{
    begin("expect sync 1\nexpect sync 1\n");
    arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::waiting);
    arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::done);
}

TEST_F(AConversation, TakesWhatArrivedBeforeItWasExpected)
{
    begin("send sync 1\nexpect async 2\n");
    go();
    arrives(Channel::async, 2);
    arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::done);
}

TEST_F(AConversation, FailsWhenWhatIsExpectedIsLate)
{
    begin("expect async 1\n");
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(talk->due(), now + 5s);
    EXPECT_EQ(go(5s), State::failed);
    EXPECT_EQ(talk->why(), "s:1: expect async 0x0001: did not come within 5 s");
    begin("expect async 1 within=100ms\n");
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(go(100ms), State::failed);
}

TEST_F(AConversation, ExpectsOneMessageManyTimesWithRisingReferences)
{
    begin("expect sync 1 ref=5 times=3\n");
    arrives(Channel::sync, 1, 5);
    arrives(Channel::sync, 1, 6);
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(go(4s), State::waiting);
    arrives(Channel::sync, 1, 6);
    arrives(Channel::sync, 1, 7);
    EXPECT_EQ(go(4s), State::done);
    begin("expect sync 1 ref=5 times=3\n");
    arrives(Channel::sync, 1, 5);
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(go(5s), State::failed);
    EXPECT_EQ(talk->why(), "s:1: expect sync 0x0001 ref=5: came 1 times, no more within 5 s");
}

TEST_F(AConversation, ThatIsStrictRefusesWhatIsNotExpectedNext)
{
    rules.strict = true;
    begin("expect sync 1\n");
    arrives(Channel::sync, 2, 7, "x");
    EXPECT_EQ(go(), State::failed);
    EXPECT_EQ(talk->why(), "s:1: expect sync 0x0001: came sync 0x0002 ref=7 type=0 hex=78 instead");
    begin("expect sync 1\n");
    arrives(Channel::async, 2);
    arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::failed) << "also on a channel of which nothing is expected";
    EXPECT_EQ(talk->why(), "nothing was expected: came async 0x0002 ref=0 type=0 hex= instead");
    begin("expect sync 1 times=2\n");
    for (int i = 0; i < 3; ++i)
        arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::failed) << "one too many";
}

TEST_F(AConversation, ExpectsTheEndOfAChannel)
{
    begin("expect sync closed\n");
    EXPECT_EQ(go(), State::waiting);
    arrives(Channel::sync, 1);
    talk->on_closed(Channel::async);
    EXPECT_EQ(go(), State::waiting);
    talk->on_closed(Channel::sync);
    EXPECT_EQ(go(), State::done);
    begin("expect sync closed\n");
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(go(5s), State::failed);
}

TEST_F(AConversation, IsOverWhenTheAgentClosedAChannelThatIsStillNeeded)
{
    for (const char* script : {"send sync 1\n", "expect sync 1\n", "raw sync 00\n"}) {
        begin(script);
        talk->on_closed(Channel::sync);
        EXPECT_EQ(go(), State::gone) << script;
        EXPECT_EQ(talk->why().substr(0, 5), "s:1: ");
    }
    begin("send sync 1\n");
    EXPECT_EQ(go(), State::waiting);
    talk->on_closed(Channel::sync);
    EXPECT_EQ(go(), State::gone) << "no answer can come any more";
    begin("send sync 1\nsend sync 2\n");
    EXPECT_EQ(go(), State::waiting);
    talk->on_closed(Channel::sync);
    EXPECT_EQ(go(), State::gone);
}

TEST_F(AConversation, TakesWhatCameBeforeTheEnd)
{
    begin("expect sync 1\n");
    arrives(Channel::sync, 1);
    talk->on_closed(Channel::sync);
    EXPECT_EQ(go(), State::done);
}

TEST_F(AConversation, PausesSendsRawBytesAndCloses)
{
    begin("raw sync 41\npause 100ms\nclose sync\n");
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(take_sent(), "sync raw A\n");
    EXPECT_EQ(talk->due(), now + 100ms);
    EXPECT_EQ(go(99ms), State::waiting);
    EXPECT_EQ(go(1ms), State::done);
    EXPECT_EQ(take_sent(), "sync close\n");
}

TEST_F(AConversation, ClosesAChannelOnceTheAnswersOnItHaveCome)
{
    begin("send sync 1\nclose async\nclose sync\n");
    EXPECT_EQ(go(), State::waiting);
    EXPECT_EQ(take_sent(), "sync 1/0\nasync close\n");
    arrives(Channel::sync, 1);
    EXPECT_EQ(go(), State::done);
    EXPECT_EQ(take_sent(), "sync close\n");
}

TEST_F(AConversation, HeedsTheTimesOfItsStepsUnlessItIsToBeFast)
{
    imstac::Steps steps(2);
    steps[1].at = 3s;
    for (imstac::Step& step : steps)
        step.channel = Channel::async;
    talk = std::make_unique<Conversation>(steps, rules, *this);
    EXPECT_EQ(go(10s), State::waiting) << "times count from the first call";
    EXPECT_EQ(talk->due(), now + 3s);
    EXPECT_EQ(go(2s), State::waiting);
    EXPECT_EQ(take_sent(), "async 0/0\n");
    EXPECT_EQ(go(1s), State::done);
    rules.timed = false;
    talk = std::make_unique<Conversation>(steps, rules, *this);
    EXPECT_EQ(go(), State::done);
}
