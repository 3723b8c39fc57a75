#include "messages/message_body.h"

#include "messages/IMS_NotifyDALinkEv.h"
#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Records = std::vector<LogRecord>;

// The least that a body-carrying message has.
struct Carrier : IMS_Message {
    explicit Carrier(SIPLIB_SIPConnection* conn) : IMS_Message(conn) {}
    ~Carrier() override { delete body; }
    void parse()
    {
        seen.assign(body->buffer, static_cast<std::size_t>(body->buffer_length));
        imsua::parse_body(body);
    }
    XmlData* body = nullptr;
    std::string seen;
};

class ABody : public testing::Test {
protected:
    RecordingServerConnection conn;
    Carrier message{&conn};
    LogRecords log;
};

TEST_F(ABody, IsPutInEncoded)
{
    ScriptedDocument document;
    EXPECT_TRUE(imsua::put_body(message, &document));
    EXPECT_EQ(conn.sent_body, "<scripted/>");
    EXPECT_EQ(log.all(), (Records{{5, "send", "Successfully encoded XML..."}, {5, "set_body", "ok"}}));
}

TEST_F(ABody, ThatCannotBeEncodedIsNotPutIn)
{
    ScriptedDocument document;
    document.encode_status = -1;
    EXPECT_FALSE(imsua::put_body(message, &document));
    EXPECT_THAT(conn.calls, IsEmpty());
    EXPECT_EQ(log.all(), (Records{{4, "send", "Error encoding XML"}}));
}

TEST_F(ABody, ThatTheConnectionRefusesIsNoReasonNotToSend)
{
    conn.status_of["setBody"] = 108;
    ScriptedDocument document;
    EXPECT_TRUE(imsua::put_body(message, &document));
}

TEST_F(ABody, ThatIsNotThereIsNothingToDo)
{
    EXPECT_TRUE(imsua::put_body(message, nullptr));
    imsua::parse_body(nullptr);
    EXPECT_THAT(log.all(), IsEmpty());
}

TEST_F(ABody, ParsedTellsHowItWent)
{
    ScriptedDocument document;
    imsua::parse_body(&document);
    document.parse_status = -1;
    imsua::parse_body(&document);
    EXPECT_EQ(log.all(), (Records{PARSED, NOT_PARSED}));
}

TEST_F(ABody, ReceivedIsParsedAndThenNotPointedAtAnyMore)
{
    conn.body = "<a/>";
    imsua::read_body<ScriptedDocument>(message);
    EXPECT_THAT(conn.calls, ElementsAre("getBody(1024)"));
    EXPECT_EQ(message.seen, "<a/>");
    ASSERT_NE(message.body, nullptr);
    EXPECT_EQ(message.body->buffer, nullptr);
    EXPECT_EQ(message.body->buffer_length, 0);
}

TEST_F(ABody, ReceivedEmptyMakesNoDocument)
{
    imsua::read_body<ScriptedDocument>(message);
    EXPECT_EQ(message.body, nullptr);
    EXPECT_EQ(log.all(), (Records{{5, "get_body", "len=0"}}));
}

TEST_F(ABody, OfExactlyTheCapacityIsWhole)
{
    conn.body = std::string(1024, 'x');
    imsua::read_body<ScriptedDocument>(message);
    EXPECT_EQ(message.seen, conn.body);
    EXPECT_TRUE(log.has(5, "get_body", "len=1024"));
}

TEST_F(ABody, BeyondTheCapacityIsCut)
{
    conn.body = std::string(1024, 'x') + "y";
    imsua::read_body<ScriptedDocument>(message);
    EXPECT_EQ(message.seen, std::string(1024, 'x'));
    EXPECT_TRUE(log.has(4, "get_body", "failed: len=1024 status=105"));
}

TEST_F(ABody, ThatCouldNotBeReadIsAsManyZeros)
{
    conn.status_of["getBody"] = 103;
    imsua::read_body<ScriptedDocument>(message);
    EXPECT_EQ(message.seen, std::string(1024, '\0'));
    EXPECT_TRUE(log.has(4, "get_body", "failed: len=1024 status=103"));
}

TEST(ABodyOfANegativeLength, IsADocumentThatCannotBeParsed)
{
    class Careless : public SIPLIB_SIPServerConnection {
        int getBody(char*, int& len) override
        {
            len = -1;
            return SIPLIB_OK;
        }
    } careless;
    LogRecords log;
    const IMS_NotifyDALinkEv notify(&careless);
    EXPECT_NE(notify.body, nullptr) << "only a length of zero means that there is none";
    EXPECT_EQ(of_body_reading(log), (Records{{5, "get_body", "len=-1"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TEST(ABodyWithoutConnection, IsAsManyZeros)
{
    LogRecords log;
    Carrier message(nullptr);
    imsua::read_body<ScriptedDocument>(message);
    EXPECT_EQ(message.seen, std::string(1024, '\0'));
    EXPECT_EQ(log.all()[0], (LogRecord{4, "get_body", "get_body failed: Connection is null"}));
}

} // namespace
