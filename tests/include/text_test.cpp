#include "include/text.h"

#include <climits>
#include <gtest/gtest.h>
#include <string>

using imsua::IMS_atoi;

TEST(ANumber, IsReadAsItsLeadingDigits)
{
    EXPECT_EQ(IMS_atoi("42"), 42);
    EXPECT_EQ(IMS_atoi("  \t-7x"), -7);
    EXPECT_EQ(IMS_atoi("+8"), 8);
    EXPECT_EQ(IMS_atoi("text"), 0);
    EXPECT_EQ(IMS_atoi(""), 0);
    EXPECT_EQ(IMS_atoi(nullptr), 0);
}

TEST(ANumber, SaturatesOnEveryHost)
{
    EXPECT_EQ(IMS_atoi("99999999999"), INT_MAX);
    EXPECT_EQ(IMS_atoi("-99999999999"), INT_MIN);
    EXPECT_EQ(IMS_atoi("2147483647"), INT_MAX);
    EXPECT_EQ(IMS_atoi("99999999999999999999999999"), INT_MAX);
}

TEST(ANullText, IsEmptyAsAStringAndNamedInTheLog)
{
    EXPECT_EQ(std::string(imsua::text(nullptr)), "");
    EXPECT_EQ(std::string(imsua::shown(nullptr)), "(null)");
    EXPECT_EQ(std::string(imsua::shown("a")), "a");
}
