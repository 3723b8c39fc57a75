#include "siplib/connector.h"

#include <gtest/gtest.h>

TEST(OpeningAConnection, RefusesWhatIsNoUri)
{
    EXPECT_EQ(siplib::open_uri(nullptr, nullptr), nullptr);
    EXPECT_EQ(siplib::open_uri("", nullptr), nullptr);
    EXPECT_EQ(siplib::open_uri("not a uri", nullptr), nullptr);
    EXPECT_EQ(siplib::open_uri("sip:", nullptr), nullptr);
    EXPECT_EQ(siplib::open_to_from(nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(siplib::open_address("sctp", "127.0.0.1", 5060, nullptr, 0), nullptr);
    EXPECT_EQ(siplib::open_address("udp", nullptr, 5060, nullptr, 0), nullptr);
}
