#include "siplib/SIPLIB.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(TheStackConfiguration, StartsWithTheLibrarysDefaults)
{
    SIPLIB_StackCfg cfg;
    std::memset(&cfg, 0x5a, sizeof cfg);
    SIPLIB_SIPInitConfig(&cfg);
    EXPECT_STREQ(cfg.localAddress, "127.0.0.1");
    EXPECT_STREQ(cfg.tcpLocalAddress, "127.0.0.1");
    EXPECT_EQ(cfg.tcpFlag, 1);
    EXPECT_EQ(cfg.tcpOption, 6);
    EXPECT_EQ(cfg.logMask, 8 | 16);
    EXPECT_EQ(cfg.T1, 500);
    EXPECT_EQ(cfg.T2, 4000);
    EXPECT_EQ(cfg.T4, 10);
    EXPECT_GT(cfg.maxTransactions, 0);
    EXPECT_GT(cfg.maxConnections, 0);
    EXPECT_GT(cfg.maxSubscriptions, 0);
    EXPECT_GT(cfg.maxCallDialogs, 0);
    EXPECT_GT(cfg.maxTransmitters, 0);
}

TEST(TheStackConfiguration, IgnoresANullPointer)
{
    SIPLIB_SIPInitConfig(nullptr);
}
