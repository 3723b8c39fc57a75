#include "include/sip_names.h"

#include <gtest/gtest.h>
#include <string>

TEST(TheMethodTable, CountsInfoOptionsAndUpdateAsOther)
{
    EXPECT_EQ(SipMethodNameTableSize, 13);
    for (int row : {0, 1, 2, 3})
        EXPECT_EQ(SipMethodNameTable[row].code, 6) << SipMethodNameTable[row].name;
    EXPECT_EQ(std::string(SipMethodNameTable[12].name), "SUBSCRIBE");
    EXPECT_EQ(SipMethodNameTable[12].code, 9);
}

TEST(TheHeaderTable, GivesTwinsOneCodeAndTheWildcardTheGapAtTwelve)
{
    EXPECT_EQ(SipHeaderNameTableSize, 29);
    EXPECT_EQ(std::string(SipHeaderNameTable[0].name), "*");
    EXPECT_EQ(SipHeaderNameTable[0].code, 12);
    EXPECT_EQ(SipHeaderNameTable[6].code, SipHeaderNameTable[7].code);
    EXPECT_EQ(SipHeaderNameTable[8].code, SipHeaderNameTable[9].code);
    EXPECT_EQ(SipHeaderNameTable[10].code, SipHeaderNameTable[11].code);
}

TEST(TheHeaderTable, KeepsTheSpellingsThatTheAgentsExchange)
{
    EXPECT_EQ(std::string(SipHeaderNameTable[14].name), "Content-Dispositon");
    EXPECT_EQ(std::string(SipHeaderNameTable[17].name), "Rack");
    EXPECT_EQ(std::string(SipHeaderNameTable[25].name), "Minse");
    EXPECT_EQ(SipHeaderNameTable[28].code, 257);
}

TEST(TheTransportAndQopTables, StartWithTheEmptyName)
{
    EXPECT_EQ(std::string(SipTransportNameTable[0].name), "");
    EXPECT_EQ(SipTransportNameTable[0].code, 4);
    EXPECT_EQ(SipTransportNameTable[4].code, 2);
    EXPECT_EQ(SipTransportNameTableSize, 5);
    EXPECT_EQ(std::string(SipQopNameTable[0].name), "");
    EXPECT_EQ(std::string(SipQopNameTable[3].name), "auth,auth-int");
    EXPECT_EQ(SipQopNameTableSize, 4);
}
