#include "siplib/message_record.h"

#include "baseuafw/baseuafw.h"
#include "tests/support/child.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using siplib::MessageRecord;

namespace {

class AMessageRecord : public ::testing::Test {
protected:
    ~AMessageRecord() override { MessageRecord::close(); }

    std::string path() const { return dir_.file("record"); }
    std::string content() const { return dir_.read("record"); }
    // The lines without their ends; a last one without an end counts too.
    std::vector<std::string> lines() const
    {
        std::vector<std::string> found;
        IMS_utility::tokenize(content(), found, "\n");
        if (!found.empty() && found.back().empty()) found.pop_back();
        return found;
    }
    static void write(const std::string& message)
    {
        MessageRecord::write(true, "udp", "127.0.0.1:5070", "127.0.0.1:5080", message.data(), message.size());
    }

    TempDir dir_;
};

bool is_whole(const std::string& line)
{
    return line.rfind("{\"time\":", 0) == 0 && line.size() > 2 &&
           line.compare(line.size() - 2, 2, "\"}") == 0;
}

// The bytes of a JSON string whose code points are all below 256.
std::string bytes_of(const std::string& json)
{
    std::string bytes;
    for (std::size_t i = 0; i < json.size(); ++i) {
        if (json[i] != '\\') {
            bytes += json[i];
        } else if (json[++i] == 'u') {
            bytes += static_cast<char>(std::strtol(json.substr(i + 1, 4).c_str(), nullptr, 16));
            i += 4;
        } else {
            bytes += json[i] == 'r' ? '\r' : json[i] == 'n' ? '\n' : json[i];
        }
    }
    return bytes;
}

long long now()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace

TEST_F(AMessageRecord, IsOffUntilItIsOpenedAndAfterItIsClosed)
{
    EXPECT_FALSE(MessageRecord::enabled());
    write("lost");
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    EXPECT_TRUE(MessageRecord::enabled());
    EXPECT_EQ(content(), "");
    MessageRecord::close();
    EXPECT_FALSE(MessageRecord::enabled());
    write("lost");
    MessageRecord::close();
    EXPECT_EQ(content(), "");
}

TEST_F(AMessageRecord, IsOneLineOfJsonAMessage)
{
    const char* const before_name = IMS_daemon::__d_progname;
    IMS_daemon::__d_progname = "imslinkevd";
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    const long long before = now();
    write("SIP/2.0 200 OK\r\nTo: \"A\" <sip:a>\r\n\r\n");
    MessageRecord::write(false, nullptr, nullptr, nullptr, nullptr, 5);
    const long long after = now();
    IMS_daemon::__d_progname = before_name;

    const std::vector<std::string> found = lines();
    ASSERT_EQ(found.size(), 2u);
    const std::string digits = found[0].substr(8, found[0].find(',') - 8);
    const long long time = std::atoll(digits.c_str());
    EXPECT_LE(before, time);
    EXPECT_LE(time, after);
    const std::string pid = std::to_string(getpid());
    EXPECT_EQ(found[0], "{\"time\":" + digits + ",\"program\":\"imslinkevd\",\"pid\":" + pid +
                            ",\"direction\":\"sent\",\"transport\":\"udp\",\"local\":\"127.0.0.1:5070\","
                            "\"peer\":\"127.0.0.1:5080\",\"message\":"
                            "\"SIP/2.0 200 OK\\r\\nTo: \\\"A\\\" <sip:a>\\r\\n\\r\\n\"}");
    EXPECT_NE(
        found[1].find(
            "\"direction\":\"received\",\"transport\":\"\",\"local\":\"\",\"peer\":\"\",\"message\":\"\"}"),
        std::string::npos);
}

TEST_F(AMessageRecord, NamesTheProgramEvenBeforeItsOptionsAreRead)
{
    const char* const before_name = IMS_daemon::__d_progname;
    IMS_daemon::__d_progname = "";
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    write("x");
    IMS_daemon::__d_progname = before_name;
    EXPECT_NE(content().find(std::string("\"program\":\"") + program_invocation_short_name + "\""),
              std::string::npos);
}

TEST_F(AMessageRecord, KeepsEveryByte)
{
    std::string all;
    for (int c = 0; c < 256; ++c)
        all += static_cast<char>(c);
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    write(all);
    const std::vector<std::string> found = lines();
    ASSERT_EQ(found.size(), 1u);
    for (const char c : found[0])
        EXPECT_TRUE(c >= 0x20 && c < 0x7F) << static_cast<int>(c);
    const std::size_t start = found[0].find("\"message\":\"") + 11;
    EXPECT_EQ(bytes_of(found[0].substr(start, found[0].size() - 2 - start)), all);
}

TEST_F(AMessageRecord, GoesOnAtTheEndOfItsFile)
{
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    write("one");
    MessageRecord::close();
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    write("two");
    ASSERT_EQ(lines().size(), 2u);
    EXPECT_TRUE(is_whole(lines()[0]) && is_whole(lines()[1])) << content();
    struct stat about {};
    ASSERT_EQ(stat(path().c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 0777u, 0600u);
}

TEST_F(AMessageRecord, StartsANewLineAfterATornOne)
{
    dir_.write("record", "{\"time\":1,\"prog");
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    write("one");
    write("two");
    ASSERT_EQ(lines().size(), 3u);
    EXPECT_EQ(lines()[0], "{\"time\":1,\"prog");
    EXPECT_TRUE(is_whole(lines()[1]) && is_whole(lines()[2])) << content();
}

TEST_F(AMessageRecord, MovesToAnotherFileAndKeepsTheOldOneWhenThatFails)
{
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    EXPECT_FALSE(MessageRecord::open(dir_.path().c_str()));
    EXPECT_FALSE(MessageRecord::open(dir_.file("no/such/folder").c_str()));
    EXPECT_FALSE(MessageRecord::open(nullptr));
    EXPECT_FALSE(MessageRecord::open(""));
    write("one");
    EXPECT_EQ(lines().size(), 1u);
    ASSERT_TRUE(MessageRecord::open(dir_.file("other").c_str()));
    write("two");
    EXPECT_EQ(lines().size(), 1u);
    EXPECT_NE(dir_.read("other").find("\"two\""), std::string::npos);
}

TEST_F(AMessageRecord, RefusesAPipeWithoutWaitingForItsReader)
{
    ASSERT_EQ(mkfifo(dir_.file("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(MessageRecord::open(dir_.file("pipe").c_str()));
    EXPECT_TRUE(MessageRecord::open("/dev/null"));
    write("gone");
}

TEST_F(AMessageRecord, NeverMixesTheLinesOfThreadsAndProcesses)
{
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    const auto write_from_threads = [] {
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([t] {
                for (std::size_t i = 0; i < 50; ++i)
                    write(std::string(i * 97, static_cast<char>('a' + t)));
            });
        for (std::thread& thread : threads)
            thread.join();
    };
    const ChildResult child = run_in_child(write_from_threads);
    write_from_threads();
    ASSERT_EQ(child.status, 0) << child.err;
    ASSERT_EQ(lines().size(), 400u);
    for (const std::string& line : lines())
        EXPECT_TRUE(is_whole(line)) << line;
}

TEST_F(AMessageRecord, MayBeClosedWhileOthersWrite)
{
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&] {
            while (!stop)
                write("x");
        });
    for (int i = 0; i < 100; ++i) {
        MessageRecord::close();
        EXPECT_TRUE(MessageRecord::open(path().c_str()));
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& line : lines())
        EXPECT_TRUE(is_whole(line)) << line;
}

TEST_F(AMessageRecord, LosesAtMostItsLastLineWhenTheProcessIsKilled)
{
    ASSERT_TRUE(MessageRecord::open(path().c_str()));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (;;)
            write(std::string(5000, '\xFF'));
    }
    struct stat about {};
    while (stat(path().c_str(), &about) == 0 && about.st_size < 300000)
        std::this_thread::yield();
    ASSERT_EQ(kill(child, SIGKILL), 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);

    write("after");
    const std::vector<std::string> found = lines();
    ASSERT_GT(found.size(), 10u);
    std::size_t torn = 0;
    for (const std::string& line : found)
        torn += is_whole(line) ? 0 : 1;
    EXPECT_LE(torn, 1u);
}

// A full disk, here a limit on the size of the file: the torn line stays alone, and the record goes on when
// it can.
TEST_F(AMessageRecord, GoesOnAfterAFullDisk)
{
    const ChildResult child = run_in_child([this] {
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlim_t before = limit.rlim_cur;
        limit.rlim_cur = 1000;
        if (!MessageRecord::open(path().c_str()) || setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(1);
        LogRecords log;
        write(std::string(2000, 'a'));
        write("dropped");
        limit.rlim_cur = before;
        if (log.of("write").size() != 1 || log.up_to(4).size() != 1 || setrlimit(RLIMIT_FSIZE, &limit) != 0)
            _exit(2);
        write("one");
        write("two");
    });
    ASSERT_EQ(child.status, 0) << child.err;
    const std::vector<std::string> found = lines();
    ASSERT_EQ(found.size(), 3u) << content();
    EXPECT_EQ(found[0].size(), 1000u);
    EXPECT_TRUE(is_whole(found[1]) && is_whole(found[2]));
    EXPECT_NE(found[1].find("\"one\""), std::string::npos);
}
