#include "baseuafw/fwk_tcp.h"

#include "tests/platform/baseuafw/stand_in_daemon.h"
#include "tests/support/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>

using fwk::Clock;

namespace {

Clock::time_point soon()
{
    return Clock::now() + std::chrono::seconds(5);
}

Clock::time_point past()
{
    return Clock::now() - std::chrono::seconds(1);
}

} // namespace

TEST(APortNumber, IsOneToFiveDigitsWithinItsRange)
{
    EXPECT_EQ(fwk::parse_port("1"), 1);
    EXPECT_EQ(fwk::parse_port("65535"), 65535);
    EXPECT_EQ(fwk::parse_port("05060"), 5060);
    for (const char* text : {"", "0", "65536", "99999", "100000", "-1", "+1", " 1", "1 ", "x", "1x"})
        EXPECT_EQ(fwk::parse_port(text), 0) << text;
    EXPECT_EQ(fwk::parse_port(nullptr), 0);
}

TEST(ALoopbackConnection, IsRefusedAtOnceWhereNobodyListens)
{
    EXPECT_EQ(fwk::connect_loopback(free_port(), soon()), -1);
}

// The kernel gives a connecting socket the port that it asks for, when both are of the ephemeral range and
// nobody listens; a few thousand attempts meet it.
TEST(ALoopbackConnection, IsNeverMadeToItself)
{
    const int port = free_port();
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(fwk::connect_loopback(port, soon()), -1);
}

TEST(ALoopbackConnection, CarriesRequestsAndAnswers)
{
    StandInDaemon daemon([](const std::string& request) { return "1\n" + request; });
    const int fd = fwk::connect_loopback(daemon.sync_port(), soon());
    ASSERT_GE(fd, 0);
    EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    fwk::FrameDecoder decoder;
    std::string answer;
    EXPECT_TRUE(fwk::exchange(fd, decoder, "first", answer, soon()));
    EXPECT_EQ(answer, "1\nfirst");
    const std::string large(60000, 'x');
    EXPECT_TRUE(fwk::exchange(fd, decoder, large, answer, soon()));
    EXPECT_EQ(answer, "1\n" + large);
    ::close(fd);
}

TEST(AnExchange, EndsAtItsDeadline)
{
    StandInDaemon daemon([](const std::string&) { return StandInDaemon::HANG; });
    const int fd = fwk::connect_loopback(daemon.sync_port(), soon());
    fwk::FrameDecoder decoder;
    std::string answer;
    EXPECT_FALSE(fwk::exchange(fd, decoder, "question", answer, past()));
    ::close(fd);
}

TEST(AnExchange, FailsWhenTheOtherEndHangsUpOrSendsNoFrame)
{
    const std::vector<std::string> replies = {StandInDaemon::HANG_UP,
                                              std::string(StandInDaemon::RAW) + "no frame",
                                              std::string(StandInDaemon::RAW) + "70000\n"};
    for (const std::string& reply : replies) {
        StandInDaemon daemon([&reply](const std::string&) { return reply; });
        const int fd = fwk::connect_loopback(daemon.sync_port(), soon());
        fwk::FrameDecoder decoder;
        std::string answer = "before";
        EXPECT_FALSE(fwk::exchange(fd, decoder, "question", answer, soon())) << reply;
        EXPECT_EQ(answer, "before");
        ::close(fd);
    }
}

// An answer too many would be taken for the answer of the next request.
TEST(AnExchange, IsNotBegunBehindBytesThatNobodyAskedFor)
{
    StandInDaemon daemon([](const std::string&) { return std::string(StandInDaemon::RAW) + "1\na1\nb"; });
    const int fd = fwk::connect_loopback(daemon.sync_port(), soon());
    fwk::FrameDecoder decoder;
    std::string answer;
    EXPECT_TRUE(fwk::exchange(fd, decoder, "question", answer, soon()));
    EXPECT_FALSE(fwk::exchange(fd, decoder, "question", answer, soon()));
    ::close(fd);
}

TEST(ASocketsIdentity, IsLostWithItsNumberEvenWhenThatIsGivenOutAgain)
{
    int pair[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    const fwk::SocketId id = fwk::identify(pair[0]);
    EXPECT_TRUE(fwk::is_still_open(id));
    ::dup2(pair[1], pair[0]);
    EXPECT_FALSE(fwk::is_still_open(id));
    ::close(pair[0]);
    EXPECT_FALSE(fwk::is_still_open(id));
    EXPECT_FALSE(fwk::is_still_open(fwk::SocketId{}));
    EXPECT_FALSE(fwk::is_still_open(fwk::identify(-1)));
    ::close(pair[1]);
}
