#include "siplib/random_text.h"

#include <gtest/gtest.h>

#include <set>

TEST(RandomText, HasAsManyHexDigitsAsAskedFor)
{
    EXPECT_EQ(siplib::random_text(16).size(), 16u);
    EXPECT_EQ(siplib::random_text(7).size(), 7u);
    EXPECT_EQ(siplib::random_text(1000).size(), 64u);
    EXPECT_EQ(siplib::random_text(64).find_first_not_of("0123456789abcdef"), std::string::npos);
}

TEST(RandomText, DoesNotRepeat)
{
    std::set<std::string> seen;
    for (int i = 0; i < 2000; ++i)
        EXPECT_TRUE(seen.insert(siplib::random_text(16)).second);
    siplib::renew_randomness();
    EXPECT_TRUE(seen.insert(siplib::random_text(16)).second);
}
