// A hundred thousand messages in both directions, through imstac and the example agent as processes.

#include "tests/system/telephony_fixture.h"

namespace {

std::string number_of(std::uint32_t number)
{
    std::string digits = std::to_string(number);
    return std::string(6 - digits.size(), '0') + digits;
}

} // namespace

// 100,000 requests one way; as many answers and as many events the other way. Each carries its number.
TEST_F(ATelephonyAgent, LosesDoublesAndReordersNoneOfAHundredThousandMessagesInBothDirections)
{
    constexpr std::uint32_t COUNT = 100000;
    start({"-loglevel", "3"});
    std::string sends = "send async 0x8101\nexpect async 0x8101\n";
    std::string expects;
    for (std::uint32_t i = 0; i < COUNT; ++i) {
        const std::string message = " ref=" + std::to_string(i) + " text=" + number_of(i) + "\n";
        sends += "send sync 0x1004" + message;
        expects += "expect sync 0x1004" + message + "expect async 0x2002 text=" + number_of(i) + "\n";
    }
    // What would come twice stands before the answers to these.
    const std::string last = "send sync 0x1003\nexpect sync 0x1003\nsend async 0x8101\nexpect async 0x8101\n";
    EXPECT_EQ(imstac({"--strict", "--quiet", "--window", "45", "--script",
                      dir.write("many", sends + expects + last)},
                     std::chrono::seconds(250)),
              0)
        << said << agent->log();
}
