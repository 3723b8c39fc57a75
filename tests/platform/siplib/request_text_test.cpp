#include "siplib/request_text.h"

#include <gtest/gtest.h>

using namespace siplib;

namespace {

class ARequest : public ::testing::Test {
protected:
    ARequest()
    {
        message.add("From", "<sip:a@b>");
        message.add("To", "<sip:c@d>");
    }
    int complete() { return complete_request(message, "NOTIFY", "sip:c@d", cseqs, text); }
    bool has_line(const std::string& line) const
    {
        return text.find("\r\n" + line + "\r\n") != std::string::npos;
    }

    Message message;
    CSeqTable cseqs{10};
    std::string text;
};

TEST_F(ARequest, GetsWhatIsMissing)
{
    ASSERT_EQ(complete(), SIPLIB_OK);
    EXPECT_EQ(text.substr(0, 24), "NOTIFY sip:c@d SIP/2.0\r\n");
    EXPECT_EQ(message.find("From").substr(0, 14), "<sip:a@b>;tag=");
    EXPECT_GE(message.find("Call-ID").size(), 16u);
    EXPECT_TRUE(has_line("CSeq: 1 NOTIFY"));
    EXPECT_TRUE(has_line("Max-Forwards: 70"));
    EXPECT_TRUE(has_line("Content-Length: 0"));
    EXPECT_EQ(message.find("To"), "<sip:c@d>");
}

TEST_F(ARequest, KeepsWhatWasSet)
{
    message.set("From", "\"N\" <sip:a@b>;tag=mine");
    message.set("To", "<sip:c@d>;tag=theirs");
    message.add("Call-ID", "kept@here");
    message.add("Max-Forwards", "3");
    message.add("CSeq", "17 NOTIFY");
    ASSERT_EQ(complete(), SIPLIB_OK);
    EXPECT_TRUE(has_line("From: \"N\" <sip:a@b>;tag=mine"));
    EXPECT_TRUE(has_line("To: <sip:c@d>;tag=theirs"));
    EXPECT_TRUE(has_line("Call-ID: kept@here"));
    EXPECT_TRUE(has_line("Max-Forwards: 3"));
    EXPECT_TRUE(has_line("CSeq: 17 NOTIFY"));
    EXPECT_EQ(cseqs.next({"kept@here", "mine", "theirs"}), 18u);
}

// A NOTIFY built only with a Call-ID, From and To falls into the dialog of its subscription.
TEST_F(ARequest, GetsRisingNumbersInItsDialog)
{
    message.set("From", "<sip:a@b>;tag=1");
    message.set("To", "<sip:c@d>;tag=2");
    message.add("Call-ID", "x");
    for (int i = 1; i <= 3; ++i) {
        message.remove("CSeq");
        ASSERT_EQ(complete(), SIPLIB_OK);
        EXPECT_TRUE(has_line("CSeq: " + std::to_string(i) + " NOTIFY"));
    }
}

TEST_F(ARequest, IsRefusedWithoutFromToOrUri)
{
    EXPECT_EQ(complete_request(message, "NOTIFY", "", cseqs, text), SIPLIB_ERR_STATE);
    Message no_from;
    no_from.add("To", "<sip:c@d>");
    EXPECT_EQ(complete_request(no_from, "NOTIFY", "sip:c@d", cseqs, text), SIPLIB_ERR_STATE);
    message.remove("To");
    EXPECT_EQ(complete(), SIPLIB_ERR_STATE);
}

TEST_F(ARequest, IsRefusedWhenItContradictsItself)
{
    message.add("CSeq", "1 SUBSCRIBE");
    EXPECT_EQ(complete(), SIPLIB_ERR_SYNTAX);
    message.set("CSeq", "1 NOTIFY");
    message.add("Content-Length", "5");
    EXPECT_EQ(complete(), SIPLIB_ERR_SYNTAX);
    message.set_body("12345");
    EXPECT_EQ(complete(), SIPLIB_OK);
    EXPECT_TRUE(has_line("Content-Length: 5"));
}

TEST_F(ARequest, IsRefusedAboveTheLargestSize)
{
    message.set_body(std::string(15 * 1024, 'x'));
    EXPECT_EQ(complete(), SIPLIB_OK);
    message.set_body(std::string(16 * 1024, 'x'));
    EXPECT_EQ(complete(), SIPLIB_ERR_ARGUMENT);
}

class ATarget : public ARequest {
protected:
    int find(const char* uri) { return find_target(message, uri, hop, target); }
    NextHop hop;
    Target target;
};

TEST_F(ATarget, IsTheRequestUri)
{
    ASSERT_EQ(find("sip:a@127.0.0.1:5071;transport=tcp"), SIPLIB_OK);
    EXPECT_EQ(target.host, "127.0.0.1");
    EXPECT_EQ(target.port, 5071);
    EXPECT_TRUE(target.tcp);
    EXPECT_EQ(target.route, "sip:127.0.0.1:5071;transport=tcp");
    ASSERT_EQ(find("sip:[::1]"), SIPLIB_OK);
    EXPECT_EQ(target.route, "sip:[::1]:5060;transport=udp");
}

TEST_F(ATarget, IsTheTopmostRouteBeforeTheRequestUri)
{
    message.add("Route", "<sip:127.0.0.2:5080;lr>, <sip:127.0.0.3;lr>");
    ASSERT_EQ(find("sip:a@127.0.0.1"), SIPLIB_OK);
    EXPECT_EQ(target.route, "sip:127.0.0.2:5080;transport=udp");
}

TEST_F(ATarget, IsTheNextHopBeforeEverythingElse)
{
    message.add("Route", "<sip:127.0.0.2;lr>");
    hop.host = "127.0.0.9";
    hop.port = 5099;
    ASSERT_EQ(find("sip:a@127.0.0.1;transport=tcp"), SIPLIB_OK);
    EXPECT_EQ(target.route, "sip:127.0.0.9:5099;transport=tcp");
    hop.transport = "udp";
    ASSERT_EQ(find("tel:+123"), SIPLIB_OK);
    EXPECT_EQ(target.route, "sip:127.0.0.9:5099;transport=udp");
}

TEST_F(ATarget, LooksNamesUp)
{
    ASSERT_EQ(find("sip:a@localhost:5071"), SIPLIB_OK);
    EXPECT_NE(target.host, "localhost");
    EXPECT_EQ(find("sip:a@no-such-host.invalid"), SIPLIB_ERR_TRANSPORT);
}

TEST_F(ATarget, IsRefusedForTransportsThatThereAreNot)
{
    EXPECT_EQ(find("sip:a@127.0.0.1;transport=sctp"), SIPLIB_ERR_TRANSPORT);
    EXPECT_EQ(find("sips:a@127.0.0.1"), SIPLIB_ERR_TRANSPORT);
    EXPECT_EQ(find("tel:+123"), SIPLIB_ERR_TRANSPORT);
}

} // namespace
