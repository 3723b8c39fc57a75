// The SIP library and SIPp over IPv6. The daemons bind 127.0.0.1 only, so the library stands here alone.
#include "tests/platform/siplib/sip_fixture.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

namespace {

struct SIPpOnIPv6 : WithStack, ::testing::WithParamInterface<const char*> {
    SIPpOnIPv6() : WithStack("::1") {}

    Process::End wait(Process& sipp) const
    {
        const auto end = sipp.wait(std::chrono::seconds(60));
        EXPECT_EQ(end.status, 0) << dir_.read("errors") << sipp.log();
        return end;
    }

    ProcessStart sipp(const std::string& scenario, const std::vector<std::string>& arguments) const
    {
        ProcessStart start;
        start.argv = {"sipp",
                      "-sf",
                      std::string(SIPP_SCENARIOS) + "/" + scenario + ".xml",
                      "-i",
                      "::1",
                      "-m",
                      "1",
                      "-t",
                      GetParam() == std::string("udp") ? "u1" : "t1",
                      "-nostdin",
                      "-trace_err",
                      "-error_file",
                      "errors",
                      "-timeout",
                      "40s",
                      "-timeout_error"};
        start.argv.insert(start.argv.end(), arguments.begin(), arguments.end());
        start.dir = dir_.path();
        start.env = {"TERM=dumb"};
        return start;
    }

    std::string contact(int port) const { return "<" + uri(port, GetParam()) + ">"; }

    TempDir dir_;
};

TEST_P(SIPpOnIPv6, SubscribesAndIsNotified)
{
    start();
    RequestEars ears;
    ResponseEars responses;
    int port = 0;
    ASSERT_TRUE(listen(&ears, port));
    Process subscriber(
        sipp("ipv6_subscriber", {"[::1]:" + std::to_string(port), "-p", std::to_string(free_port())}));
    SIPLIB_SIPConnection* in = ears.next();
    ASSERT_TRUE(in) << dir_.read("errors");
    EXPECT_EQ(method(in), "SUBSCRIBE");
    ASSERT_EQ(in->initResponse(200), SIPLIB_OK);
    in->setHeader("Expires", "600");
    in->setHeader("Contact", contact(port).c_str());
    ASSERT_EQ(in->send(), SIPLIB_OK);
    SIPLIB_SIPDialog* dialog = in->getDialog();
    ASSERT_TRUE(dialog);
    SIPLIB_SIPClientConnection* notify = dialog->newRequest("NOTIFY");
    ASSERT_TRUE(notify);
    notify->setHeader("Event", "reg");
    notify->setHeader("Subscription-State", "active;expires=600");
    notify->setListener(&responses);
    ASSERT_EQ(notify->send(), SIPLIB_OK);
    EXPECT_EQ(responses.next_status(), 200);
    wait(subscriber);
}

// Asked again until SIPp listens: before that the request ends in 503 or 408.
TEST_P(SIPpOnIPv6, AnswersAndNotifies)
{
    start();
    RequestEars ears;
    ResponseEars responses;
    int port = 0;
    ASSERT_TRUE(listen(&ears, port));
    const int sipp_port = free_port();
    Process notifier(sipp("ipv6_notifier", {"-p", std::to_string(sipp_port)}));
    int status = 0;
    while (status != 200 && notifier.running()) {
        SIPLIB_SIPClientConnection* out = request("SUBSCRIBE", sipp_port, GetParam(), &responses);
        ASSERT_TRUE(out);
        out->setHeader("Event", "reg");
        out->setHeader("Expires", "600");
        out->setHeader("Contact", contact(port).c_str());
        ASSERT_EQ(out->send(), SIPLIB_OK);
        status = responses.next_status();
    }
    ASSERT_EQ(status, 200) << dir_.read("errors");
    SIPLIB_SIPConnection* in = ears.next();
    ASSERT_TRUE(in);
    EXPECT_EQ(method(in), "NOTIFY");
    EXPECT_EQ(header(in, "Subscription-State"), "active;expires=600");
    EXPECT_EQ(answer(in, 200), SIPLIB_OK);
    wait(notifier);
}

INSTANTIATE_TEST_SUITE_P(, SIPpOnIPv6, ::testing::Values("udp", "tcp"),
                         [](const auto& way) { return std::string(way.param); });

} // namespace
