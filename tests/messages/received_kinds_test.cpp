// What every kind of message that reads a document does with a received body.
#include "messages/IMS_DAMessage.h"
#include "messages/IMS_NotifyReg.h"
#include "messages/IMS_ProxyMessage.h"
#include "messages/IMS_RegPackageInfo.h"
#include "tests/messages/bodies.h"
#include "tests/support/recording_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Records = std::vector<LogRecord>;

// A kind, its document, and a body around a value of any length that is read into value_of().
struct Routes {
    static constexpr const char* name = "Routes";
    using Message = IMS_ProxyMessage;
    using Document = IMSSetRouteXml;
    static Message* receive(SIPLIB_SIPConnection* conn) { return new Message(conn); }
    static std::string body(const std::string& value)
    {
        return "<route-info><action>" + value + "</action></route-info>";
    }
    static std::string value_of(const Document& document) { return document.action; }
};

struct Discovery {
    static constexpr const char* name = "Discovery";
    using Message = IMS_DAMessage;
    using Document = DAMessageXmlData;
    static Message* receive(SIPLIB_SIPConnection* conn) { return new Message(conn); }
    static std::string body(const std::string& value)
    {
        return "<link-info><profile-info><name>" + value + "</name></profile-info></link-info>";
    }
    static std::string value_of(const Document& document) { return document.name; }
};

struct Package {
    static constexpr const char* name = "Package";
    using Message = IMS_RegPackageInfo;
    using Document = IMSComponentPackageInfo;
    static Message* receive(SIPLIB_SIPConnection* conn) { return new Message(conn); }
    static std::string body(const std::string& value)
    {
        return "<module-info><package-info>" + value + "</package-info></module-info>";
    }
    static std::string value_of(const Document& document) { return document.package_info; }
};

struct Description {
    static constexpr const char* name = "Description";
    using Message = IMS_NotifyReg;
    using Document = RegUaXmlData;
    static Message* receive(SIPLIB_SIPConnection* conn) { return new Message(conn, false); }
    static std::string body(const std::string& value)
    {
        return "<ua-info><name>" + value + "</name></ua-info>";
    }
    static std::string value_of(const Document& document) { return document.name; }
};

struct State {
    static constexpr const char* name = "State";
    using Message = IMS_NotifyReg;
    using Document = RegXmlData;
    static Message* receive(SIPLIB_SIPConnection* conn) { return new Message(conn, true); }
    static std::string body(const std::string& value)
    {
        return "<reginfo state=\"" + value + "\"></reginfo>";
    }
    static std::string value_of(const Document& document) { return document.reginfo_state; }
};

// Registration states log with a line feed of their own.
Records without_line_feeds(Records records)
{
    for (LogRecord& r : records)
        if (!r.text.empty() && r.text.back() == '\n') r.text.pop_back();
    return records;
}

template <typename Kind>
struct AReceivedKind : ::testing::Test {
    // Reads `body`; the lines of the reading are in `lines`.
    const typename Kind::Document* read(const std::string& body)
    {
        conn.body = body;
        return read_from(&conn);
    }
    const typename Kind::Document* read_from(SIPLIB_SIPConnection* from)
    {
        LogRecords log;
        message.reset(Kind::receive(from));
        lines = without_line_feeds(of_body_reading(log));
        return dynamic_cast<typename Kind::Document*>(message->body);
    }
    RecordingServerConnection conn;
    std::unique_ptr<typename Kind::Message> message;
    Records lines;
};

using Kinds = ::testing::Types<Routes, Discovery, Package, Description, State>;
struct KindNames {
    template <typename Kind>
    static std::string GetName(int)
    {
        return Kind::name;
    }
};
TYPED_TEST_SUITE(AReceivedKind, Kinds, KindNames);

TYPED_TEST(AReceivedKind, ReadsItsDocument)
{
    const std::string body = TypeParam::body("value");
    const auto* document = this->read(body);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(TypeParam::value_of(*document), "value");
    EXPECT_FALSE(this->message->is_outgoing);
    EXPECT_THAT(this->conn.calls, ElementsAre("getBody(1024)"));
    EXPECT_EQ(this->lines, (Records{{5, "get_body", "len=" + std::to_string(body.size())}, PARSED}));
}

TYPED_TEST(AReceivedKind, HasNoDocumentWhenTheBodyIsEmpty)
{
    EXPECT_EQ(this->read(""), nullptr);
    EXPECT_EQ(this->message->body, nullptr);
    EXPECT_EQ(this->lines, (Records{{5, "get_body", "len=0"}}));
}

TYPED_TEST(AReceivedKind, HasAnEmptyDocumentWhenTheBodyCannotBeParsed)
{
    const auto* document = this->read("no xml at all");
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(TypeParam::value_of(*document), "");
    EXPECT_EQ(this->lines, (Records{{5, "get_body", "len=13"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TYPED_TEST(AReceivedKind, ParsesZerosWhenTheConnectionFails)
{
    this->conn.status_of["getBody"] = SIPLIB_ERR_STATE;
    const auto* document = this->read(TypeParam::body("value"));
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(TypeParam::value_of(*document), "");
    EXPECT_EQ(this->lines,
              (Records{{4, "get_body", "failed: len=1024 status=103"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TYPED_TEST(AReceivedKind, ParsesZerosWhenThereIsNoConnection)
{
    const auto* document = this->read_from(nullptr);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(TypeParam::value_of(*document), "");
    EXPECT_EQ(this->lines,
              (Records{{4, "get_body", "get_body failed: Connection is null"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TYPED_TEST(AReceivedKind, ReadsABodyOf1024BytesWhole)
{
    const std::string value(1024 - TypeParam::body("").size(), 'v');
    const auto* document = this->read(TypeParam::body(value));
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(TypeParam::value_of(*document), value);
    EXPECT_EQ(this->lines, (Records{{5, "get_body", "len=1024"}, PARSED}));
}

TYPED_TEST(AReceivedKind, CutsALongerBodyAndCannotParseIt)
{
    const auto* document = this->read(TypeParam::body(std::string(1025 - TypeParam::body("").size(), 'v')));
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(TypeParam::value_of(*document), "");
    EXPECT_EQ(this->lines,
              (Records{{4, "get_body", "failed: len=1024 status=105"}, NOT_A_DOCUMENT, NOT_PARSED}));
}

TYPED_TEST(AReceivedKind, KeepsNothingOfTheBufferItReadInto)
{
    for (const char* body : {"<broken", "<whole/>"}) {
        this->read(body);
        EXPECT_EQ(this->message->body->buffer, nullptr) << body;
        EXPECT_EQ(this->message->body->buffer_length, 0) << body;
        EXPECT_EQ(this->message->body->encoded_buffer, nullptr) << body;
    }
}

TYPED_TEST(AReceivedKind, IsAnsweredWithoutABody)
{
    this->read(TypeParam::body("value"));
    this->conn.calls.clear();
    EXPECT_TRUE(this->message->init_response(200));
    EXPECT_TRUE(this->message->send());
    EXPECT_THAT(this->conn.calls, ElementsAre("initResponse(200)", "send()"));
}

// The leak checker sees the document go with the message.
TYPED_TEST(AReceivedKind, IsDestroyedThroughAnyOfItsBases)
{
    this->conn.body = TypeParam::body("value");
    const std::unique_ptr<IMS_Message> through_its_base(TypeParam::receive(&this->conn));
    EXPECT_THAT(this->conn.calls_of("close"), IsEmpty());
}

} // namespace
