#include "baseuafw/IMS_log.h"

#include "tests/platform/baseuafw/command_line.h"
#include "tests/support/child.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Takes the place of the C library's for this program: what syslog was told goes to standard output.
extern "C" __attribute__((format(printf, 2, 3))) void syslog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::printf("<%d>", priority);
    std::vprintf(format, arguments);
    std::printf("\n");
    va_end(arguments);
}

namespace {

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
    EXPECT_TRUE(IMS_log::is_written(4));
    EXPECT_FALSE(IMS_log::is_written(5));
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
        take_options_of({"/usr/sbin/imsagent"});
        IMS_log::loginfo(5, "enqueue", "first");
        IMS_log::loginfo(3, "dequeue", "second\n");
    });
    EXPECT_EQ(child.err, "imsagent[5] enqueue: first\nimsagent[3] dequeue: second\n");
    EXPECT_EQ(child.out, "");
}

TEST(ALog, WritesEachRecordInOnePiece)
{
    int ends[2]; // of a kind that keeps the writes apart
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    run_in_child([&] {
        ::dup2(ends[1], STDERR_FILENO);
        take_options_of({"prog"});
        IMS_log::loginfo(5, "f", "%s", "first");
        IMS_log::loginfo(5, "f", "second\n");
    });
    for (const char* expected : {"prog[5] f: first\n", "prog[5] f: second\n"}) {
        char piece[100] = {};
        ::recv(ends[0], piece, sizeof piece - 1, MSG_DONTWAIT);
        EXPECT_STREQ(piece, expected);
    }
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(ALog, BoundsALineSoThatAPipeTakesItWhole)
{
    const ChildResult child = run_in_child([] {
        take_options_of({"prog"});
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
        take_options_of({"prog", "-logfile", dir.file("log")});
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
    const auto count = [](void* ctx, int, const char*, const char*) {
        ++*static_cast<std::atomic<int>*>(ctx);
    };
    auto records = std::make_unique<std::atomic<int>>(0);
    IMS_log::set_sink(count, records.get());
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop)
            IMS_log::loginfo(5, "f", "text");
    });
    for (int i = 0; i < 200; ++i) {
        while (*records == 0)
            std::this_thread::yield();
        auto next = std::make_unique<std::atomic<int>>(0);
        IMS_log::set_sink(count, next.get());
        records = std::move(next); // the earlier one is gone: the log must not touch it
    }
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

TEST(TheLevelOption, SetsTheHighestLevelWritten)
{
    LogRecords log;
    take_options_of({"prog", "-loglevel", "3"});
    EXPECT_EQ(IMS_log::level(), 3);
    take_options_of({"prog"}); // not mentioned: stays
    EXPECT_EQ(IMS_log::level(), 3);
    take_options_of({"prog", "-loglevel", "3", "-loglevel", "0007"});
    EXPECT_EQ(IMS_log::level(), 7);
    IMS_log::set_level(5);
    EXPECT_EQ(log.all().size(), 0u);
}

TEST(TheLevelOption, RefusesWhatIsNoNumber)
{
    for (const char* wrong : {"", "high", "4x", "-1", "+4", " 4", "99999999999", "99999999999999999999"}) {
        LogRecords log;
        take_options_of({"prog", "-loglevel", wrong});
        EXPECT_EQ(IMS_log::level(), 5) << wrong;
        EXPECT_TRUE(log.has(4, "set_options", std::string("-loglevel: not a level: ") + wrong)) << wrong;
    }
}

TEST(ALogFile, IsAppendedTo)
{
    TempDir dir;
    dir.write("log", "earlier\n");
    const ChildResult child = run_in_child([&] {
        take_options_of({"prog", "-logfile", dir.file("log")});
        IMS_log::loginfo(4, "f", "text");
    });
    EXPECT_EQ(dir.read("log"), "earlier\nprog[4] f: text\n");
    EXPECT_EQ(child.err, "");
}

TEST(ALogFile, IsNotForEverybody)
{
    TempDir dir;
    run_in_child([&] {
        ::umask(0);
        take_options_of({"prog", "-logfile", dir.file("log")});
    });
    struct stat found {};
    ASSERT_EQ(::stat(dir.file("log").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0640u);
}

TEST(ALogFile, ThatCannotBeOpenedLeavesTheLogWhereItWas)
{
    TempDir dir;
    const std::string path = dir.file("no/such/directory");
    const ChildResult child = run_in_child([&] {
        take_options_of({"prog", "-logfile", path});
        IMS_log::loginfo(4, "f", "text");
    });
    EXPECT_EQ(child.err, "prog[4] set_options: -logfile: cannot open " + path +
                             ": No such file or directory\nprog[4] f: text\n");
}

TEST(ALogFile, MayBeAPipeThatNobodyReads)
{
    TempDir dir;
    ASSERT_EQ(::mkfifo(dir.file("fifo").c_str(), 0600), 0);
    const ChildResult child = run_in_child([&] { take_options_of({"prog", "-logfile", dir.file("fifo")}); });
    EXPECT_EQ(child.status, 0); // and it did not wait
    EXPECT_NE(child.err.find("cannot open"), std::string::npos);
}

TEST(ALogFile, GivesWayToALaterOne)
{
    TempDir dir;
    run_in_child([&] {
        take_options_of({"prog", "-logfile", dir.file("first"), "-logfile", dir.file("second")});
        IMS_log::loginfo(4, "f", "text");
    });
    EXPECT_EQ(dir.read("first"), "");
    EXPECT_EQ(dir.read("second"), "prog[4] f: text\n");
}

TEST(ALogFile, IsKeptWhenItCannotBeOpenedAnew)
{
    TempDir dir;
    ASSERT_EQ(::mkdir(dir.file("sub").c_str(), 0700), 0);
    const ChildResult child = run_in_child([&] {
        take_options_of({"prog", "-logfile", dir.file("sub/log")});
        std::rename(dir.file("sub").c_str(), dir.file("moved").c_str());
        if (!IMS_log::request_reopen()) ::_exit(1);
        IMS_log::loginfo(4, "f", "text");
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(dir.read("moved/log"), "prog[4] f: text\n");
}

TEST(ALogFile, IsTheOnlyThingOpenedAnew)
{
    EXPECT_FALSE(IMS_log::request_reopen()); // standard error
    const ChildResult child = run_in_child([] {
        take_options_of({"prog", "-logsyslog"});
        if (!IMS_log::request_reopen()) ::_exit(1);
        IMS_log::loginfo(4, "f", "text");
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.out, "<4>f: text\n");
}

TEST(TheSyslogOption, SendsRecordsToSyslogWithTheirLevelAsPriority)
{
    const ChildResult child = run_in_child([] {
        take_options_of({"prog", "-logsyslog"});
        IMS_log::loginfo(4, "enqueue", "overflow %d%%", 7);
        IMS_log::loginfo(-3, "f", "most urgent there is");
        IMS_log::set_level(99);
        IMS_log::loginfo(42, "f", "least urgent there is");
    });
    EXPECT_EQ(child.out,
              "<4>enqueue: overflow 7%\n<0>f: most urgent there is\n<7>f: least urgent there is\n");
    EXPECT_EQ(child.err, "");
}

TEST(TheSyslogOption, IsOverriddenByALaterLogFile)
{
    TempDir dir;
    const ChildResult child = run_in_child([&] {
        take_options_of({"prog", "-logsyslog", "-logfile", dir.file("log")});
        IMS_log::loginfo(4, "f", "text");
    });
    EXPECT_EQ(dir.read("log"), "prog[4] f: text\n");
    EXPECT_EQ(child.out, "");
}

TEST(LeavingTheTerminal, MovesStandardErrorToSyslog)
{
    const ChildResult child = run_in_child([] {
        IMS_log::leave_terminal();
        IMS_log::loginfo(4, "f", "text");
    });
    EXPECT_EQ(child.out, "<4>f: text\n");
    EXPECT_EQ(child.err, "");
}

TEST(LeavingTheTerminal, KeepsALogFile)
{
    TempDir dir;
    const ChildResult child = run_in_child([&] {
        take_options_of({"prog", "-logfile", dir.file("log")});
        IMS_log::leave_terminal();
        IMS_log::loginfo(4, "f", "text");
    });
    EXPECT_EQ(dir.read("log"), "prog[4] f: text\n");
    EXPECT_EQ(child.out, "");
}

TEST(TheTraceOption, KeepsThePath)
{
    const ChildResult child = run_in_child([] {
        std::printf("[%s]", IMS_log::siptrace_path());
        take_options_of({"prog", "-siptrace", "/tmp/messages"});
        take_options_of({"prog"});
        std::printf("[%s]", IMS_log::siptrace_path());
    });
    EXPECT_EQ(child.out, "[][/tmp/messages]");
}

TEST(TheUsageOfTheLog, NamesEveryOptionAtTheFatalLevel)
{
    LogRecords log;
    IMS_log::print_usage();
    EXPECT_EQ(log.all().size(), log.of("print_usage").size());
    EXPECT_EQ(log.all().size(), log.up_to(3).size());
    for (const char* option : {"-loglevel", "-logfile", "-logsyslog", "-siptrace"}) {
        int lines = 0;
        for (const auto& record : log.all())
            lines += record.text.find(option) != std::string::npos;
        EXPECT_EQ(lines, 1) << option;
    }
}

} // namespace
