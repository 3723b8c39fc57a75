#include "baseuafw/IMS_daemon.h"
#include "baseuafw/baseuafw.h"
#include "tests/platform/baseuafw/command_line.h"
#include "tests/support/child.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool exists(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

// A line of text that a background process sends back; "" when nothing comes.
class Answer {
public:
    Answer()
    {
        if (::pipe2(ends_, O_CLOEXEC) != 0) std::abort();
    }
    ~Answer()
    {
        ::close(ends_[0]);
        if (ends_[1] >= 0) ::close(ends_[1]);
    }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    void give(const std::string& text) const
    {
        if (::write(ends_[1], text.data(), text.size()) < 0) ::_exit(98);
    }
    // All that was given, once every process that could give more is gone.
    std::string take()
    {
        ::close(ends_[1]);
        ends_[1] = -1;
        std::string all;
        pollfd set{ends_[0], POLLIN, 0};
        char chunk[512];
        for (ssize_t n = 1; n > 0;) {
            if (::poll(&set, 1, 10000) <= 0) return "no end within ten seconds";
            n = ::read(ends_[0], chunk, sizeof chunk);
            if (n > 0) all.append(chunk, static_cast<std::size_t>(n));
        }
        return all;
    }

private:
    int ends_[2];
};

std::string number(long value)
{
    return std::to_string(value);
}

bool leads_to_null(int fd)
{
    struct stat here {};
    struct stat null {};
    return ::fstat(fd, &here) == 0 && ::stat("/dev/null", &null) == 0 && here.st_rdev == null.st_rdev &&
           S_ISCHR(here.st_mode);
}

TEST(ABackgroundProcess, IsAChildWithASessionOfItsOwnInTheSameDirectory)
{
    WorkingDir here;
    Answer answer;
    const ChildResult parent = run_in_child([&] {
        const pid_t before = ::getpid();
        const int result = IMS_daemon::daemonize();
        char directory[4096] = "";
        answer.give(number(result) + (::getpid() != before ? " child" : "") +
                    (::getsid(0) == ::getpid() ? " session" : "") +
                    (::getcwd(directory, sizeof directory) && here.path() == directory ? " directory" : "") +
                    (leads_to_null(0) && leads_to_null(1) && leads_to_null(2) ? " null" : ""));
    });
    EXPECT_EQ(parent.status, 0);
    EXPECT_EQ(answer.take(), "0 child session directory null");
}

TEST(ABackgroundProcess, WritesBufferedTextOnce)
{
    Answer answer;
    const ChildResult parent = run_in_child([] {
        std::printf("before");
        IMS_daemon::daemonize();
        std::printf("after");
        std::fflush(stdout);
    });
    EXPECT_EQ(parent.out, "before");
}

TEST(ABackgroundProcess, OwnsTheFilesMadeBeforeIt)
{
    WorkingDir here;
    Answer answer;
    const ChildResult parent = run_in_child([&] {
        IMS_socket sock;
        sock._socket("agent.sock", "unix", "stream");
        IMS_daemon::daemonize();
        const bool survived = exists("agent.sock"); // the end of the parent did not take it away
        IMS_daemon::clean_up();
        answer.give(number(survived) + number(exists("agent.sock")));
    });
    EXPECT_EQ(parent.status, 0);
    EXPECT_EQ(answer.take(), "10");
}

TEST(ABackgroundProcess, StillTakesSignals)
{
    WorkingDir here;
    Answer answer;
    const ChildResult parent = run_in_child([&] {
        IMS_socket sock;
        sock._socket("agent.sock", "unix", "stream");
        IMS_daemon::install_signal_handlers();
        IMS_daemon::daemonize();
        answer.give("started");
        ::raise(SIGTERM);
        answer.give(" still here");
    });
    EXPECT_EQ(parent.status, 0);
    EXPECT_EQ(answer.take(), "started");
    EXPECT_FALSE(exists(here.file("agent.sock")));
}

TEST(ABackgroundProcess, IsNotThereWhenTheSystemRefusesIt)
{
    Answer answer;
    const ChildResult parent = run_in_child([&] {
        for (int fd = ::dup(0); fd >= 0; fd = ::dup(0)) // none left but for /dev/null
            if (fd > 500) break;
        rlimit few{};
        ::getrlimit(RLIMIT_NOFILE, &few);
        few.rlim_cur = 503;
        ::setrlimit(RLIMIT_NOFILE, &few);
        const pid_t before = ::getpid();
        const int result = IMS_daemon::daemonize();
        answer.give(number(result) + (errno == EMFILE && ::getpid() == before ? " same process" : ""));
    });
    EXPECT_EQ(parent.status, 0);
    EXPECT_EQ(answer.take(), "-1 same process");
    EXPECT_NE(parent.err.find("[4] daemonize: cannot go to the background: "), std::string::npos);
}

