#include "tools/imstac/link.h"

#include "tests/tools/imstac/fake_agent.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

using imstac::Channel;
using imstac::Clock;
using imstac::Link;
using namespace std::chrono_literals;

const std::vector<Channel> BOTH = {Channel::async, Channel::sync};

class ALink : public ::testing::Test, public imstac::Arrivals {
protected:
    void SetUp() override { ASSERT_TRUE(agent.listen()); }

    void connect()
    {
        std::string why;
        ASSERT_TRUE(link.connect(agent.path(), BOTH, Clock::now() + 20s, why)) << why;
        ASSERT_TRUE(agent.accept());
    }
    template <typename Happened>
    bool until(Happened happened)
    {
        const imstac::Time deadline = Clock::now() + 20s;
        while (!happened() && Clock::now() < deadline)
            link.turn(deadline, *this);
        return happened();
    }
    void on_bytes(Channel channel, const char* data, std::size_t size) override
    {
        heard += std::string(name_of(channel)) + ":" + std::string(data, size) + "\n";
    }
    void on_end(Channel channel) override { heard += std::string(name_of(channel)) + " ended\n"; }

    FakeAgent agent;
    Link link;
    std::string heard;
};

} // namespace

TEST_F(ALink, ConnectsTheAsynchronousChannelFirst)
{
    connect();
    agent.send(Channel::async, "a");
    EXPECT_TRUE(until([&] { return heard == "async:a\n"; })) << heard;
    agent.send(Channel::sync, "s");
    EXPECT_TRUE(until([&] { return heard == "async:a\nsync:s\n"; })) << heard;
}

TEST_F(ALink, ConnectsInTheOrderItIsTold)
{
    std::string why;
    ASSERT_TRUE(link.connect(agent.path(), {Channel::sync, Channel::async}, Clock::now() + 20s, why)) << why;
    ASSERT_TRUE(agent.accept());
    agent.send(Channel::async, "first connection");
    EXPECT_TRUE(until([&] { return heard == "sync:first connection\n"; })) << heard;
}

TEST_F(ALink, SendsOnBothChannels)
{
    connect();
    link.send(Channel::async, "one");
    link.send(Channel::sync, "two");
    EXPECT_TRUE(link.is_busy());
    EXPECT_TRUE(until([&] { return !link.is_busy(); }));
    EXPECT_EQ(agent.receive_raw(Channel::async, 3), "one");
    EXPECT_EQ(agent.receive_raw(Channel::sync, 3), "two");
    EXPECT_FALSE(link.has_lost());
}

TEST_F(ALink, GoesOnReadingWhileTheAgentTakesNothing)
{
    connect();
    link.send(Channel::sync, std::string(4 << 20, 'x'));
    agent.send(Channel::async, "a");
    EXPECT_TRUE(until([&] { return heard == "async:a\n"; }));
    EXPECT_TRUE(link.is_busy());
    std::thread reader([this] { EXPECT_EQ(agent.receive_raw(Channel::sync, 4u << 20).size(), 4u << 20); });
    EXPECT_TRUE(until([&] { return !link.is_busy(); }));
    reader.join();
}

TEST_F(ALink, ClosesAChannelAfterWhatWasSent)
{
    connect();
    link.send(Channel::sync, std::string(1 << 20, 'x'));
    link.close(Channel::sync);
    link.send(Channel::sync, "too late");
    std::thread reader([this] { EXPECT_EQ(agent.receive_raw(Channel::sync, 2 << 20).size(), 1u << 20); });
    EXPECT_TRUE(until([&] { return !link.is_open(Channel::sync); }));
    reader.join();
    EXPECT_EQ(heard, "") << "one's own closing is no news";
    link.close(Channel::async);
    EXPECT_FALSE(link.is_open(Channel::async));
}

TEST_F(ALink, TellsWhenTheAgentClosesAChannel)
{
    connect();
    agent.send(Channel::sync, "last");
    agent.close(Channel::sync);
    EXPECT_TRUE(until([&] { return !link.is_open(Channel::sync); }));
    EXPECT_EQ(heard, "sync:last\nsync ended\n");
    EXPECT_TRUE(link.is_open(Channel::async));
    link.send(Channel::sync, "nobody listens");
    EXPECT_FALSE(link.is_busy());
}

TEST_F(ALink, KnowsThatSomethingWasNotTaken)
{
    connect();
    link.send(Channel::sync, std::string(4 << 20, 'x'));
    agent.close(Channel::sync);
    EXPECT_TRUE(until([&] { return !link.is_open(Channel::sync); }));
    EXPECT_TRUE(link.has_lost());
    EXPECT_FALSE(link.is_busy());
}

TEST_F(ALink, WaitsUntilItsDeadlineOnly)
{
    connect();
    EXPECT_TRUE(link.turn(Clock::now() + 1ms, *this));
    EXPECT_TRUE(link.turn(Clock::now() - 1ms, *this));
    EXPECT_EQ(heard, "");
}

TEST(ALinkToNobody, WaitsForTheAgentToComeUp)
{
    FakeAgent agent;
    std::thread later([&agent] {
        EXPECT_TRUE(agent.listen());
        EXPECT_TRUE(agent.accept());
    });
    Link link;
    std::string why;
    EXPECT_TRUE(link.connect(agent.path(), BOTH, Clock::now() + 20s, why)) << why;
    later.join();
}

TEST(ALinkToNobody, GivesUpAtItsDeadline)
{
    const FakeAgent agent;
    Link link;
    std::string why;
    EXPECT_FALSE(link.connect(agent.path(), BOTH, Clock::now() + 30ms, why));
    EXPECT_EQ(why, agent.path() + ": No such file or directory");
    EXPECT_FALSE(link.is_open(Channel::async));
    EXPECT_FALSE(link.connect(std::string(108, 'x'), BOTH, Clock::now() + 20s, why));
    EXPECT_EQ(why, std::string(108, 'x') + ": too long for the address of a socket");
    EXPECT_FALSE(link.connect("/dev/null/x", BOTH, Clock::now() + 20s, why));
    EXPECT_EQ(why, "/dev/null/x: Not a directory") << "that does not get better by waiting";
}

TEST(ALinkToNobody, StopsWaitingWhenItIsInterrupted)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    const FakeAgent agent;
    Link link(ends[0]);
    std::string why;
    EXPECT_FALSE(link.connect(agent.path(), BOTH, Clock::now() + 20s, why));
    EXPECT_EQ(why, "interrupted");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(TheSocketOfAnAgent, StandsWhereItsNameOrPathSays)
{
    ::setenv("IMS_SOCKET_DIR", "/run/ims", 1); // NOLINT(concurrency-mt-unsafe): one thread
    EXPECT_EQ(imstac::socket_path("telephony_agent"), "/run/ims/telephony_agent.sock");
    EXPECT_EQ(imstac::socket_path("telephony_agent.sock"), "/run/ims/telephony_agent.sock");
    EXPECT_EQ(imstac::socket_path("./x"), "./x");
    EXPECT_EQ(imstac::socket_path("/a/b.sock"), "/a/b.sock");
    EXPECT_EQ(imstac::socket_path(".sock"), "/run/ims/.sock.sock");
    ::unsetenv("IMS_SOCKET_DIR"); // NOLINT(concurrency-mt-unsafe): one thread
    EXPECT_EQ(imstac::socket_path("a"), "a.sock");
}
