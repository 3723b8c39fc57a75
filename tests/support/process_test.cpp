#include "tests/support/process.h"

#include <csignal>
#include <gtest/gtest.h>

using std::chrono::milliseconds;

namespace {

ProcessStart shell(const std::string& script)
{
    ProcessStart start;
    start.argv = {"sh", "-c", script};
    return start;
}

TEST(AProcess, HandsOutItsLinesInOrderAndSkipsOthers)
{
    Process process(shell("echo one; echo two; echo three"));
    EXPECT_EQ(process.wait_for_line("two"), "two");
    EXPECT_EQ(process.wait_for_line("one", milliseconds(50)), "");
    EXPECT_EQ(process.wait().status, 0);
    EXPECT_EQ(process.output(), "one\ntwo\nthree\n");
}

TEST(AProcess, TellsItsStatusItsSignalAndItsLog)
{
    Process failing(shell("echo because >&2; exit 7"));
    EXPECT_TRUE(failing.wait_for_log("because"));
    EXPECT_EQ(failing.wait().status, 7);

    Process waiting(shell("echo ready; exec sleep 60"));
    ASSERT_EQ(waiting.wait_for_line("ready"), "ready");
    EXPECT_TRUE(waiting.running());
    EXPECT_TRUE(waiting.wait(milliseconds(20)).timed_out);
    waiting.signal(SIGTERM);
    EXPECT_EQ(waiting.wait().signal, SIGTERM);
    EXPECT_FALSE(waiting.running());
}

TEST(AProcess, NeverBlocksOnItsOwnOutput)
{
    Process talkative(
        shell("i=0; while [ $i -lt 3000 ]; do i=$((i+1)); "
              "echo 0123456789012345678901234567890123456789012345678901234567890123456789; done"));
    EXPECT_EQ(talkative.wait().status, 0);
    EXPECT_EQ(talkative.output().size(), 3000u * 71u);
}

TEST(AProcess, ThatCannotBeStartedEndsWith127)
{
    ProcessStart start;
    start.argv = {"/nonexistent/program"};
    EXPECT_EQ(run_process(start).status, 127);
}

TEST(ANetNamespace, HasItsOwnLinks)
{
    NetNamespace net;
    ASSERT_TRUE(net.valid()) << net.why();
    ASSERT_TRUE(net.ip("link add veth-a type veth peer name veth-b"));
    EXPECT_FALSE(net.ip("link show no-such-link"));
    ProcessStart start;
    start.argv = {"ip", "-brief", "link"};
    start.net = &net;
    std::string inside;
    EXPECT_EQ(run_process(start, &inside).status, 0);
    EXPECT_NE(inside.find("veth-a"), std::string::npos) << inside;
    start.net = nullptr;
    std::string outside;
    EXPECT_EQ(run_process(start, &outside).status, 0);
    EXPECT_EQ(outside.find("veth-a@veth-b"), std::string::npos);
}

} // namespace
