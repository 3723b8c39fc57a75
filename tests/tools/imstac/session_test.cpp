#include "tools/imstac/session.h"

#include "tests/tools/imstac/fake_agent.h"
#include "tools/imstac/script.h"

#include <gtest/gtest.h>
#include <sstream>
#include <thread>

namespace {

using imstac::Channel;
using imstac::Message;
using namespace std::chrono_literals;

// A whole run in this process, against an agent that the test plays in its own thread.
class ASession : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(agent.listen());
        options.agent = agent.path();
        options.rules.within = 20s;
        options.connect_within = 20s;
    }
    void script(const std::string& text)
    {
        std::istringstream in(text);
        std::string why;
        ASSERT_TRUE(imstac::parse_script(in, "s", options.steps, why)) << why;
    }
    // The exit status; `agent_does` runs meanwhile, with both connections made.
    int run(
        const std::function<void()>& agent_does = [] {}, int wake_fd = -1)
    {
        std::thread other([&] {
            ASSERT_TRUE(agent.accept());
            agent_does();
        });
        const int status = run_alone(wake_fd);
        other.join();
        return status;
    }
    int run_alone(int wake_fd = -1)
    {
        char* out_text = nullptr;
        char* err_text = nullptr;
        std::size_t out_size = 0;
        std::size_t err_size = 0;
        std::FILE* out_file = open_memstream(&out_text, &out_size);
        std::FILE* err_file = open_memstream(&err_text, &err_size);
        const int status = imstac::Session(options, wake_fd, out_file, err_file).run();
        std::fclose(out_file);
        std::fclose(err_file);
        out.assign(out_text, out_size);
        err.assign(err_text, err_size);
        std::free(out_text);
        std::free(err_text);
        return status;
    }
    // Takes a request and sends it back.
    void echo(Channel channel)
    {
        Message message;
        ASSERT_TRUE(agent.receive(channel, message));
        ASSERT_TRUE(agent.send(channel, imstac::packed(message)));
    }

    FakeAgent agent;
    imstac::Options options;
    std::string out, err;
};

} // namespace

TEST_F(ASession, SendsARequestAndPrintsItsAnswer)
{
    script("send sync 0x1001 ref=7 text=hello\nexpect sync 0x1001 ref=7 text=hello\n");
    EXPECT_EQ(run([&] { echo(Channel::sync); }), imstac::COMPLETE) << err;
    EXPECT_NE(out.find("connected: " + agent.path()), std::string::npos);
    EXPECT_NE(out.find("sync  -> 0x1001  ref 7  type 0  5 bytes\n"), std::string::npos) << out;
    EXPECT_NE(out.find("sync  <- 0x1001  ref 7  type 0  5 bytes\n"), std::string::npos) << out;
    EXPECT_NE(out.find("68 65 6c 6c 6f"), std::string::npos) << out;
    EXPECT_EQ(err, "");
}

TEST_F(ASession, FailsWith1WhenWhatIsExpectedDoesNotCome)
{
    script("expect async 1 within=10ms\n");
    EXPECT_EQ(run(), imstac::INCOMPLETE);
    EXPECT_EQ(err, "imstac: s:1: expect async 0x0001: did not come within 0.01 s\n");
}

TEST_F(ASession, FailsWith3WhenTheAgentCannotBeReached)
{
    options.agent = agent.dir().file("nobody.sock");
    options.connect_within = 1ms;
    EXPECT_EQ(run_alone(), imstac::NO_AGENT);
    EXPECT_EQ(err, "imstac: " + options.agent + ": No such file or directory\n");
}

TEST_F(ASession, FailsWith4WhenTheAgentClosesAChannelThatIsNeeded)
{
    script("send sync 1\n");
    EXPECT_EQ(run([&] {
                  Message message;
                  agent.receive(Channel::sync, message);
                  agent.close(Channel::sync);
              }),
              imstac::AGENT_GONE);
    EXPECT_NE(err.find("closed the channel instead of answering"), std::string::npos) << err;
    EXPECT_NE(out.find("sync  <- closed\n"), std::string::npos) << out;
}

TEST_F(ASession, FailsWith4WhenTheAgentDidNotTakeEverything)
{
    options.quiet = true;
    script("send sync 1 times=30 answer=none text=" + std::string(60000, 'x') + "\n");
    EXPECT_EQ(run([&] { agent.close(Channel::sync); }), imstac::AGENT_GONE);
}

TEST_F(ASession, FailsWith1WhenTheAgentTakesNothing)
{
    options.rules.within = 30ms;
    options.quiet = true;
    script("send sync 1 times=30 answer=none text=" + std::string(60000, 'x') + "\n");
    EXPECT_EQ(run(), imstac::INCOMPLETE);
    EXPECT_EQ(err, "imstac: the agent does not take what it was sent\n");
}

