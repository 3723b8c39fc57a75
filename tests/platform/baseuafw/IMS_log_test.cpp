#include "baseuafw/IMS_log.h"

#include "tests/support/child.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

void set_options(std::vector<std::string> arguments)
{
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(&argument[0]);
    argv.push_back(nullptr);
    IMS_daemon daemon;
    daemon.set_options(static_cast<int>(arguments.size()), argv.data());
}

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

TEST(ALog, HandsLevelFunctionAndFormattedTextToTheSink)
{
    LogRecords log;
    IMS_log::loginfo(4, "enqueue", "%s %d", "element", 7);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "enqueue", "element 7"}}));
}

TEST(ALog, PassesALineFeedAtTheEndToTheSinkUnchanged)
{
    LogRecords log;
    IMS_log::loginfo(5, "f", "calling ....\n");
    IMS_log::loginfo(5, "f", "none");
    EXPECT_EQ(log.all()[0].text, "calling ....\n");
    EXPECT_EQ(log.all()[1].text, "none");
}

TEST(ALog, DropsWhatIsAboveTheHighestLevel)
{
    LogRecords log;
    IMS_log::set_level(4);
    EXPECT_EQ(IMS_log::level(), 4);
    IMS_log::loginfo(5, "f", "trace");
    IMS_log::loginfo(4, "f", "failure");
    IMS_log::loginfo(3, "f", "fatal");
    IMS_log::set_level(5);
    IMS_log::loginfo(5, "f", "trace again");
    EXPECT_EQ(log.all(),
              (std::vector<LogRecord>{{4, "f", "failure"}, {3, "f", "fatal"}, {5, "f", "trace again"}}));
}

TEST(ALog, ShowsNullTexts)
{
    LogRecords log;
    const char* null = nullptr;
    IMS_log::loginfo(5, null, "text");
    void (*unchecked)(int, const char*, const char*, ...) = IMS_log::loginfo;
    unchecked(5, "f", null);
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "(null)", "text"}, {5, "f", "(null)"}}));
}

TEST(ALog, CutsATextAtItsBound)
{
    LogRecords log;
    const std::string longest(4095, 'x');
    IMS_log::loginfo(5, "f", "%s", longest.c_str());
    IMS_log::loginfo(5, "f", "%sy", longest.c_str());
    EXPECT_EQ(log.all()[0].text, longest);
    EXPECT_EQ(log.all()[1].text, longest);
}

TEST(ALog, LeavesErrnoAlone)
{
    const ChildResult child = run_in_child([] {
        errno = EXDEV;
        IMS_log::loginfo(4, "f", "to a standard error that is there");
        if (errno != EXDEV) ::_exit(1);
        ::close(STDERR_FILENO);
        IMS_log::loginfo(4, "f", "to one that is not");
        ::_exit(errno == EXDEV ? 0 : 2);
    });
    EXPECT_EQ(child.status, 0);
}

TEST(ALog, WritesOneLineOnStandardErrorByDefault)
{
    const ChildResult child = run_in_child([] {
        set_options({"/usr/sbin/imsagent"});
        IMS_log::loginfo(5, "enqueue", "first");
        IMS_log::loginfo(3, "dequeue", "second\n");
    });
    EXPECT_EQ(child.err, "imsagent[5] enqueue: first\nimsagent[3] dequeue: second\n");
    EXPECT_EQ(child.out, "");
}

TEST(ALog, BoundsALineSoThatAPipeTakesItWhole)
{
    const ChildResult child = run_in_child([] {
        set_options({"prog"});
        IMS_log::loginfo(5, "f", "%s", std::string(5000, 'x').c_str());
        IMS_log::loginfo(5, "f", "next");
    });
    EXPECT_EQ(child.err, "prog[5] f: " + std::string(4095 - 11, 'x') + "\nprog[5] f: next\n");
}

TEST(ALog, DropsARecordWhenAFullPipeDoesNotWait)
{
    const ChildResult child = run_in_child([] {
        int ends[2];
        if (::pipe2(ends, O_NONBLOCK) != 0) ::_exit(1);
        ::dup2(ends[1], STDERR_FILENO);
        for (int i = 0; i < 1000; ++i) // more than a pipe holds
            IMS_log::loginfo(4, "f", "%s", std::string(1000, 'x').c_str());
    });
    EXPECT_EQ(child.status, 0);
}

TEST(ALog, KeepsTheRecordsOfManyThreadsApart)
{
    TempDir dir;
    const ChildResult child = run_in_child([&] {
        set_options({"prog", "-logfile", dir.file("log")});
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([t] {
                for (int i = 0; i < 250; ++i)
                    IMS_log::loginfo(5, "f", "%s", std::string(100, static_cast<char>('a' + t)).c_str());
            });
        for (auto& thread : threads)
            thread.join();
    });
    EXPECT_EQ(child.status, 0);
    const auto lines = lines_of(dir.read("log"));
    EXPECT_EQ(lines.size(), 1000u);
    for (const auto& line : lines) {
        ASSERT_EQ(line.size(), 111u);
        EXPECT_EQ(line.substr(11), std::string(100, line.back()));
    }
}

TEST(ALog, NeverCallsASinkThatWasTakenOut)
{
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop)
            IMS_log::loginfo(5, "f", "text");
    });
    for (int i = 0; i < 200; ++i) {
        LogRecords log; // its end would be a use after free if the log still held it
        while (log.all().empty())
            std::this_thread::yield();
        IMS_log::set_sink([](void*, int, const char*, const char*) {}, nullptr);
    }
    IMS_log::set_sink([](void*, int, const char*, const char*) {}, nullptr);
    stop = true;
    writer.join();
    IMS_log::set_sink(nullptr, nullptr);
}

TEST(ALog, StillWorksInAChildForkedWhileOtherThreadsLog)
{
    std::atomic<bool> stop{false};
    IMS_log::set_sink([](void*, int, const char*, const char*) {}, nullptr);
    std::thread writer([&] {
        while (!stop)
            IMS_log::loginfo(5, "f", "text");
    });
    for (int i = 0; i < 20; ++i) {
        const pid_t pid = ::fork();
        if (pid == 0) {
            IMS_log::loginfo(5, "f", "in the child");
            ::_exit(0);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_EQ(status, 0);
    }
    stop = true;
    writer.join();
    IMS_log::set_sink(nullptr, nullptr);
}

} // namespace
