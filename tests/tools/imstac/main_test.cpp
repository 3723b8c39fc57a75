#include "tests/support/process.h"
#include "tests/tools/imstac/fake_agent.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using imstac::Channel;
using imstac::Message;

ProcessStart imstac_with(const FakeAgent& agent, const std::vector<std::string>& arguments)
{
    ProcessStart start;
    start.argv = {IMSTAC_PROGRAM, agent.path()};
    start.argv.insert(start.argv.end(), arguments.begin(), arguments.end());
    start.dir = agent.dir().path();
    return start;
}

std::string content_of(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

TEST(TheManualOfImstac, ShowsItsExampleScript)
{
    const std::string script = content_of(IMSTAC_DOCS "imstac-example.tac");
    EXPECT_NE(script, "");
    EXPECT_NE(content_of(IMSTAC_DOCS "imstac.md").find("```text\n" + script + "```"), std::string::npos);
}

TEST(TheProgramImstac, DoesTheExampleOfItsManual)
{
    FakeAgent agent;
    ASSERT_TRUE(agent.listen());
    Process process(imstac_with(agent, {"--script", IMSTAC_DOCS "imstac-example.tac", "--strict"}));
    ASSERT_TRUE(agent.accept());
    Message message;
    ASSERT_TRUE(agent.receive(Channel::async, message));
    EXPECT_EQ(message.id, 0x8101) << "socket-init";
    EXPECT_TRUE(agent.send(Channel::async, packed(Message{0, 0, 0x8101, std::string(4, '\0')})));
    ASSERT_TRUE(agent.receive(Channel::sync, message));
    EXPECT_EQ(message.id, 0x1001);
    EXPECT_EQ(message.ref, 7u);
    EXPECT_EQ(message.body, "sip:alice@example.com");
    EXPECT_TRUE(agent.send(Channel::sync, packed(Message{0, 7, 0x1001, "ok"})));
    EXPECT_TRUE(agent.send(Channel::async, packed(Message{1, 0, 0x2001, "registering"})));
    EXPECT_EQ(process.wait().status, 0) << process.output() << process.log();
    EXPECT_EQ(process.log(), "");
}

TEST(TheProgramImstac, PrintsWhatArrivesAtOnce)
{
    FakeAgent agent;
    ASSERT_TRUE(agent.listen());
    Process process(imstac_with(agent, {}));
    ASSERT_TRUE(agent.accept());
    EXPECT_TRUE(agent.send(Channel::async, packed(Message{1, 0, 0x2001, "hello"})));
    EXPECT_NE(process.wait_for_line("async <- 0x2001  ref 0  type 1  5 bytes"), "");
    EXPECT_NE(process.wait_for_line("68 65 6c 6c 6f"), "");
    process.signal(SIGINT);
    EXPECT_EQ(process.wait().status, 0) << process.log();
}

TEST(TheProgramImstac, EndsWith3WhenThereIsNoAgent)
{
    const FakeAgent agent;
    Process process(imstac_with(agent, {"--connect-within", "0"}));
    EXPECT_EQ(process.wait().status, 3);
    EXPECT_NE(process.log().find("No such file or directory"), std::string::npos) << process.log();
}

TEST(TheProgramImstac, EndsWith4WhenTheAgentGoesAway)
{
    FakeAgent agent;
    ASSERT_TRUE(agent.listen());
    Process process(imstac_with(agent, {"--send", "sync 1"}));
    ASSERT_TRUE(agent.accept());
    agent.close(Channel::async);
    agent.close(Channel::sync);
    EXPECT_EQ(process.wait().status, 4) << process.log();
}

TEST(TheProgramImstac, TellsWrongUsageWith2)
{
    const FakeAgent agent;
    EXPECT_EQ(run_process(imstac_with(agent, {"--nonsense"})).status, 2);
    EXPECT_EQ(run_process(imstac_with(agent, {"--help"})).status, 0);
}
