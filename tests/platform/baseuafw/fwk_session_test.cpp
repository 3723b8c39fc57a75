#include "baseuafw/fwk_session.h"

#include "tests/platform/baseuafw/blocked_thread.h"
#include "tests/platform/baseuafw/stand_in_daemon.h"
#include "tests/support/log_records.h"
#include "tests/support/process.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <memory>

using fwk::Session;

namespace {

constexpr fwk::SessionTimes FAST{2000, 1, 20};
constexpr fwk::SessionTimes IMPATIENT{50, 1, 20};

int open_descriptors()
{
    int count = 0;
    DIR* const dir = ::opendir("/proc/self/fd");
    while (::readdir(dir) != nullptr)
        ++count;
    ::closedir(dir);
    return count;
}

std::string fixed_answers(const std::string& request)
{
    if (request == "SYNC") return "GO";
    if (request == "GET config\n/config/name") return "1\na%0Ab";
    if (request == "SET config\n/config/name\nc%0Ad") return "1";
    if (request == "MGET config\nT1\nT9") return "1\nT1\n500";
    return "0";
}

// What an agent's external-interface thread does with the framework's descriptor.
class AWatcher {
public:
    explicit AWatcher(IMS_socket& sock) : sock_(sock), thread_([this] { watch(); }) {}
    ~AWatcher()
    {
        stop_ = true;
        sock_._wake();
        thread_.join();
    }
    bool wait_for(const std::string& text, std::chrono::milliseconds patience = std::chrono::seconds(10))
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, patience, [&] { return text_.find(text) != std::string::npos; });
    }

private:
    void watch()
    {
        std::vector<int> readable;
        while (!stop_) {
            sock_._select("rw", readable);
            for (const int fd : readable)
                read(fd);
        }
    }
    void read(int fd)
    {
        char buffer[1023];
        const int n = sock_._recvfrom(fd, buffer, sizeof buffer);
        if (n == 0) sock_._close(fd);
        if (n <= 0) return;
        const std::lock_guard<std::mutex> guard(mutex_);
        text_.append(buffer, static_cast<std::size_t>(n));
        changed_.notify_all();
    }

    IMS_socket& sock_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string text_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

class ASession : public ::testing::Test {
protected:
    std::unique_ptr<StandInDaemon> start(const StandInDaemon::Answer& answer = fixed_answers)
    {
        auto daemon = std::make_unique<StandInDaemon>(answer, sync_port, async_port);
        EXPECT_TRUE(daemon->is_listening());
        sync_port = daemon->sync_port();
        async_port = daemon->async_port();
        return daemon;
    }
    std::unique_ptr<Session> connect(fwk::SessionTimes times = FAST)
    {
        auto session = std::make_unique<Session>(sync_port, async_port, &sock, times);
        EXPECT_TRUE(session->open());
        return session;
    }
    static bool reads(Session& session)
    {
        std::string value;
        return session.get_one("/config/name", value, "config") != 0 && value == "a\nb";
    }

    LogRecords log;
    IMS_socket sock;
    int sync_port = 0;
    int async_port = 0;
};

} // namespace

// On the loopback a connection stands in the listener's queue as soon as it was asked for.
TEST_F(ASession, ConnectsTheSynchronousPortFirst)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 4), 0);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    const int port = ntohs(address.sin_port);
    pollfd pending{listener, POLLIN, 0};
    EXPECT_FALSE(Session(free_port(), port, &sock).open());
    EXPECT_EQ(::poll(&pending, 1, 0), 0);
    EXPECT_FALSE(Session(port, free_port(), &sock).open());
    EXPECT_EQ(::poll(&pending, 1, 0), 1);
    ::close(listener);
}

TEST_F(ASession, HasADescriptorForAnnouncements)
{
    const auto daemon = start();
    const auto session = connect();
    ASSERT_TRUE(daemon->wait_for_agents(1));
    EXPECT_GE(session->get_descriptor(), 0);
}