TEST_F(ASession, IsCompleteWhenItClosedEveryChannelItself)
{
    options.linger = 20s;
    script("send async 1\nclose async\nclose sync\n");
    EXPECT_EQ(run(), imstac::COMPLETE) << err;
}

TEST_F(ASession, TellsAMessageThatNeverBecameWhole)
{
    script("expect async closed\n");
    EXPECT_EQ(run([&] {
                  agent.send(Channel::async, imstac::packed(Message{0, 0, 1, "body"}).substr(0, 18));
                  agent.close(Channel::async);
              }),
              imstac::COMPLETE);
    EXPECT_NE(out.find("closed: in the middle of a message, after 18 of its bytes"), std::string::npos)
        << out;
}

TEST_F(ASession, ListensUntilEnoughHasArrived)
{
    options.count = 2;
    options.json = true;
    EXPECT_EQ(run([&] {
                  agent.send(Channel::async, imstac::packed(Message{1, 0, 1, ""}));
                  agent.send(Channel::sync, imstac::packed(Message{1, 0, 2, "x"}));
              }),
              imstac::COMPLETE)
        << err;
    EXPECT_NE(out.find(R"("direction":"received","id":2,"ref":0,"type":1,"body":"78"})"), std::string::npos)
        << out;
}

TEST_F(ASession, FailsWith1WhenTooLittleArrivedInItsTime)
{
    options.count = 2;
    options.linger = 20ms;
    EXPECT_EQ(run([&] {
                  agent.send(Channel::async, imstac::packed(Message{1, 0, 1, ""}));
              }),
              imstac::INCOMPLETE);
    EXPECT_EQ(err, "imstac: too few messages came\n");
}

TEST_F(ASession, ListensForSomeTimeAfterItsSteps)
{
    script("send async 1\n");
    options.linger = 50ms;
    EXPECT_EQ(run([&] { echo(Channel::async); }), imstac::COMPLETE) << err;
    EXPECT_NE(out.find("async <- 0x0001"), std::string::npos) << out;
}

TEST_F(ASession, WithoutStepsListensUntilTheAgentGoes)
{
    EXPECT_EQ(run([&] {
                  agent.close(Channel::async);
                  agent.close(Channel::sync);
              }),
              imstac::AGENT_GONE);
    EXPECT_EQ(err, "imstac: the agent has closed every channel\n");
}

TEST_F(ASession, EndsWhenItIsAskedTo)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    EXPECT_EQ(run([&] { ASSERT_EQ(::write(ends[1], "x", 1), 1); }, ends[0]), imstac::COMPLETE)
        << "it only listened";
    script("expect async 1\n");
    agent.close(Channel::async);
    agent.close(Channel::sync);
    EXPECT_EQ(run([] {}, ends[0]), imstac::INCOMPLETE) << "it had something to do";
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(ASession, PrintsNothingButFailuresWhenItIsQuiet)
{
    options.quiet = true;
    script("send sync 1\nexpect sync 1\nexpect async 5 within=1ms\n");
    EXPECT_EQ(run([&] { echo(Channel::sync); }), imstac::INCOMPLETE);
    EXPECT_EQ(out, "");
    EXPECT_NE(err, "");
}

TEST_F(ASession, RecordsWhatCanBeReplayedAndChecked)
{
    options.record = agent.dir().file("record");
    script("send sync 1 ref=4 text=abc\nraw async 01020304\nclose sync\n");
    EXPECT_EQ(run([&] { echo(Channel::sync); }), imstac::COMPLETE) << err;
    const std::string written = agent.dir().read("record");
    std::istringstream in(written);
    options.steps.clear();
    std::string why;
    ASSERT_TRUE(imstac::parse_record(in, "r", true, options.steps, why)) << why << written;
    ASSERT_EQ(options.steps.size(), 4u) << written;
    options.record.clear();
    options.rules.strict = true;
    agent.close(Channel::async);
    agent.close(Channel::sync);
    EXPECT_EQ(run([&] {
                  echo(Channel::sync);
                  EXPECT_EQ(agent.receive_raw(Channel::async, 4), "\x01\x02\x03\x04");
              }),
              imstac::COMPLETE)
        << err;
}

TEST_F(ASession, FailsWhenItsRecordCannotBeWritten)
{
    options.record = agent.dir().file("no/record");
    EXPECT_EQ(run_alone(), imstac::BAD_USAGE);
    EXPECT_EQ(err, "imstac: " + options.record + ": No such file or directory\n");
    options.record = "/dev/full";
    script("send async 1\n");
    EXPECT_EQ(run(), imstac::INCOMPLETE) << err;
    EXPECT_EQ(err, "imstac: /dev/full: cannot be written\n");
}
