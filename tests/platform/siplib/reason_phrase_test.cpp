#include "siplib/reason_phrase.h"

#include <gtest/gtest.h>

TEST(AReasonPhrase, IsThatOfTheRfcs)
{
    EXPECT_STREQ(siplib::reason_phrase(200), "OK");
    EXPECT_STREQ(siplib::reason_phrase(489), "Bad Event");
    EXPECT_STREQ(siplib::reason_phrase(481), "Call/Transaction Does Not Exist");
    EXPECT_STREQ(siplib::reason_phrase(513), "Message Too Large");
}

TEST(AReasonPhrase, IsThatOfTheClassForACodeWithoutOne)
{
    EXPECT_STREQ(siplib::reason_phrase(299), "OK");
    EXPECT_STREQ(siplib::reason_phrase(499), "Client Error");
    EXPECT_STREQ(siplib::reason_phrase(0), "Unknown");
    EXPECT_STREQ(siplib::reason_phrase(-700), "Unknown");
    EXPECT_STREQ(siplib::reason_phrase(9999), "Unknown");
}