TEST_F(ASession, ReadsAndChangesValues)
{
    const auto daemon = start();
    const auto session = connect();
    std::string value = "before";
    EXPECT_NE(session->get_one("/config/name", value, "config"), 0);
    EXPECT_EQ(value, "a\nb");
    EXPECT_EQ(session->get_one("/config/other", value, "config"), 0);
    EXPECT_EQ(value, "a\nb");
    EXPECT_NE(session->set_one("/config/name", "c\nd", "config"), 0);
    EXPECT_EQ(session->set_one("/config/name", "refused", "config"), 0);
    std::vector<SIP_IMS_CFG_TAG_VALUE_T> pairs{{"T1", ""}, {"T9", "kept"}};
    EXPECT_NE(session->get_many(pairs, "config"), 0);
    EXPECT_EQ(pairs[0].value, "500");
    EXPECT_EQ(pairs[1].value, "kept");
    EXPECT_EQ(session->wait_for_sync(), 0);
}

TEST_F(ASession, RefusesWhatCannotBeAskedAndStaysConnected)
{
    const auto daemon = start();
    const auto session = connect();
    std::string value;
    EXPECT_EQ(session->get_one("/a\n/b", value, "config"), 0);
    EXPECT_EQ(session->set_one("/a", std::string(70000, 'x'), "config"), 0);
    EXPECT_TRUE(reads(*session));
}

