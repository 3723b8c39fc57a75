#include "siplib/sofia/request_message.h"

#include <gtest/gtest.h>
#include <memory>
#include <sofia-sip/msg_addr.h>
#include <sofia-sip/sip_header.h>
#include <string>

using namespace siplib;

namespace {

struct Destroy {
    void operator()(msg_t* msg) const { msg_destroy(msg); }
};
using Owned = std::unique_ptr<msg_t, Destroy>;

Owned message_for(const std::string& text)
{
    return Owned(sofia::request_message(text));
}

const sip_t* parsed(const Owned& msg)
{
    return msg ? sip_object(msg.get()) : nullptr;
}

// What leaves, and in how many pieces.
std::string on_the_wire(const Owned& msg, std::size_t* pieces = nullptr)
{
    if (!msg || msg_prepare(msg.get()) < 0) return "";
    msg_iovec_t vector[32];
    const auto count = static_cast<std::size_t>(msg_iovec(msg.get(), vector, 32));
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text.append(static_cast<const char*>(vector[i].mv_base), vector[i].mv_len);
    if (pieces) *pieces = count;
    return text;
}

const std::string notify = "NOTIFY sip:b@127.0.0.1:5062 SIP/2.0\r\n"
                           "Max-Forwards: 70\r\n"
                           "Event: kiv-link-event;id=1\r\n"
                           "From: \"a; b\" <sip:a@127.0.0.1>;tag=1\r\n"
                           "To: <sip:b@127.0.0.1>;tag=2\r\n"
                           "Call-ID: 12@host\r\n"
                           "Subscription-State: active;expires=60\r\n"
                           "X-Unknown:  odd  spacing\r\n"
                           "X-Empty:\r\n"
                           "CSeq: 7 NOTIFY\r\n"
                           "Content-Type: text/plain\r\n"
                           "Content-Length: 8\r\n\r\n"
                           "a\r\n\r\nb\r\n";

TEST(ARequestMessage, IsItsTextOnTheWireInOnePiece)
{
    std::size_t pieces = 0;
    EXPECT_EQ(on_the_wire(message_for(notify), &pieces), notify);
    EXPECT_EQ(pieces, 1U);
}

TEST(ARequestMessage, HasReadWhatTheTransactionNeeds)
{
    const Owned msg = message_for(notify);
    const sip_t* sip = parsed(msg);
    ASSERT_NE(sip, nullptr);
    ASSERT_NE(sip->sip_request, nullptr);
    EXPECT_EQ(sip->sip_request->rq_method, sip_method_notify);
    EXPECT_STREQ(sip->sip_request->rq_method_name, "NOTIFY");
    EXPECT_STREQ(sip->sip_request->rq_version, "SIP/2.0");
    ASSERT_NE(sip->sip_from, nullptr);
    EXPECT_STREQ(sip->sip_from->a_tag, "1");
    ASSERT_NE(sip->sip_to, nullptr);
    EXPECT_STREQ(sip->sip_to->a_tag, "2");
    ASSERT_NE(sip->sip_call_id, nullptr);
    EXPECT_STREQ(sip->sip_call_id->i_id, "12@host");
    ASSERT_NE(sip->sip_cseq, nullptr);
    EXPECT_EQ(sip->sip_cseq->cs_seq, 7U);
    EXPECT_EQ(sip->sip_cseq->cs_method, sip_method_notify);
    ASSERT_NE(sip->sip_max_forwards, nullptr);
    EXPECT_EQ(sip->sip_max_forwards->mf_count, 70U);
    ASSERT_NE(sip->sip_content_length, nullptr);
    EXPECT_EQ(sip->sip_content_length->l_length, 8U);
    ASSERT_NE(sip->sip_payload, nullptr);
    EXPECT_EQ(std::string(sip->sip_payload->pl_data, sip->sip_payload->pl_len), "a\r\n\r\nb\r\n");
}

TEST(ARequestMessage, LeavesTheOtherHeadersUnread)
{
    const Owned msg = message_for(notify);
    const sip_t* sip = parsed(msg);
    ASSERT_NE(sip, nullptr);
    EXPECT_EQ(sip->sip_event, nullptr);
    EXPECT_EQ(sip->sip_content_type, nullptr);
}

TEST(ARequestMessage, KeepsEveryRoute)
{
    const std::string text = "OPTIONS sip:b SIP/2.0\r\nRoute: <sip:x;lr>, <sip:y;lr>\r\nroute: <sip:z;lr>\r\n"
                             "From: <sip:a>;tag=1\r\nTo: <sip:b>\r\nCall-ID: c\r\nCSeq: 1 OPTIONS\r\n"
                             "Content-Length: 0\r\n\r\n";
    const Owned msg = message_for(text);
    const sip_t* sip = parsed(msg);
    ASSERT_NE(sip, nullptr);
    EXPECT_EQ(on_the_wire(msg), text);
    int routes = 0;
    for (const sip_route_t* route = sip->sip_route; route; route = route->r_next)
        ++routes;
    EXPECT_EQ(routes, 3);
}

// What only the stack's own parser knows all about is read by that.
TEST(ARequestMessage, IsReadAsAWholeWhereTheStackMayAskForMore)
{
    const std::string rest = "From: <sip:a>;tag=1\r\nTo: <sip:b>\r\nCall-ID: c\r\nCSeq: 1 INVITE\r\n"
                             "Proxy-Authorization: Digest username=\"u\"\r\nContent-Length: 0\r\n\r\n";
    const Owned invite = message_for("INVITE sip:b SIP/2.0\r\n" + rest);
    ASSERT_NE(parsed(invite), nullptr);
    EXPECT_NE(parsed(invite)->sip_proxy_authorization, nullptr);

    const Owned own_via =
        message_for("OPTIONS sip:b SIP/2.0\r\nVia: SIP/2.0/UDP h;branch=z9hG4bK1\r\n" + rest);
    ASSERT_NE(parsed(own_via), nullptr);
    EXPECT_NE(parsed(own_via)->sip_via, nullptr);

    const Owned compact = message_for("OPTIONS sip:b SIP/2.0\r\nf: <sip:a>;tag=1\r\nt: <sip:b>\r\ni: c\r\n"
                                      "CSeq: 1 OPTIONS\r\nl: 0\r\n\r\n");
    ASSERT_NE(parsed(compact), nullptr);
    EXPECT_NE(parsed(compact)->sip_from, nullptr);
    EXPECT_NE(parsed(compact)->sip_call_id, nullptr);
}

TEST(ARequestMessage, WithASingleHeaderTwiceIsReadAsAWhole)
{
    const Owned msg =
        message_for("OPTIONS sip:b SIP/2.0\r\nFrom: <sip:a>;tag=1\r\nEvent: e\r\nFrom: <sip:c>;tag=2\r\n"
                    "To: <sip:b>\r\nCall-ID: c\r\nCSeq: 1 OPTIONS\r\nContent-Length: 0\r\n\r\n");
    ASSERT_NE(parsed(msg), nullptr);
    EXPECT_NE(parsed(msg)->sip_event, nullptr);
}

TEST(ARequestMessage, ThatOpensADialogHasNoTagInTo)
{
    const Owned msg =
        message_for("SUBSCRIBE sip:b SIP/2.0\r\nFrom: <sip:a>;tag=1\r\nTo: <sip:b>\r\nCall-ID: c\r\n"
                    "CSeq: 1 SUBSCRIBE\r\nEvent: e\r\nContent-Length: 0\r\n\r\n");
    ASSERT_NE(parsed(msg), nullptr);
    EXPECT_EQ(parsed(msg)->sip_to->a_tag, nullptr);
    EXPECT_EQ(parsed(msg)->sip_event, nullptr);
}

TEST(ARequestMessage, OfNoRequestIsNull)
{
    EXPECT_EQ(message_for(""), nullptr);
    EXPECT_EQ(message_for("hello"), nullptr);
    EXPECT_EQ(message_for("hello\r\n\r\n"), nullptr);
    EXPECT_EQ(message_for("OPTIONS sip:b\r\n\r\n"), nullptr);
}

TEST(ARequestMessage, ThatTheWriterCannotReadIsLeftToTheParser)
{
    const std::string head = "OPTIONS sip:b SIP/2.0\r\nFrom: <sip:a>;tag=1\r\n";
    for (const char* rest : {"", "To\r\n\r\n", "CSeq: many OPTIONS\r\n\r\n", "To: <sip:b\r\n\r\n"}) {
        const std::string text = head + rest;
        const Owned ours = message_for(text);
        const Owned theirs(msg_make(sip_default_mclass(), 0, text.data(), static_cast<ssize_t>(text.size())));
        const bool theirs_is_request = theirs && sip_object(theirs.get())->sip_request;
        EXPECT_EQ(ours != nullptr, theirs_is_request) << text;
    }
}

} // namespace
