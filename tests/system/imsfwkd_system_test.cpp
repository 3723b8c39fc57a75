// The framework daemon as a process, with agents' own client library and with bare sockets.

#include "baseuafw/baseuafw.h"
#include "tests/daemons/imsfwkd/loopback_client.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

const std::string CONFIG = "<config>\n  <left>0</left>\n  <right>0</right>\n</config>\n";

template <typename Happened>
bool eventually(Happened happened)
{
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    while (!happened()) {
        if (Clock::now() >= deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

// "\\n" as people write it becomes a line feed.
std::string unescaped(std::string text)
{
    for (std::size_t at = text.find("\\n"); at != std::string::npos; at = text.find("\\n"))
        text.replace(at, 2, "\n");
    return text;
}

// An agent's connection, as its start-up opens it.
class Agent {
public:
    Agent(int sync_port, int async_port)
        : opened_(IMS_fwk_util::open_framework_sockets(&connector, &intf, std::to_string(sync_port).c_str(),
                                                       std::to_string(async_port).c_str(), &sock))
    {
        if (opened_ != 0) sock._set(connector->get_descriptor(), "r");
    }
    ~Agent() { IMS_fwk_util::close_framework_sockets(&connector, &intf); }
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    bool is_open() const { return opened_ != 0; }
    std::string get(const std::string& xpath, const std::string& document = "config") const
    {
        std::string value = "(not found)";
        intf->get_one(xpath, value, document);
        return value;
    }
    bool set(const std::string& xpath, const std::string& value) const
    {
        return intf->set_one(xpath, value, "config") != 0;
    }
    // Reads announcements, as the external-interface thread does, until `text` is among them.
    bool hears(const std::string& text)
    {
        std::vector<int> readable;
        while (heard_.find(text) == std::string::npos) {
            sock._select("rw", readable);
            for (const int fd : readable) {
                char buffer[1023];
                const int n = sock._recvfrom(fd, buffer, sizeof buffer);
                if (n == 0) sock._close(fd);
                if (n > 0) heard_.append(buffer, static_cast<std::size_t>(n));
            }
        }
        return true;
    }

    IMS_socket sock;
    SIP_IMS_cfg_intf_IMS_socket* connector = nullptr;
    SIP_IMS_cfg_intf* intf = nullptr;

private:
    int opened_ = 0;
    std::string heard_;
};

class TheFrameworkDaemon : public ::testing::Test {
protected:
    TheFrameworkDaemon() { store.write("config.xml", CONFIG); }

    void start(const std::vector<std::string>& more = {})
    {
        ProcessStart how;
        how.argv = {IMSFWKD_BINARY,
                    "-store",
                    store.path(),
                    "-syncport",
                    std::to_string(sync_port),
                    "-asyncport",
                    std::to_string(async_port)};
        how.argv.insert(how.argv.end(), more.begin(), more.end());
        daemon = std::make_unique<Process>(how);
        const std::string line = daemon->wait_for_line("syncport ");
        ASSERT_EQ(std::sscanf(line.c_str(), "syncport %d asyncport %d", &sync_port, &async_port), 2)
            << daemon->log();
    }
    // The documents that the daemon ships, instead of the tests' own.
    void ship() const
    {
        using Copy = std::filesystem::copy_options;
        std::filesystem::copy(IMSFWKD_STORE, store.path(), Copy::overwrite_existing | Copy::recursive);
    }
    void kill()
    {
        daemon->signal(SIGKILL);
        daemon->wait();
    }
    std::unique_ptr<Agent> agent()
    {
        auto made = std::make_unique<Agent>(sync_port, async_port);
        EXPECT_TRUE(made->is_open());
        return made;
    }
    bool is_well() { return LoopbackClient(sync_port).ask("SYNC") == "GO"; }

    TempDir store;
    TempDir other;
    std::unique_ptr<Process> daemon;
    int sync_port = 0;
    int async_port = 0;
};

} // namespace

TEST_F(TheFrameworkDaemon, ServesAnAgent)
{
    start();
    const auto one = agent();
    ASSERT_EQ(one->intf->wait_for_sync(), 0);
    EXPECT_EQ(one->get("/config/left"), "0");
    EXPECT_EQ(one->get("/config/none"), "(not found)");
    EXPECT_EQ(one->get("/config/left", "none"), "(not found)");
    EXPECT_TRUE(one->set("/config/left", "two\nlines, 100%"));
    EXPECT_EQ(one->get("/config/left"), "two\nlines, 100%");
    std::vector<SIP_IMS_CFG_TAG_VALUE_T> pairs{{"left", ""}, {"none", "kept"}, {"/config/right", ""}};
    EXPECT_NE(one->intf->get_many(pairs, "config"), 0);
    EXPECT_EQ(pairs[0].value + "|" + pairs[1].value + "|" + pairs[2].value, "two\nlines, 100%|kept|0");
}

TEST_F(TheFrameworkDaemon, ServesTheDocumentsThatItShips)
{
    ship();
    start();
    const auto one = agent();
    for (const char* key : {"maxCallDialogs", "maxRegClients", "maxSubscriptions", "maxTransactions",
                            "maxTransmitters", "maxNumOfPages", "maxConnections", "T1", "T2", "T4"})
        EXPECT_GT(std::atoi(one->get(std::string("/sipstackinit/default/") + key, "sipstackinit").c_str()), 0)
            << key;
    EXPECT_EQ(one->get("/sipstackinit/default/loglevel", "sipstackinit"), "ERROR,EXCEP");
    EXPECT_EQ(one->get("/sipstackinit/linkev/loglevel", "sipstackinit"), "WARN");
    EXPECT_EQ(one->get("//napi-profile-name"), "eth0");
}

// docs/framework-protocol.md shows what it shows because this is what happens.
TEST_F(TheFrameworkDaemon, SpeaksAsItsProtocolPageShows)
{
    ship();
    start();
    LoopbackClient client(sync_port);
    std::ifstream page(IMSFWKD_PROTOCOL_PAGE);
    int lines = 0;
    for (std::string line; std::getline(page, line);) {
        if (line.compare(0, 8, "agent:  ") == 0) {
            ASSERT_TRUE(client.send(unescaped(line.substr(8))));
            ++lines;
        }
        if (line.compare(0, 8, "daemon: ") == 0) {
            EXPECT_EQ(fwk::frame(client.answer()), unescaped(line.substr(8))) << line;
        }
    }
    EXPECT_EQ(lines, 7);
}

TEST_F(TheFrameworkDaemon, AnnouncesChangesToEveryAgent)
{
    start();
    const auto one = agent();
    const auto two = agent();
    ASSERT_EQ(one->intf->wait_for_sync(), 0);
    ASSERT_TRUE(one->set("/config/left", "1"));
    EXPECT_TRUE(one->hears("CHANGED config\n/config/left\n"));
    EXPECT_TRUE(two->hears("CHANGED config\n/config/left\n"));
    store.write("config.xml", "<config><left>1</left><right>edited</right></config>");
    EXPECT_TRUE(one->hears("CHANGED config\n/config/right\n"));
    EXPECT_TRUE(two->hears("CHANGED config\n/config/right\n"));
    EXPECT_EQ(two->get("/config/right"), "edited");
    store.write("new.xml", "<new/>");
    EXPECT_TRUE(two->hears("CHANGED new\n/\n"));
}

TEST_F(TheFrameworkDaemon, TellsItsPortsAndEndsCleanly)
{
    start({"-portfile", other.file("ports"), "-pidfile", other.file("pid")});
    EXPECT_EQ(other.read("ports"), std::to_string(sync_port) + " " + std::to_string(async_port) + "\n");
    EXPECT_EQ(other.read("pid"), std::to_string(daemon->pid()) + "\n");
    ASSERT_TRUE(is_well());
    daemon->signal(SIGTERM);
    const Process::End end = daemon->wait();
    EXPECT_EQ(end.status, 0);
    EXPECT_TRUE(std::filesystem::is_empty(other.path()));
}

TEST_F(TheFrameworkDaemon, DoesNotStartOnWhatItCannotServe)
{
    start();
    const auto ends_with = [](std::vector<std::string> argv) {
        argv.insert(argv.begin(), IMSFWKD_BINARY);
        ProcessStart how;
        how.argv = std::move(argv);
        return run_process(how).status;
    };
    EXPECT_EQ(ends_with({"-store", store.path()}), 1); // served already
    EXPECT_EQ(ends_with({"-store", other.file("none")}), 1);
    EXPECT_EQ(ends_with({"-store", other.path(), "-syncport", std::to_string(sync_port)}), 1);
    EXPECT_EQ(ends_with({"-store", other.path(), "-syncport", "x"}), 1);
    EXPECT_EQ(ends_with({}), 1);
    EXPECT_EQ(ends_with({"-h"}), 0);
    EXPECT_TRUE(is_well());
}

TEST_F(TheFrameworkDaemon, ServesManyAgentsAtOnce)
{
    start();
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 32; ++t)
        threads.emplace_back([&] {
            const auto one = agent();
            if (one->intf->wait_for_sync() != 0) ++wrong;
            for (int i = 0; i < 50; ++i)
                if (one->get("/config/right") != "0") ++wrong;
            if (!one->set("/config/left", "x")) ++wrong;
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(TheFrameworkDaemon, SurvivesEveryBadRequest)
{
    start();
    LoopbackClient bare(sync_port);
    EXPECT_EQ(bare.ask("GET none\n/a"), "0");
    EXPECT_EQ(bare.ask("GET ../config\n/config"), "0");
    EXPECT_EQ(bare.ask("GET config\n/config["), "0");
    EXPECT_EQ(bare.ask("SET config\n/config[\nx"), "0");
    EXPECT_EQ(bare.ask("SET config\n/config/left\n\x01"), "0");
    EXPECT_EQ(bare.ask("FROB"), "ERR requests are GET, MGET, SET and SYNC");
    EXPECT_EQ(bare.ask("GET config\n/config/left"), "1\n0");
    for (const char* bytes : {"99999999\n", "-1\n", "GET / HTTP/1.1\r\n\r\n", "\n"}) {
        LoopbackClient broken(sync_port);
        ASSERT_TRUE(broken.send(bytes));
        EXPECT_EQ(broken.answer().compare(0, 4, "ERR "), 0) << bytes;
        EXPECT_EQ(broken.answer(), "(end)");
    }
    LoopbackClient half(sync_port);
    ASSERT_TRUE(half.send("100\nGET conf"));
    half.send_end();
    EXPECT_TRUE(half.ends());
    EXPECT_TRUE(is_well());
    EXPECT_TRUE(daemon->running());
}

// Two writers stream changes into one document; the daemon is killed at some moment, again and again.
TEST_F(TheFrameworkDaemon, NeverTearsAFileNorLosesAnAcknowledgedChange)
{
    std::atomic<int> sent[2] = {{0}, {0}};
    std::atomic<int> acknowledged[2] = {{0}, {0}};
    const std::string paths[2] = {"/config/left", "/config/right"};
    for (int round = 0; round < 12; ++round) {
        start();
        std::vector<std::thread> writers;
        for (int w = 0; w < 2; ++w)
            writers.emplace_back([&, w] {
                LoopbackClient client(sync_port);
                for (;;) {
                    const std::string value = std::to_string(++sent[w]);
                    if (client.ask("SET config\n" + paths[w] + "\n" + value) != "1") return;
                    acknowledged[w] = sent[w].load();
                }
            });
        const int enough = acknowledged[0] + 3 + round;
        EXPECT_TRUE(eventually([&] {
            const std::string text = store.read("config.xml");
            EXPECT_EQ(text.substr(text.size() < 10 ? 0 : text.size() - 10), "</config>\n"); // never torn
            return acknowledged[0] >= enough;
        }));
        kill();
        for (auto& writer : writers)
            writer.join();
        start();
        EXPECT_FALSE(std::filesystem::exists(store.file(".config.xml.tmp")));
        for (int w = 0; w < 2; ++w) {
            const std::string answer = LoopbackClient(sync_port).ask("GET config\n" + paths[w]);
            ASSERT_EQ(answer.substr(0, 2), "1\n");
            const int value = std::atoi(answer.c_str() + 2);
            EXPECT_GE(value, acknowledged[w]);
            EXPECT_LE(value, sent[w]);
        }
        kill();
    }
}

TEST_F(TheFrameworkDaemon, IsFoundAgainByItsAgentsWhenItComesBack)
{
    start();
    const auto reader = agent();
    const auto listener = agent(); // never asks anything
    ASSERT_EQ(reader->intf->wait_for_sync(), 0);
    kill();
    ASSERT_TRUE(eventually([&] { return reader->get("/config/left") == "(not found)"; }));
    const auto before = Clock::now();
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(reader->get("/config/left"), "(not found)");
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(1));
    EXPECT_NE(reader->intf->wait_for_sync(), 0);
    start(); // on the same ports
    ASSERT_TRUE(eventually([&] { return reader->get("/config/left") == "0"; }));
    // The listener's way back is its own: changes are made until it hears of one.
    std::atomic<bool> heard{false};
    std::thread changer([&] {
        for (int i = 1; !heard && i < 20000; ++i)
            reader->set("/config/left", std::to_string(i));
    });
    heard = listener->hears("CHANGED config\n/config/left\n");
    changer.join();
    EXPECT_TRUE(heard);
}

TEST_F(TheFrameworkDaemon, CostsABoundedTimeWhenItHangs)
{
    start();
    const auto one = agent();
    ASSERT_EQ(one->get("/config/left"), "0");
    daemon->signal(SIGSTOP);
    const auto before = Clock::now();
    EXPECT_EQ(one->get("/config/left"), "(not found)");
    EXPECT_EQ(one->get("/config/left"), "(not found)"); // at once: the connection counts as lost
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(4));
    daemon->signal(SIGCONT);
    EXPECT_TRUE(eventually([&] { return one->get("/config/left") == "0"; }));
}

TEST_F(TheFrameworkDaemon, OutlivesAShortageOfDescriptors)
{
    ProcessStart how;
    how.argv = {"sh", "-c",
                std::string("ulimit -n 24; exec ") + IMSFWKD_BINARY + " -store " + store.path() +
                    " -loglevel 5"};
    daemon = std::make_unique<Process>(how);
    const std::string line = daemon->wait_for_line("syncport ");
    ASSERT_EQ(std::sscanf(line.c_str(), "syncport %d asyncport %d", &sync_port, &async_port), 2);
    {
        std::vector<std::unique_ptr<LoopbackClient>> crowd;
        for (int i = 0; i < 40; ++i)
            crowd.push_back(std::make_unique<LoopbackClient>(sync_port));
        EXPECT_TRUE(daemon->wait_for_log("out of descriptors"));
        EXPECT_EQ(crowd.front()->ask("SYNC"), "GO");
        EXPECT_EQ(crowd.front()->ask("SET config\n/config/left\n1"), "0"); // no descriptor for the new file
    }
    EXPECT_TRUE(is_well());
    EXPECT_EQ(LoopbackClient(sync_port).ask("SET config\n/config/left\n1"), "1");
}
