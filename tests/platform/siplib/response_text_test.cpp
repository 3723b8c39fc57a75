#include "siplib/response_text.h"

#include <gtest/gtest.h>

using siplib::Message;
using siplib::response_text;

namespace {

class AResponse : public ::testing::Test {
protected:
    AResponse()
    {
        const std::string text = "NOTIFY sip:a SIP/2.0\r\nVia: SIP/2.0/UDP one;branch=z9hG4bK1\r\n"
                                 "v: SIP/2.0/UDP two\r\nf: <sip:b>;tag=1\r\nTo: <sip:a>\r\nCall-ID: c\r\n"
                                 "CSeq: 4 NOTIFY\r\nRecord-Route: <sip:r;lr>\r\nEvent: reg\r\n\r\n";
        EXPECT_TRUE(request.parse(text, text.size()));
    }
    Message request, response;
};

// RFC 3261 section 8.2.6.
TEST_F(AResponse, CopiesWhatIdentifiesTheRequest)
{
    response.add("Server", "me");
    response.set_body("xy");
    EXPECT_EQ(response_text(request, response, 200, "t"),
              "SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP one;branch=z9hG4bK1\r\nVia: SIP/2.0/UDP two\r\n"
              "Record-Route: <sip:r;lr>\r\nFrom: <sip:b>;tag=1\r\nTo: <sip:a>;tag=t\r\nCall-ID: c\r\n"
              "CSeq: 4 NOTIFY\r\nServer: me\r\nContent-Length: 2\r\n\r\nxy");
}

TEST_F(AResponse, LeavesATagThatIsThere)
{
    request.set("To", "<sip:a>;tag=old");
    EXPECT_NE(response_text(request, response, 200, "t").find("To: <sip:a>;tag=old\r\n"), std::string::npos);
}

TEST_F(AResponse, PutsNoTagIntoATrying)
{
    EXPECT_NE(response_text(request, response, 100, "t").find("To: <sip:a>\r\n"), std::string::npos);
}

TEST_F(AResponse, TakesTheUsersOwnTo)
{
    response.add("To", "<sip:a>;tag=own");
    const std::string text = response_text(request, response, 200, "own");
    EXPECT_NE(text.find("To: <sip:a>;tag=own\r\n"), std::string::npos);
    EXPECT_EQ(text.find("To: <sip:a>\r\n"), std::string::npos);
}

} // namespace