TEST(ABackgroundProcess, GivesNoStandardDescriptorAwayWhenStartedWithoutThem)
{
    Answer answer;
    run_in_child([&] {
        for (int fd = 0; fd <= 2; ++fd)
            ::close(fd);
        const int result = IMS_daemon::daemonize();
        answer.give(number(result) +
                    (leads_to_null(0) && leads_to_null(1) && leads_to_null(2) ? " null" : "") +
                    ((::fcntl(0, F_GETFD) & FD_CLOEXEC) != 0 ? " closes on exec" : ""));
    });
    EXPECT_EQ(answer.take(), "0 null");
}

TEST(ABackgroundProcess, TellsItsParentThatThePidFileFailed)
{
    TempDir dir;
    Answer answer;
    const ChildResult parent = run_in_child([&] {
        take_options_of({"prog", "-pidfile", dir.file("no/such/directory")});
        answer.give(number(IMS_daemon::daemonize()));
    });
    EXPECT_EQ(parent.status, 1);
    EXPECT_EQ(answer.take(), "-1");
    EXPECT_NE(parent.err.find("write_pidfile: " + dir.file("no/such/directory") + ": "), std::string::npos);
}

TEST(ABackgroundProcess, HasItsPidFileWhenItsParentEnds)
{
    TempDir dir;
    Answer answer;
    run_in_child([&] {
        take_options_of({"prog", "-pidfile", dir.file("pid")});
        IMS_daemon::daemonize();
        answer.give(number(::getpid()) + "\n");
    });
    const std::string written = dir.read("pid");
    EXPECT_EQ(written, answer.take());
}

TEST(APidFile, HoldsTheProcessIdUntilTheCleanUp)
{
    TempDir dir;
    take_options_of({"prog", "-pidfile", dir.file("pid")});
    const mode_t before = ::umask(022);
    EXPECT_EQ(IMS_daemon::write_pidfile(), 0);
    ::umask(before);
    EXPECT_EQ(dir.read("pid"), number(::getpid()) + "\n");
    struct stat found {};
    ASSERT_EQ(::stat(dir.file("pid").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0644u);
    EXPECT_FALSE(exists(dir.file("pid.new")));
    IMS_daemon::clean_up();
    EXPECT_FALSE(exists(dir.file("pid")));
    take_options_of({"prog"});
}

TEST(APidFile, ReplacesAnOlderOne)
{
    TempDir dir;
    dir.write("pid", "123456789012345\n");
    take_options_of({"prog", "-pidfile", dir.file("pid")});
    EXPECT_EQ(IMS_daemon::write_pidfile(), 0);
    EXPECT_EQ(dir.read("pid"), number(::getpid()) + "\n");
    IMS_daemon::clean_up();
    take_options_of({"prog"});
}

TEST(APidFile, IsNotWrittenThroughALinkLaidInItsWay)
{
    TempDir dir;
    dir.write("precious", "text");
    ASSERT_EQ(::symlink("precious", dir.file("pid.new").c_str()), 0);
    take_options_of({"prog", "-pidfile", dir.file("pid")});
    EXPECT_EQ(IMS_daemon::write_pidfile(), 0);
    EXPECT_EQ(dir.read("precious"), "text");
    EXPECT_EQ(dir.read("pid"), number(::getpid()) + "\n");
    IMS_daemon::clean_up();
    take_options_of({"prog"});
}

TEST(APidFile, IsNotWrittenUnlessAskedFor)
{
    WorkingDir here;
    take_options_of({"prog"});
    EXPECT_EQ(IMS_daemon::write_pidfile(), 0);
}

TEST(APidFile, ThatCannotBeWrittenIsReported)
{
    TempDir dir;
    LogRecords log;
    take_options_of({"prog", "-pidfile", dir.path()}); // a directory stands there
    EXPECT_EQ(IMS_daemon::write_pidfile(), -1);
    EXPECT_EQ(log.of("write_pidfile").size(), 1u);
    EXPECT_FALSE(exists(dir.path() + ".new"));
    take_options_of({"prog"});
}

TEST(ASignal, EndsTheProcessAfterItsCleanUp)
{
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        WorkingDir here;
        const ChildResult child = run_in_child([&] {
            IMS_socket sock;
            sock._socket("agent.sock", "unix", "stream");
            if (IMS_daemon::install_signal_handlers() != 0 || !exists("agent.sock")) ::_exit(1);
            ::raise(signal);
        });
        EXPECT_EQ(child.status, 128 + signal);
        EXPECT_FALSE(exists(here.file("agent.sock")));
    }
}

