#include "messages/IMS_RegPackageInfo.h"

#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct APackageRegister : ::testing::Test {
    RecordingClientConnection conn;
    IMSComponentPackageInfo document;
};

TEST_F(APackageRegister, SetsItsHeadersInOrder)
{
    const IMS_RegPackageInfo message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
    EXPECT_THAT(conn.calls,
                ElementsAre("initRequest(REGISTER)", "setHeader(From, <sip:a@h>)", "setHeader(To, <sip:b@h>)",
                            "setHeader(Contact, <sip:c@h>)", "setHeader(Content-Type, application/xml)"));
    EXPECT_EQ(message.body, &document);
    EXPECT_TRUE(message.is_outgoing);
}

TEST_F(APackageRegister, FromStringsMakesTheSameCalls)
{
    RecordingClientConnection other;
    const std::string text = "<sip:a@h>";
    const IMS_RegPackageInfo from_chars(&conn, text.c_str(), text.c_str(), text.c_str(), &document);
    const IMS_RegPackageInfo from_strings(&other, text, text, text, &document);
    EXPECT_EQ(conn.calls, other.calls);
    EXPECT_EQ(conn.calls.back(), "setHeader(Content-Type, application/xml)");
}

TEST_F(APackageRegister, IsSentWithItsDocument)
{
    document.package_info = "voice";
    IMS_RegPackageInfo message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("setBody(" + std::to_string(document.buffer_length) + ")", "send()"));
    EXPECT_EQ(conn.sent_body, std::string(document.buffer, static_cast<std::size_t>(document.buffer_length)));
    EXPECT_NE(conn.sent_body.find("<package-info>voice</package-info>"), std::string::npos) << conn.sent_body;
}

TEST_F(APackageRegister, IsNotSentWhenItsDocumentCannotBeEncoded)
{
    struct : IMSComponentPackageInfo {
        int encodeXml() override { return -1; }
    } broken;
    IMS_RegPackageInfo message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &broken);
    conn.calls.clear();
    LogRecords log;
    EXPECT_FALSE(message.send());
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "send", "Error encoding XML"}}));
}

TEST_F(APackageRegister, WithoutADocumentIsSentWithoutABody)
{
    IMS_RegPackageInfo message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", nullptr);
    conn.calls.clear();
    EXPECT_TRUE(message.send());
    EXPECT_THAT(conn.calls, ElementsAre("send()"));
}

TEST_F(APackageRegister, OnANullConnectionSetsNothingAndFailsToSend)
{
    LogRecords log;
    IMS_RegPackageInfo message(nullptr, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
    EXPECT_THAT(log.all(), IsEmpty());
    EXPECT_FALSE(message.send());
    EXPECT_EQ(log.all().back(), (LogRecord{4, "send", "failed: Connection is null"}));
}

TEST_F(APackageRegister, LeavesTheCallersDocumentAlone)
{
    {
        IMS_RegPackageInfo message(&conn, "<sip:a@h>", "<sip:b@h>", "<sip:c@h>", &document);
        message.send();
    }
    EXPECT_NE(document.buffer, nullptr);
    EXPECT_EQ(document.encodeXml(), 0);
}

static_assert(std::is_base_of<IMS_reg_message, IMS_RegPackageInfo>::value, "");
static_assert(sizeof(IMS_RegPackageInfo) == sizeof(IMS_reg_message), "adds no fields");
static_assert(!std::is_convertible<SIPLIB_SIPConnection*, IMS_RegPackageInfo>::value, "");

} // namespace
