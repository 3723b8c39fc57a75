#include "daemons/imsfwkd/peer.h"

#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using imsfwkd::AsyncPeer;
using imsfwkd::Clock;
using imsfwkd::Store;
using imsfwkd::SyncPeer;

namespace {

class APeer : public ::testing::Test {
protected:
    APeer()
    {
        dir.write("config.xml", "<config><name>eth0</name></config>");
        std::string why;
        EXPECT_TRUE(store.open(why)) << why;
        while (store.load_next()) {
        }
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    }
    ~APeer() override { ::close(pair[1]); }

    void write(const std::string& bytes) const
    {
        EXPECT_EQ(::send(pair[1], bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    std::string read() const
    {
        char buffer[8192];
        const ssize_t n = ::recv(pair[1], buffer, sizeof buffer, MSG_DONTWAIT);
        return n < 0 ? "(nothing)" : std::string(buffer, static_cast<std::size_t>(n));
    }
    template <typename Peer>
    void serve(Peer& peer)
    {
        pollfd p{pair[0], peer.events(), 0};
        ::poll(&p, 1, 0);
        peer.serve(p.revents, now);
    }

    LogRecords log;
    TempDir dir;
    Store store{dir.path()};
    int pair[2] = {-1, -1}; // [0] is the peer's
    Clock::time_point now = Clock::now();
};

} // namespace

TEST_F(APeer, AnswersOneRequestATurn)
{
    SyncPeer peer(pair[0], store);
    write(fwk::frame("SYNC") + fwk::frame("GET config\n/config/name"));
    serve(peer);
    EXPECT_EQ(read(), "2\nGO");
    EXPECT_TRUE(peer.has_more());
    EXPECT_EQ(peer.events(), 0);
    serve(peer);
    EXPECT_EQ(read(), "6\n1\neth0");
    serve(peer);
    EXPECT_FALSE(peer.has_more());
    EXPECT_EQ(peer.events(), POLLIN);
}

TEST_F(APeer, AnswersWhatWasAskedBeforeTheEnd)
{
    SyncPeer peer(pair[0], store);
    write(fwk::frame("SYNC") + "5\nhalf");
    ::shutdown(pair[1], SHUT_WR);
    for (int i = 0; i < 4; ++i)
        serve(peer);
    EXPECT_EQ(read(), "2\nGO");
    EXPECT_TRUE(peer.is_finished());
}

TEST_F(APeer, SaysWhatWasWrongAndWaitsForTheOtherEndToClose)
{
    SyncPeer peer(pair[0], store);
    write("nonsense" + std::string(30000, 'x'));
    serve(peer);
    EXPECT_EQ(read(), "64\nERR a frame is a decimal length, a line feed and that many bytes");
    EXPECT_EQ(read(), "");
    for (int i = 0; i < 4; ++i)
        serve(peer);
    EXPECT_FALSE(peer.is_finished());
    ::shutdown(pair[1], SHUT_WR);
    serve(peer);
    EXPECT_TRUE(peer.is_finished());
}

TEST_F(APeer, IsDroppedWhenItDoesNotCloseAfterAFatalError)
{
    SyncPeer peer(pair[0], store);
    write("nonsense");
    serve(peer);
    ASSERT_TRUE(peer.is_waited_for());
    peer.end_if_stalled(now);
    EXPECT_FALSE(peer.is_finished());
    peer.end_if_stalled(now + std::chrono::seconds(1));
    EXPECT_TRUE(peer.is_finished());
    EXPECT_EQ(log.up_to(4).size(), 1u);
}

TEST_F(APeer, IsDroppedWhenItDoesNotReadItsAnswers)
{
    std::string text = "<a>" + std::string(60000, 'x') + "</a>";
    dir.write("large.xml", text);
    store.reload("large");
    SyncPeer peer(pair[0], store);
    for (int i = 0; i < 1000 && (peer.events() & POLLOUT) == 0; ++i) {
        write(fwk::frame("GET large\n/a"));
        serve(peer);
        serve(peer);
    }
    ASSERT_EQ(peer.events(), POLLOUT); // asks for nothing more: the answers cannot pile up
    ASSERT_TRUE(peer.is_waited_for());
    peer.end_if_stalled(now);
    EXPECT_FALSE(peer.is_finished());
    peer.end_if_stalled(now + std::chrono::seconds(1));
    EXPECT_TRUE(peer.is_finished());
}

TEST_F(APeer, FinishesWhenTheOtherEndIsGone)
{
    SyncPeer peer(pair[0], store);
    ::shutdown(pair[1], SHUT_RDWR);
    serve(peer);
    EXPECT_TRUE(peer.is_finished());
}

TEST_F(APeer, SendsAnnouncementsAndIgnoresWhatComes)
{
    AsyncPeer peer(pair[0]);
    write("who is there");
    serve(peer);
    peer.announce("CHANGED a\n/\n", now);
    EXPECT_EQ(read(), "CHANGED a\n/\n");
    EXPECT_FALSE(peer.is_finished());
    ::shutdown(pair[1], SHUT_WR);
    serve(peer);
    EXPECT_TRUE(peer.is_finished());
}

TEST_F(APeer, IsDroppedWhenItsAnnouncementsPileUp)
{
    AsyncPeer peer(pair[0]);
    const std::string text(1000, 'x');
    int sent = 0;
    for (; sent < 100000 && !peer.is_finished(); ++sent)
        peer.announce(text, now);
    EXPECT_TRUE(peer.is_finished());
    EXPECT_EQ(log.up_to(4).size(), 1u);
    std::string got;
    for (std::string more = read(); more != "(nothing)"; more = read())
        got += more;
    // What was lost is the backlog and no more, and every byte before stands in order.
    EXPECT_EQ(got, std::string(got.size(), 'x'));
    EXPECT_GE(got.size() + imsfwkd::MAX_BACKLOG, static_cast<std::size_t>(sent - 1) * text.size());
}
