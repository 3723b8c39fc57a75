#include "daemons/imslinkevd/subscribe_request.h"

#include <gtest/gtest.h>

namespace {

// A good request that opens a dialog: each test changes one thing.
struct ASubscribe : ::testing::Test {
    ASubscribe()
    {
        headers.from = "<sip:watcher@127.0.0.1>;tag=theirs";
        headers.to = "<sip:imslinkevd@127.0.0.1:5080>";
        headers.call_id = "c1@host";
        headers.cseq = "17 SUBSCRIBE";
        headers.contact = "<sip:watcher@127.0.0.1:5070;transport=tcp>;x=y";
        headers.event = "kiv-link-event;id=7";
        headers.expires = "600";
    }
    Subscribe_verdict judged() const { return judge_subscribe(headers, limits); }
    std::string refusal(int code) const
    {
        const auto header = refusal_header(code, headers, limits);
        return header ? std::string(header->name) + ": " + header->value : "";
    }
    Subscribe_headers headers;
    Expires_limits limits;
};

TEST_F(ASubscribe, ThatIsGoodTellsDialogPackageAndExpiry)
{
    const auto verdict = judged();
    EXPECT_EQ(verdict.code, 200);
    EXPECT_EQ(verdict.key.call_id, "c1@host");
    EXPECT_EQ(verdict.key.remote_tag, "theirs");
    EXPECT_EQ(verdict.key.package, Package::link_event);
    EXPECT_EQ(verdict.key.event_id, "7");
    EXPECT_EQ(verdict.dialog.contact, "<sip:watcher@127.0.0.1:5070;transport=tcp>");
    EXPECT_EQ(verdict.dialog.to, headers.from);
    EXPECT_EQ(verdict.dialog.from, headers.to);
    EXPECT_EQ(verdict.dialog.remote_cseq, 17u);
    EXPECT_EQ(verdict.expires, Seconds(600));
    EXPECT_FALSE(verdict.is_in_dialog());
}

TEST_F(ASubscribe, WithAToTagIsInADialog)
{
    headers.to += ";tag=ours";
    EXPECT_TRUE(judged().is_in_dialog());
    EXPECT_EQ(judged().key.local_tag, "ours");
}

TEST_F(ASubscribe, WithoutExpiresGetsTheUsualOne)
{
    headers.expires = "";
    EXPECT_EQ(judged().expires, Seconds(limits.usual));
}

TEST_F(ASubscribe, ForTooLongIsShortenedAndForTooBrieflyRefused)
{
    headers.expires = "4294967295";
    EXPECT_EQ(judged().expires, Seconds(limits.most));
    headers.expires = "59";
    EXPECT_EQ(judged().code, 423);
    EXPECT_EQ(refusal(423), "Min-Expires: 60");
    headers.expires = "60";
    EXPECT_EQ(judged().code, 200);
    headers.expires = "0"; // a fetch, or the end: never too brief
    EXPECT_EQ(judged().code, 200);
    EXPECT_EQ(judged().expires, Seconds(0));
}

TEST_F(ASubscribe, ForAnotherPackageIsToldWhatIsServed)
{
    for (const char* event : {"presence", "", "KIV-LINK-EVENT", "kiv-link-event-x"}) {
        headers.event = event;
        EXPECT_EQ(judged().code, 489) << event;
    }
    EXPECT_EQ(refusal(489), "Allow-Events: kiv-link-event, kiv-link-avail-event");
    headers.event = "kiv-link-avail-event";
    EXPECT_EQ(judged().key.package, Package::link_availability);
}

TEST_F(ASubscribe, ThatIsBrokenIsABadRequest)
{
    const struct {
        std::string Subscribe_headers::*field;
        const char* value;
    } rows[] = {
        {&Subscribe_headers::call_id, ""},
        {&Subscribe_headers::from, ""},
        {&Subscribe_headers::from, "<sip:watcher@127.0.0.1>"},
        {&Subscribe_headers::from, "\"open <sip:watcher@127.0.0.1>;tag=x"},
        {&Subscribe_headers::to, ""},
        {&Subscribe_headers::cseq, "SUBSCRIBE"},
        {&Subscribe_headers::contact, ""},
        {&Subscribe_headers::contact, "*"},
        {&Subscribe_headers::contact, "<tel:+123>"},
        {&Subscribe_headers::contact, "<sip:a@127.0.0.1>, <sip:b@127.0.0.1>"},
        {&Subscribe_headers::event, ";id=1"},
        {&Subscribe_headers::event, "kiv-link-event;"},
        {&Subscribe_headers::expires, "soon"},
        {&Subscribe_headers::expires, "-1"},
    };
    for (const auto& row : rows) {
        const std::string before = headers.*row.field;
        headers.*row.field = row.value;
        EXPECT_EQ(judged().code, 400) << row.value;
        EXPECT_STRNE(judged().why, "");
        headers.*row.field = before;
    }
}

TEST_F(ASubscribe, MustAcceptTheDocuments)
{
    for (const char* accept :
         {"", "application/xml", "text/plain, application/xml;q=0.5", "application/*", "*/*;q=0.1"}) {
        headers.accept = accept;
        EXPECT_EQ(judged().code, 200) << accept;
    }
    for (const char* accept : {"text/plain", "application/pidf+xml", "application/xml;q=0.0", "*/*;q=0"}) {
        headers.accept = accept;
        EXPECT_EQ(judged().code, 406) << accept;
    }
    EXPECT_EQ(refusal(406), "Accept: application/xml");
}

TEST_F(ASubscribe, ThatRequiresAnExtensionIsToldWhichIsUnsupported)
{
    headers.require = "100rel";
    EXPECT_EQ(judged().code, 420);
    EXPECT_EQ(refusal(420), "Unsupported: 100rel");
}

TEST_F(ASubscribe, IsRefusedWithTheHeaderThatItsStatusNeeds)
{
    EXPECT_EQ(refusal(405), "Allow: SUBSCRIBE, OPTIONS");
    EXPECT_EQ(refusal(503), "Retry-After: 5");
    EXPECT_EQ(refusal(481), "");
    EXPECT_STREQ(package_name(Package::link_event), "kiv-link-event");
}

} // namespace
