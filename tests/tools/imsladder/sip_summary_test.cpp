#include "tools/imsladder/sip_summary.h"

#include <gtest/gtest.h>

using namespace imsladder;

namespace {

Summary with_headers(const std::string& headers)
{
    return summarize("NOTIFY sip:a@h SIP/2.0\r\n" + headers + "\r\n\r\nEvent: in-the-body\r\n");
}

} // namespace

TEST(ASummary, TakesWhatIdentifiesARequest)
{
    const Summary s =
        with_headers("Via: SIP/2.0/UDP h;rport;branch=z9hG4bKa ;x=1\r\nVia: SIP/2.0/UDP i;branch=z9hG4bKb\r\n"
                     "Call-ID: c@h\r\nCSeq: 7 NOTIFY\r\nEvent: kiv-link-event;id=1\r\n"
                     "Subscription-State: active;expires=60\r\nExpires: 60");
    EXPECT_EQ(s.kind, Summary::Kind::request);
    EXPECT_EQ(s.method, "NOTIFY");
    EXPECT_EQ(s.branch, "z9hG4bKa");
    EXPECT_EQ(s.call_id, "c@h");
    EXPECT_EQ(s.cseq, "7 NOTIFY");
    EXPECT_EQ(s.event, "kiv-link-event");
    EXPECT_EQ(s.state, "active");
    EXPECT_EQ(label_of(s), "NOTIFY kiv-link-event active");
}

// RFC 3261 sections 7.3.1 and 7.3.3.
TEST(ASummary, ReadsCompactSpacedAndFoldedHeaders)
{
    const Summary s = with_headers(
        "v : SIP/2.0/UDP h\r\n ;BRANCH = b1, SIP/2.0/UDP i;branch=b2\r\nI:c\r\no:\r\n\tmy-event");
    EXPECT_EQ(s.branch, "b1");
    EXPECT_EQ(s.call_id, "c");
    EXPECT_EQ(s.event, "my-event");
}

TEST(ASummary, TellsAResponseByItsCSeq)
{
    const Summary s = summarize("SIP/2.0 481 Call/Transaction Does Not Exist\r\nCSeq: 2 NOTIFY\r\n\r\n");
    EXPECT_EQ(s.kind, Summary::Kind::response);
    EXPECT_EQ(s.status, 481);
    EXPECT_EQ(s.method, "NOTIFY");
    EXPECT_EQ(label_of(s), "481 Call/Transaction Does Not Exist (NOTIFY)");
    EXPECT_EQ(label_of(summarize("SIP/2.0 200\r\n\r\n")), "200");
    EXPECT_EQ(label_of(summarize("SIP/2.0 200 \nCSeq: 1 BYE\n\n")), "200 (BYE)");
}

TEST(ASummary, ShowsTheEndOfASubscription)
{
    EXPECT_EQ(label_of(summarize("SUBSCRIBE sip:a SIP/2.0\r\nEvent: reg\r\nExpires: 0\r\n\r\n")),
              "SUBSCRIBE reg (Expires: 0)");
    EXPECT_EQ(label_of(summarize("SUBSCRIBE sip:a SIP/2.0\r\nEvent: reg\r\nExpires: 600\r\n\r\n")),
              "SUBSCRIBE reg");
}

TEST(ASummary, SaysWhatIsNotSip)
{
    EXPECT_EQ(label_of(summarize("\r\n\r\n")), "(4 bytes, not SIP)");
    for (const char* text : {"", "hello", "GET / HTTP/1.1\r\n", "SIP/2.0 20 OK", "SIP/2.0 2000 OK",
                             "SIP/2.0 2x0 OK", "INVITE SIP/2.0", " \n"})
        EXPECT_EQ(summarize(text).kind, Summary::Kind::other) << text;
}

TEST(ASummary, ReadsHeadersOnly)
{
    EXPECT_EQ(with_headers("To: x").event, "");
}

TEST(ASummary, KeepsTheFirstLinesPrintable)
{
    EXPECT_EQ(summarize("BYE sip:a SIP/2.0\r\nTo:\tb\r\nX: \x1B[31m\xC3\r\n\r\nbody").head,
              "BYE sip:a SIP/2.0\nTo: b\nX: ?[31m?");
    std::string many = "BYE sip:a SIP/2.0\n";
    for (int i = 0; i < 100; ++i)
        many += "X: " + std::string(1000, 'x') + '\n';
    EXPECT_LE(summarize(many).head.size(), 14u * 161u);
}

TEST(ALabel, HoldsNothingThatATerminalObeys)
{
    const std::string label = label_of(summarize("SIP/2.0 200 \x1B]0;owned\x07\x9B\r\n\r\n"));
    EXPECT_EQ(label, "200 ?]0;owned??");
}
