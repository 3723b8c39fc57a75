#include "siplib/sofia/raw_message.h"

#include <gtest/gtest.h>
#include <sofia-sip/sip_header.h>

using namespace siplib;

namespace {

RawMessage through(const std::string& text)
{
    RawMessage raw;
    msg_t* msg =
        msg_make(sip_default_mclass(), MSG_DO_EXTRACT_COPY, text.data(), static_cast<ssize_t>(text.size()));
    if (!msg) return raw;
    if (sip_object(msg)->sip_request || sip_object(msg)->sip_status)
        raw = sofia::raw_message(sip_object(msg));
    msg_destroy(msg);
    return raw;
}

TEST(ARawMessage, IsWhatStoodOnTheWire)
{
    const std::string text =
        "MESSAGE sip:a SIP/2.0\r\nVia: SIP/2.0/UDP h;branch=z9hG4bK1\r\n"
        "Route: <sip:x;lr>,<sip:y;lr>\r\nX-Unknown:  odd  spacing\r\nf: <sip:b>;tag=1\r\n"
        "To: <sip:a>\r\nCall-ID: c\r\nCSeq: 1 MESSAGE\r\nContent-Length: 4\r\n\r\nbody";
    const RawMessage raw = through(text);
    EXPECT_EQ(raw.text, text);
    EXPECT_EQ(raw.text.substr(raw.body_at), "body");
}

TEST(ARawMessage, OfAResponseWithoutABodyEndsWithTheBlankLine)
{
    const std::string text = "SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP h\r\nCall-ID: c\r\n\r\n";
    const RawMessage raw = through(text);
    EXPECT_EQ(raw.text, text);
    EXPECT_EQ(raw.body_at, text.size());
}

TEST(ARawMessage, OfNoMessageIsNull)
{
    EXPECT_EQ(sofia::message_of(""), nullptr);
    EXPECT_EQ(sofia::message_of("hello"), nullptr);
    msg_t* msg = sofia::message_of("OPTIONS sip:a SIP/2.0\r\n\r\n");
    EXPECT_NE(msg, nullptr);
    if (msg) msg_destroy(msg);
}

} // namespace
