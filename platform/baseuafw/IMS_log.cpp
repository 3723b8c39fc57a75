#include "baseuafw/IMS_log.h"

#include "baseuafw/IMS_daemon.h"
#include "baseuafw/kept_text.h"
#include "baseuafw/log_line.h"
#include "baseuafw/options.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <pthread.h>
#include <syslog.h>
#include <type_traits>
#include <unistd.h>

namespace {

constexpr std::size_t record_size = 4096; // also PIPE_BUF: a line goes into a pipe in one piece

enum class Target { standard_error, file, syslog };

struct State {
    std::atomic<Target> target{Target::standard_error}; // written under the lock
    std::atomic<bool> reopen{false};
    std::atomic<const char*> siptrace{""};
    std::mutex lock; // guards what follows, and the order of the records
    IMS_log::SINK sink = nullptr;
    void* ctx = nullptr;
    int fd = -1;
    const char* path = "";
};
static_assert(std::is_trivially_destructible<State>::value, "the log outlives every static object");

State state; // constant-initialised

// A child of fork() has only the forking thread; the lock must not be left with one that is not there.
__attribute__((constructor(101))) void survive_fork()
{
    ::pthread_atfork([] { state.lock.lock(); }, [] { state.lock.unlock(); }, [] { state.lock.unlock(); });
}

const char* shown(const char* text)
{
    return text ? text : "(null)";
}

// The non-blocking open never waits for the reader of a pipe; on a file it has no effect.
int open_log_file(const char* path)
{
    return ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0640);
}

void write_line(int fd, const char* line, std::size_t length)
{
    while (length > 0) {
        const ssize_t n = ::write(fd, line, length);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return; // dropped: there is nobody to tell
        line += n;
        length -= static_cast<std::size_t>(n);
    }
}

// Caller holds the lock. A file that cannot be opened again is written to as it is.
void reopen_if_asked()
{
    if (!state.reopen.exchange(false)) return;
    const int fd = open_log_file(state.path);
    if (fd < 0) return;
    ::close(state.fd);
    state.fd = fd;
}

// Caller holds the lock.
void write_record(int level, const char* function, const char* text)
{
    if (state.target == Target::syslog) {
        const int priority = level < LOG_EMERG ? LOG_EMERG : level > LOG_DEBUG ? LOG_DEBUG : level;
        ::syslog(priority, "%s: %s", function, text);
        return;
    }
    if (state.target == Target::file) reopen_if_asked();
    char line[record_size];
    const char* program = __atomic_load_n(&IMS_daemon::__d_progname, __ATOMIC_ACQUIRE);
    const std::size_t length =
        baseuafw::format_log_line(line, sizeof line, {shown(program), level, function, text});
    write_line(state.target == Target::file ? state.fd : STDERR_FILENO, line, length);
}

void deliver(int level, const char* function, const char* text)
{
    std::lock_guard<std::mutex> guard(state.lock);
    if (state.sink)
        state.sink(state.ctx, level, function, text);
    else
        write_record(level, function, text);
}

// Caller holds the lock. Closes a log file that is no longer written to.
void aim_at(Target target, int fd, const char* path)
{
    const int before = state.fd;
    state.target = target;
    state.fd = fd;
    state.path = path;
    state.reopen = false;
    if (before >= 0) ::close(before);
}

// Caller holds the lock.
void aim_at_syslog()
{
    const char* program = __atomic_load_n(&IMS_daemon::__d_progname, __ATOMIC_ACQUIRE);
    ::openlog(program && program[0] ? program : nullptr, LOG_PID | LOG_NDELAY, LOG_DAEMON);
    aim_at(Target::syslog, -1, "");
}

void take_level(const char* value)
{
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(value, &end, 10);
    if (value[0] < '0' || value[0] > '9' || *end != '\0' || errno != 0 || number > INT_MAX) {
        IMS_log::loginfo(4, "set_options", "-loglevel: not a level: %s", value);
        return;
    }
    IMS_log::set_level(static_cast<int>(number));
}

void take_file(const char* value)
{
    const char* path = baseuafw::kept_text(value);
    const int fd = path ? open_log_file(path) : -1;
    if (fd < 0) {
        char reason[128];
        const char* why = ::strerror_r(path ? errno : ENOMEM, reason, sizeof reason);
        IMS_log::loginfo(4, "set_options", "-logfile: cannot open %s: %s", value, why);
        return;
    }
    std::lock_guard<std::mutex> guard(state.lock);
    aim_at(Target::file, fd, path);
}

void take_syslog(const char*)
{
    std::lock_guard<std::mutex> guard(state.lock);
    aim_at_syslog();
}

void take_siptrace(const char* value)
{
    const char* path = baseuafw::kept_text(value);
    if (path)
        state.siptrace.store(path, std::memory_order_release);
    else
        IMS_log::loginfo(3, "set_options", "-siptrace: out of memory");
}

__attribute__((noinline, format(printf, 3, 0))) void write_record(int level, const char* function_name,
                                                                  const char* format, va_list arguments)
{
    const int saved = errno;
    char text[record_size];
    if (!format)
        std::strcpy(text, "(null)");
    else if (std::vsnprintf(text, sizeof text, format, arguments) < 0)
        std::strcpy(text, "(bad format)");
    deliver(level, shown(function_name), text);
    errno = saved;
}

} // namespace

std::atomic<int> IMS_log::highest_level_{5};

void IMS_log::loginfo(int level, const char* function_name, const char* format, ...)
{
    // Most lines end here in a deployed daemon. What a written one needs stands apart, so that a refused one
    // does not pay for its stack frame.
    if (!is_written(level)) return;
    va_list arguments;
    va_start(arguments, format);
    write_record(level, function_name, format, arguments);
    va_end(arguments);
}

void IMS_log::print_usage()
{
    static constexpr const char* lines[] = {
        "Log Options:",
        "    -loglevel:  highest level written: 3 fatal, 4 also failures, 5 everything",
        "    -logfile:   file to append the log to; SIGHUP opens it anew",
        "    -logsyslog  log to syslog",
        "    -siptrace:  file to record SIP messages in",
    };
    for (const char* line : lines)
        loginfo(3, "print_usage", "%s", line);
}

void IMS_log::set_options(int argc, char** argv)
{
    static constexpr baseuafw::Option rows[] = {
        {"-loglevel", true, take_level},
        {"-logfile", true, take_file},
        {"-logsyslog", false, take_syslog},
        {"-siptrace", true, take_siptrace},
    };
    baseuafw::take_options(argc, argv, rows, sizeof rows / sizeof rows[0]);
}

void IMS_log::set_sink(SINK sink, void* ctx)
{
    std::lock_guard<std::mutex> guard(state.lock);
    state.sink = sink;
    state.ctx = ctx;
}

void IMS_log::set_level(int highest_level_written)
{
    highest_level_.store(highest_level_written, std::memory_order_relaxed);
}

int IMS_log::level()
{
    return highest_level_.load(std::memory_order_relaxed);
}

const char* IMS_log::siptrace_path()
{
    return state.siptrace.load(std::memory_order_acquire);
}

bool IMS_log::request_reopen()
{
    const Target target = state.target;
    if (target == Target::file) state.reopen = true;
    return target != Target::standard_error;
}

void IMS_log::leave_terminal()
{
    std::lock_guard<std::mutex> guard(state.lock);
    if (state.target == Target::standard_error) aim_at_syslog();
}
