// The daemon as a process: background, pid file, signals, clean-up.
#include "baseuafw/IMS_daemon.h"
#include "baseuafw/IMS_log.h"
#include "baseuafw/created_files.h"
#include "baseuafw/daemon_options.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using baseuafw::daemon_options;

void log_failure(const char* function, const char* what, int error)
{
    char reason[128];
    IMS_log::loginfo(4, function, "%s: %s", what, ::strerror_r(error, reason, sizeof reason));
}

// A descriptor on /dev/null beyond 2, so that 0 to 2 are all taken afterwards; -1 with errno.
int open_null()
{
    int fd = -1;
    do
        fd = ::open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    return fd;
}

// Stays until the child has reported (one byte) or is gone without a report.
[[noreturn]] void end_parent(int report)
{
    char byte = 0;
    ssize_t n = 0;
    do
        n = ::read(report, &byte, 1);
    while (n < 0 && errno == EINTR);
    ::_exit(n == 1 ? 0 : 1);
}

// Forks with every signal blocked, so that none ends the parent, with its clean-up, in the child's stead:
// the parent keeps them blocked to its end. As fork().
pid_t fork_successor()
{
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t parent = ::getpid();
    std::fflush(nullptr); // what is buffered would be written twice
    const pid_t child = ::fork();
    if (child == 0) baseuafw::adopt_created_files(parent);
    if (child <= 0) ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return child;
}

int become_background(int null, int report)
{
    ::setsid();
    const int result = IMS_daemon::write_pidfile(); // its failure is still seen on the terminal
    if (result == 0) ::send(report, "", 1, MSG_NOSIGNAL);
    ::close(report);
    IMS_log::leave_terminal();
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        ::dup2(null, fd);
    ::close(null);
    return result;
}

bool write_all(int fd, const std::string& text)
{
    const ssize_t n = ::write(fd, text.data(), text.size());
    if (n >= 0 && static_cast<std::size_t>(n) < text.size()) errno = ENOSPC;
    return n == static_cast<ssize_t>(text.size());
}

// Writes beside the file and renames, so that a reader sees nothing or all of it. 0, or the error.
int replace_file(const std::string& path, const std::string& text)
{
    const std::string fresh = path + ".new";
    ::unlink(fresh.c_str()); // one that a crash left, or that somebody laid there for us to write through
    const int fd = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) return errno;
    int error = write_all(fd, text) ? 0 : errno;
    ::close(fd);
    if (error == 0 && ::rename(fresh.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) ::unlink(fresh.c_str());
    return error;
}

void end_on_signal(int number)
{
    IMS_daemon::clean_up();
    ::_exit(128 + number);
}

void reopen_log_on_signal(int number)
{
    if (!IMS_log::request_reopen()) end_on_signal(number);
}

bool install(int number, void (*handler)(int))
{
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int blocked : {SIGTERM, SIGINT, SIGHUP})
        ::sigaddset(&action.sa_mask, blocked);
    return ::sigaction(number, &action, nullptr) == 0;
}

} // namespace

int IMS_daemon::install_signal_handlers()
{
    const bool installed = install(SIGPIPE, SIG_IGN) && install(SIGTERM, end_on_signal) &&
                           install(SIGINT, end_on_signal) && install(SIGHUP, reopen_log_on_signal);
    return installed ? 0 : -1;
}

int IMS_daemon::daemonize()
{
    const int null = open_null();
    if (null < 0) {
        log_failure("daemonize", "/dev/null", errno);
        return -1;
    }
    int report[2] = {-1, -1};
    const bool paired = ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, report) == 0;
    const pid_t child = paired ? fork_successor() : -1;
    if (child < 0) {
        const int error = errno;
        for (const int fd : {null, report[0], report[1]})
            if (fd >= 0) ::close(fd);
        log_failure("daemonize", "cannot go to the background", error);
        errno = error;
        return -1;
    }
    ::close(report[child > 0 ? 1 : 0]);
    if (child > 0) end_parent(report[0]);
    return become_background(null, report[1]);
}

int IMS_daemon::write_pidfile()
{
    const char* path = daemon_options.pidfile;
    if (!path[0]) return 0;
    int error = ENOMEM;
    try {
        error = replace_file(path, std::to_string(::getpid()) + "\n");
    } catch (const std::bad_alloc&) { // reported below
    }
    if (error == 0 && baseuafw::remember_created_file(path)) return 0;
    log_failure("write_pidfile", path, error != 0 ? error : errno);
    return -1;
}

int IMS_daemon::enter_service()
{
    const int null = open_null();
    if (null >= 0) ::close(null);
    if (install_signal_handlers() != 0) {
        log_failure("enter_service", "cannot install signal handlers", errno);
        return -1;
    }
    return daemon_options.background ? daemonize() : write_pidfile();
}

void IMS_daemon::clean_up()
{
    const int saved = errno;
    baseuafw::remove_created_files();
    errno = saved;
}
