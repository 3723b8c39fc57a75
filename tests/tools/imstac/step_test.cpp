#include "tools/imstac/step.h"

#include <gtest/gtest.h>

namespace {

using imstac::Channel;

} // namespace

TEST(APattern, FitsWhatAgreesWithAllThatIsSet)
{
    const imstac::Message message{1, 7, 0x2001, "body"};
    imstac::Pattern pattern;
    EXPECT_TRUE(pattern.fits(message));
    pattern.id = 0x2001;
    pattern.ref = 7u;
    pattern.type = std::uint8_t{1};
    pattern.body = "body";
    EXPECT_TRUE(pattern.fits(message));
    for (int field = 0; field < 5; ++field) {
        imstac::Pattern other = pattern;
        if (field == 0) other.id = 0x2002;
        if (field == 1) other.ref = 8u;
        if (field == 2) other.type = std::uint8_t{0};
        if (field == 3) other.body = "bod";
        if (field == 4) other.closed = true;
        EXPECT_FALSE(other.fits(message)) << field;
    }
}

TEST(TheUsualAnswer, ComesOnTheSynchronousChannelToARequestAndNotAtAllToAnEvent)
{
    const auto answer = imstac::usual_answer(Channel::sync, 0x1001);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->channel, Channel::sync);
    EXPECT_EQ(answer->id, 0x1001);
    EXPECT_FALSE(imstac::usual_answer(Channel::async, 0x1001));
}

TEST(TheUsualAnswer, ToSocketInitComesOnTheAsynchronousChannel)
{
    for (const Channel channel : imstac::CHANNELS) {
        const auto answer = imstac::usual_answer(channel, 33025);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->channel, Channel::async);
        EXPECT_EQ(answer->id, 33025);
    }
}

TEST(AStep, IsShownAsAScriptHasIt)
{
    imstac::Step step;
    step.channel = Channel::sync;
    step.message = {1, 7, 0x1001, "ab"};
    EXPECT_EQ(imstac::shown(step), "send sync 0x1001 ref=7 type=1 hex=6162");
    step.message = {0, 0, 5, std::string(33, 'x')};
    EXPECT_EQ(
        imstac::shown(step), "send sync 0x0005 hex=" + [] {
            std::string hex;
            for (int i = 0; i < 32; ++i)
                hex += "78";
            return hex;
        }() + "... (33 bytes)");
    step.verb = imstac::Verb::expect;
    EXPECT_EQ(imstac::shown(step), "expect sync any");
    step.pattern.id = 0x2001;
    step.pattern.ref = 0u;
    step.pattern.type = std::uint8_t{1};
    step.pattern.body = "";
    EXPECT_EQ(imstac::shown(step), "expect sync 0x2001 ref=0 type=1 hex=");
    step.pattern.closed = true;
    EXPECT_EQ(imstac::shown(step), "expect sync closed");
    step.verb = imstac::Verb::raw;
    step.bytes = "\x01\x02";
    EXPECT_EQ(imstac::shown(step), "raw sync 0102");
    step.verb = imstac::Verb::close;
    EXPECT_EQ(imstac::shown(step), "close sync");
    step.verb = imstac::Verb::pause;
    step.time = std::chrono::milliseconds(1500);
    EXPECT_EQ(imstac::shown(step), "pause 1.5 s");
}