TEST_F(ASession, DoesNotOpenWithoutADaemon)
{
    const int before = open_descriptors();
    {
        Session session(free_port(), free_port(), &sock);
        EXPECT_FALSE(session.open());
        EXPECT_EQ(session.get_descriptor(), -1);
    }
    {
        const auto daemon = start();
        Session session(sync_port, free_port(), &sock);
        EXPECT_FALSE(session.open());
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(ASession, FailsAtOnceWhileTheDaemonIsAwayAndRecoversByItself)
{
    auto daemon = start();
    const auto session = connect();
    daemon.reset();
    ASSERT_TRUE(eventually([&] { return !reads(*session); }));
    const auto before = fwk::Clock::now();
    std::string value = "before";
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(session->get_one("/config/name", value, "config"), 0);
    EXPECT_LT(fwk::Clock::now() - before, std::chrono::seconds(2));
    EXPECT_EQ(value, "before");
    EXPECT_NE(session->wait_for_sync(), 0);
    daemon = start();
    EXPECT_TRUE(eventually([&] { return reads(*session); }));
    EXPECT_EQ(session->wait_for_sync(), 0);
}

// An agent that never reads its configuration must get its announcements back too.
TEST_F(ASession, GetsItsAsynchronousChannelBackWithoutARequest)
{
    auto daemon = start();
    const auto session = connect();
    sock._set(session->get_descriptor(), "r");
    AWatcher watcher(sock);
    ASSERT_TRUE(daemon->wait_for_agents(1));
    daemon->announce("first");
    EXPECT_TRUE(watcher.wait_for("first"));
    daemon.reset();
    daemon = start();
    ASSERT_TRUE(daemon->wait_for_agents(1));
    // More than once: an attempt that began with the old daemon and ended with the new one is given up again.
    EXPECT_TRUE(eventually([&] {
        daemon->announce("second");
        return watcher.wait_for("second", std::chrono::milliseconds(20));
    }));
}

TEST_F(ASession, LosesBothChannelsWhenARequestIsNotAnswered)
{
    std::atomic<bool> hang{true};
    const auto daemon = start(
        [&hang](const std::string& request) { return hang ? StandInDaemon::HANG : fixed_answers(request); });
    const auto session = connect(IMPATIENT);
    ASSERT_TRUE(daemon->wait_for_agents(1));
    const auto before = fwk::Clock::now();
    EXPECT_FALSE(reads(*session));
    EXPECT_GE(fwk::Clock::now() - before, std::chrono::milliseconds(50));
    hang = false;
    EXPECT_TRUE(daemon->wait_for_agents(2));
    EXPECT_TRUE(eventually([&] { return reads(*session); }));
}

TEST_F(ASession, GivesUpWhoeverSendsNoFrame)
{
    std::atomic<int> asked{0};
    const auto daemon = start([&asked](const std::string& request) {
        return asked++ == 0 ? std::string(StandInDaemon::RAW) + "nonsense" : fixed_answers(request);
    });
    const auto session = connect();
    EXPECT_FALSE(reads(*session));
    EXPECT_TRUE(eventually([&] { return reads(*session); }));
}

TEST_F(ASession, WaitsForGoAsLongAsItTakes)
{
    std::atomic<bool> ready{false};
    const auto daemon = start([&ready](const std::string& request) {
        EXPECT_TRUE(eventually([&ready] { return ready.load(); }));
        return fixed_answers(request);
    });
    const auto session = connect(IMPATIENT);
    std::atomic<int> result{-1};
    BlockedThread waiter([&] { result = session->wait_for_sync(); });
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(reads(*session)); // fails at once: the channel is taken
    EXPECT_NE(session->wait_for_sync(), 0);
    ready = true;
    EXPECT_TRUE(eventually([&result] { return result == 0; }));
    EXPECT_TRUE(reads(*session));
}

TEST_F(ASession, StopsWaitingForGoWhenTheDaemonGoes)
{
    auto daemon = start([](const std::string&) { return StandInDaemon::HANG; });
    const auto session = connect();
    std::atomic<int> result{-1};
    BlockedThread waiter([&] { result = session->wait_for_sync(); });
    daemon.reset();
    EXPECT_TRUE(eventually([&result] { return result > 0; }));
}

TEST_F(ASession, StopsWaitingForGoWhenItIsClosed)
{
    const auto daemon = start([](const std::string&) { return StandInDaemon::HANG; });
    const auto session = connect();
    std::atomic<int> result{-1};
    BlockedThread waiter([&] { result = session->wait_for_sync(); });
    session->close();
    EXPECT_TRUE(eventually([&result] { return result > 0; }));
}

TEST_F(ASession, AnswersLikeALostOneWhenItIsClosed)
{
    const int before = open_descriptors();
    const auto daemon = start();
    const int with_daemon = open_descriptors();
    const auto session = connect();
    ASSERT_TRUE(daemon->wait_for_agents(1));
    ASSERT_TRUE(reads(*session));
    session->close();
    session->close();
    EXPECT_EQ(session->get_descriptor(), -1);
    EXPECT_FALSE(reads(*session));
    EXPECT_NE(session->wait_for_sync(), 0);
    EXPECT_GE(with_daemon, before);
    EXPECT_TRUE(eventually([&] { return open_descriptors() <= with_daemon + 1; })); // its wake-up descriptor
}

TEST_F(ASession, ForgetsADescriptorThatItsWatcherClosed)
{
    auto daemon = start();
    const auto session = connect();
    const int fd = session->get_descriptor();
    ASSERT_GE(fd, 0);
    sock._close(fd);
    EXPECT_EQ(session->get_descriptor(), -1);
}

TEST_F(ASession, HoldsNoMoreDescriptorsAfterManyRestarts)
{
    auto daemon = start();
    const auto session = connect();
    daemon.reset();
    daemon = start();
    ASSERT_TRUE(eventually([&] { return reads(*session); }));
    const int before = open_descriptors();
    for (int i = 0; i < 20; ++i) {
        daemon.reset();
        daemon = start();
        ASSERT_TRUE(eventually([&] { return reads(*session); })) << i;
    }
    EXPECT_TRUE(eventually([&] { return open_descriptors() <= before; }));
}

TEST_F(ASession, ServesManyThreadsOneRequestAtATime)
{
    const auto daemon = start([](const std::string& request) { return "1\n" + request; });
    const auto session = connect();
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            const std::string path = "/path/" + std::to_string(t);
            for (int i = 0; i < 50; ++i) {
                std::string value;
                if (session->get_one(path, value, "doc") == 0 || value != "GET doc\n" + path) ++wrong;
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(ASession, CanBeClosedWhileOtherThreadsAskAndTheDaemonComesAndGoes)
{
    auto daemon = start();
    const auto session = connect(FAST);
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&] {
            while (!stop) {
                reads(*session);
                session->get_descriptor();
                session->wait_for_sync();
            }
        });
    for (int i = 0; i < 5; ++i) {
        daemon.reset();
        daemon = start();
        EXPECT_TRUE(daemon->wait_for_agents(1));
    }
    session->close();
    stop = true;
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(session->get_descriptor(), -1);
}

TEST_F(ASession, LogsItsConnectionsAndLosses)
{
    auto daemon = start();
    const std::string ports = std::to_string(sync_port) + " and " + std::to_string(async_port);
    const auto session = connect();
    EXPECT_TRUE(log.has(5, "fwk_session", "connected to the framework daemon at ports " + ports));
    daemon.reset();
    EXPECT_TRUE(
        eventually([&] { return log.has(4, "fwk_session", "lost the framework daemon at ports " + ports); }));
}
