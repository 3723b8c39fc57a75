#include "tools/imsladder/participants.h"

#include "tests/tools/imsladder/samples.h"

#include <gtest/gtest.h>

using namespace imsladder;
using namespace samples;

TEST(AParticipant, IsAProcessWithTheAddressItUsedMost)
{
    const std::string r = request("OPTIONS", "b1");
    const Party other_port{"imswatch", 11, "127.0.0.1:40000"};
    Participants who({sent(0, other_port, agent.address, r), sent(1, watch, agent.address, r),
                      sent(2, watch, agent.address, r)});
    ASSERT_EQ(who.all().size(), 1u);
    EXPECT_EQ(who.all()[0].name, "imswatch");
    EXPECT_EQ(who.all()[0].address, watch.address);
    EXPECT_EQ(who.at(other_port.address, 5), 0u);
}

TEST(AParticipant, IsNamedWithItsProcessWhereTheNameIsNotEnough)
{
    const std::string r = request("OPTIONS", "b1");
    const Participants who({sent(0, watch, "x", r), sent(1, {"imswatch", 12, "127.0.0.1:5081"}, "x", r),
                            sent(2, agent, "x", r)});
    EXPECT_EQ(who.all()[0].name, "imswatch [11]");
    EXPECT_EQ(who.all()[1].name, "imswatch [12]");
    EXPECT_EQ(who.all()[2].name, "imslinkevd");
}

// A daemon that is started again takes the port of the one before.
TEST(AParticipant, IsFoundByAddressAndTime)
{
    const std::string r = request("OPTIONS", "b1");
    Participants who({sent(0, agent, "x", r), sent(100, agent, "x", r),
                      sent(200, {"imslinkevd", 23, agent.address}, "x", r)});
    EXPECT_EQ(who.at(agent.address, 50), 0u);
    EXPECT_EQ(who.at(agent.address, 140), 0u);
    EXPECT_EQ(who.at(agent.address, 160), 1u);
    EXPECT_EQ(who.at(agent.address, 1000), 1u);
}

TEST(AParticipant, MayBeAnAddressThatKeepsNoRecord)
{
    Participants who({});
    EXPECT_EQ(who.at(sipp, 0), 0u);
    EXPECT_EQ(who.at(sipp, 9), 0u);
    EXPECT_EQ(who.at("", 9), 1u);
    EXPECT_EQ(who.all()[0].name, sipp);
    EXPECT_FALSE(who.all()[0].records);
    EXPECT_EQ(who.all()[1].name, "?");
}