TEST(ASignal, OfABrokenPipeIsIgnored)
{
    const ChildResult child = run_in_child([] {
        IMS_daemon::install_signal_handlers();
        int ends[2];
        if (::pipe(ends) != 0) ::_exit(1);
        ::close(ends[0]);
        ::_exit(::write(ends[1], "x", 1) == -1 && errno == EPIPE ? 0 : 2);
    });
    EXPECT_EQ(child.status, 0);
}

TEST(ASignal, ToHangUpOpensTheLogFileAnew)
{
    TempDir dir;
    const ChildResult child = run_in_child([&] {
        take_options_of({"prog", "-logfile", dir.file("log")});
        IMS_daemon::install_signal_handlers();
        IMS_log::loginfo(4, "f", "first");
        std::rename(dir.file("log").c_str(), dir.file("log.1").c_str());
        ::raise(SIGHUP);
        IMS_log::loginfo(4, "f", "second");
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(dir.read("log.1"), "prog[4] f: first\n");
    EXPECT_EQ(dir.read("log"), "prog[4] f: second\n");
}

TEST(ASignal, ToHangUpIsNothingToADaemonThatLogsToSyslog)
{
    const ChildResult child = run_in_child([] {
        take_options_of({"prog", "-logsyslog"});
        IMS_daemon::install_signal_handlers();
        ::raise(SIGHUP);
    });
    EXPECT_EQ(child.status, 0);
}

TEST(ASignal, InAForkedChildLeavesTheParentsFiles)
{
    WorkingDir here;
    IMS_socket sock;
    const int fd = sock._socket("agent.sock", "unix", "stream");
    const ChildResult child = run_in_child([] {
        IMS_daemon::install_signal_handlers();
        ::raise(SIGTERM);
    });
    EXPECT_EQ(child.status, 128 + SIGTERM);
    EXPECT_TRUE(exists("agent.sock"));
    sock._close(fd);
    IMS_daemon::clean_up();
}

TEST(CleaningUp, LeavesErrnoAlone)
{
    errno = EXDEV;
    IMS_daemon::clean_up();
    EXPECT_EQ(errno, EXDEV);
}

TEST(EnteringService, StaysInTheForegroundUnlessAsked)
{
    TempDir dir;
    const ChildResult child = run_in_child([&] {
        take_options_of({"prog", "-pidfile", dir.file("pid")});
        const pid_t before = ::getpid();
        if (IMS_daemon::enter_service() != 0 || ::getpid() != before) ::_exit(1);
        if (dir.read("pid") != number(before) + "\n") ::_exit(2);
        ::raise(SIGTERM);
    });
    EXPECT_EQ(child.status, 128 + SIGTERM);
    EXPECT_FALSE(exists(dir.file("pid")));
}

TEST(EnteringService, GoesToTheBackgroundWhenAsked)
{
    Answer answer;
    const ChildResult parent = run_in_child([&] {
        take_options_of({"prog", "-daemon"});
        const int result = IMS_daemon::enter_service();
        answer.give(number(result) + (::getsid(0) == ::getpid() ? " session" : ""));
        ::raise(SIGTERM);
        answer.give(" still here");
    });
    EXPECT_EQ(parent.status, 0);
    EXPECT_EQ(answer.take(), "0 session");
}

TEST(EnteringService, FailsWithoutItsPidFile)
{
    TempDir dir;
    const ChildResult child = run_in_child([&] {
        take_options_of({"prog", "-pidfile", dir.file("no/such/directory")});
        ::_exit(IMS_daemon::enter_service() == -1 ? 0 : 1);
    });
    EXPECT_EQ(child.status, 0);
}

TEST(EnteringService, KeepsTheStandardDescriptorsTaken)
{
    const ChildResult child = run_in_child([] {
        take_options_of({"prog"});
        ::close(STDIN_FILENO);
        ::close(STDERR_FILENO);
        if (IMS_daemon::enter_service() != 0) ::_exit(1);
        ::_exit(leads_to_null(STDIN_FILENO) && leads_to_null(STDERR_FILENO) ? 0 : 2);
    });
    EXPECT_EQ(child.status, 0);
}

} // namespace
