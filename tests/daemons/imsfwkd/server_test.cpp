#include "daemons/imsfwkd/server.h"

#include "tests/daemons/imsfwkd/loopback_client.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <memory>
#include <sys/eventfd.h>
#include <vector>

using imsfwkd::Server;
using imsfwkd::Store;
using imsfwkd::Watcher;

namespace {

constexpr std::chrono::milliseconds AT_ONCE{0};

// The server turns whenever a client waits, all in one thread.
class AServer : public ::testing::Test {
protected:
    AServer() { dir.write("config.xml", "<config><name>eth0</name></config>"); }

    void start(imsfwkd::Limits limits = {})
    {
        std::string why;
        ASSERT_TRUE(watcher.open(dir.path(), why)) << why;
        ASSERT_TRUE(store.open(why)) << why;
        server = std::make_unique<Server>(store, watcher, limits);
        ASSERT_TRUE(server->listen(0, 0, why)) << why;
    }
    std::unique_ptr<LoopbackClient> client(int port)
    {
        auto made = std::make_unique<LoopbackClient>(port);
        EXPECT_TRUE(made->is_connected());
        made->between([this] { server->turn(-1, std::chrono::milliseconds(1)); });
        server->turn(-1, AT_ONCE);
        return made;
    }
    std::unique_ptr<LoopbackClient> sync_client() { return client(server->sync_port()); }
    std::unique_ptr<LoopbackClient> async_client() { return client(server->async_port()); }

    LogRecords log;
    TempDir dir;
    Watcher watcher;
    Store store{dir.path()};
    std::unique_ptr<Server> server;
};

} // namespace

TEST_F(AServer, ServesItsStore)
{
    start();
    const auto agent = sync_client();
    EXPECT_EQ(agent->ask("SYNC"), "GO");
    EXPECT_EQ(agent->ask("GET config\n/config/name"), "1\neth0");
}

TEST_F(AServer, SaysGoOnlyWhenEverythingIsLoaded)
{
    for (int i = 0; i < 20; ++i)
        dir.write("d" + std::to_string(i) + ".xml", "<d/>");
    start();
    const auto agent = sync_client();
    ASSERT_FALSE(store.is_loaded());
    EXPECT_EQ(agent->ask("SYNC"), "GO");
    EXPECT_TRUE(store.is_loaded());
}

TEST_F(AServer, AnnouncesAChangeToEveryAgent)
{
    start();
    const auto first = async_client();
    const auto second = async_client();
    const auto writer = sync_client();
    ASSERT_EQ(writer->ask("SYNC"), "GO");
    ASSERT_EQ(writer->ask("SET config\n/config/name\neth1"), "1");
    EXPECT_EQ(first->text_until("name\n"), "CHANGED config\n/config/name\n");
    EXPECT_EQ(second->text_until("name\n"), "CHANGED config\n/config/name\n");
}

TEST_F(AServer, AnnouncesAChangedFileOnce)
{
    start();
    const auto agent = async_client();
    const auto writer = sync_client();
    ASSERT_EQ(writer->ask("SYNC"), "GO");
    dir.write("config.xml", "<config><name>eth0</name><other>1</other></config>");
    EXPECT_EQ(agent->text_until("other\n"), "CHANGED config\n/config/other\n");
    ASSERT_EQ(writer->ask("SET config\n/config/name\neth1"), "1"); // its own file's notice says nothing new
    dir.write("last.xml", "<last/>");
    EXPECT_EQ(agent->text_until("/\n"), "CHANGED config\n/config/name\nCHANGED last\n/\n");
}

TEST_F(AServer, ServesManyAgentsInTurn)
{
    start();
    std::vector<std::unique_ptr<LoopbackClient>> agents;
    for (int i = 0; i < 60; ++i)
        agents.push_back(sync_client());
    for (const auto& agent : agents)
        ASSERT_TRUE(agent->send(fwk::frame("GET config\n/config/name") + fwk::frame("SYNC")));
    for (const auto& agent : agents) {
        EXPECT_EQ(agent->answer(), "1\neth0");
        EXPECT_EQ(agent->answer(), "GO");
    }
}

TEST_F(AServer, DropsAnAgentThatDoesNotReadItsAnnouncements)
{
    start();
    LoopbackClient deaf(server->async_port(), 32768);
    const auto listener = async_client();
    const auto writer = sync_client();
    const std::string path = "/config/" + std::string(900, 'x');
    int changes = 0;
    while (log.up_to(4).empty() && changes < 2000) {
        ASSERT_EQ(writer->ask("SET config\n" + path + "\n" + std::to_string(++changes)), "1");
        ASSERT_EQ(listener->text_until("x\n"), "CHANGED config\n" + path + "\n");
    }
    EXPECT_EQ(log.up_to(4).size(), 1u);
    EXPECT_TRUE(deaf.ends());
    EXPECT_EQ(writer->ask("SYNC"), "GO");
}

TEST_F(AServer, HangsUpOnOneAgentTooMany)
{
    start(imsfwkd::Limits{2, std::chrono::milliseconds(10000)});
    auto first = sync_client();
    const auto second = sync_client();
    EXPECT_EQ(first->ask("SYNC"), "GO");
    EXPECT_TRUE(sync_client()->ends());
    EXPECT_EQ(second->ask("SYNC"), "GO");
    first.reset();
    server->turn(-1, AT_ONCE);
    EXPECT_EQ(sync_client()->ask("SYNC"), "GO");
}

TEST_F(AServer, DropsWhoDoesNotCloseAfterAFatalError)
{
    start(imsfwkd::Limits{8, std::chrono::milliseconds(1)});
    const auto agent = sync_client();
    ASSERT_TRUE(agent->send("nonsense"));
    EXPECT_EQ(agent->answer().compare(0, 4, "ERR "), 0);
    EXPECT_TRUE(agent->ends());
    EXPECT_EQ(sync_client()->ask("SYNC"), "GO");
}

TEST_F(AServer, IsStoppedByADescriptor)
{
    start();
    while (store.load_next()) {
    }
    const int stop = ::eventfd(0, EFD_CLOEXEC);
    EXPECT_FALSE(server->turn(stop, AT_ONCE));
    ::eventfd_write(stop, 1);
    EXPECT_TRUE(server->turn(stop, std::chrono::milliseconds(60000)));
    ::close(stop);
}

TEST_F(AServer, NeedsBothPorts)
{
    start();
    Watcher none;
    Server second(store, none);
    std::string why;
    EXPECT_FALSE(second.listen(0, server->async_port(), why));
    EXPECT_EQ(why, "port " + std::to_string(server->async_port()) + ": Address already in use");
}
