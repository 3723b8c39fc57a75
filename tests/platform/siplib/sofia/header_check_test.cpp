#include "siplib/header_check.h"

#include <gtest/gtest.h>

using siplib::header_parses;

TEST(AHeaderCheck, AcceptsWhatTheStandardsShow)
{
    EXPECT_TRUE(header_parses("From", "\"A. G. Bell\" <sip:agb@bell-telephone.com> ;tag=a48s"));
    EXPECT_TRUE(header_parses("To", "sip:+12125551212@server.phone2net.com"));
    EXPECT_TRUE(header_parses("Contact", "\"Mr. Watson\" <sip:watson@worcester.bell-telephone.com>;q=0.7"));
    EXPECT_TRUE(header_parses("CSeq", "4711 INVITE"));
    EXPECT_TRUE(header_parses("Event", "reg"));
    EXPECT_TRUE(header_parses("o", "presence;id=7"));
    EXPECT_TRUE(header_parses("Expires", "5"));
    EXPECT_TRUE(header_parses("Route", "<sip:bigbox3.site3.atlanta.com;lr>, <sip:server10.biloxi.com;lr>"));
    EXPECT_TRUE(header_parses("Subscription-State", "terminated;reason=noresource"));
    EXPECT_TRUE(header_parses("Content-Type", "application/reginfo+xml"));
    EXPECT_TRUE(header_parses("Retry-After", "5"));
    EXPECT_TRUE(header_parses("Allow-Events", "reg, presence"));
}

TEST(AHeaderCheck, AcceptsAnythingUnderANameItDoesNotKnow)
{
    EXPECT_TRUE(header_parses("Kiv-Profile-ID", "-1"));
    EXPECT_TRUE(header_parses("X-Anything", "<<<;;;\"\""));
}

TEST(AHeaderCheck, RefusesWhatItsParserRefuses)
{
    EXPECT_FALSE(header_parses("CSeq", "abc"));
    EXPECT_FALSE(header_parses("Expires", "soon"));
    EXPECT_FALSE(header_parses("From", "<sip:a"));
    EXPECT_FALSE(header_parses("Via", "what"));
    EXPECT_FALSE(header_parses("Max-Forwards", "-"));
}
