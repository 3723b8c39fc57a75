// The one log of a process: every diagnostic of the libraries and their daemons goes through it.
//
// Levels   3 fatal conditions and failed allocations, 4 failures, warnings and dropped input, 5 traces and
//          successes; the numbers are those of syslog's LOG_ERR, LOG_WARNING and LOG_NOTICE.
// Thread   any; records are written one at a time, in the order in which they took the log's lock.
// Signals  loginfo takes a lock: not for signal handlers. request_reopen is.
// Memory   a record lives on the caller's stack; nothing of the log is ever destroyed, so that static
//          destructors and exit handlers may still log.
// Errors   a record that cannot be written is dropped: logging never fails, blocks on a full non-blocking
//          descriptor, or changes errno.
#ifndef BASEUAFW_IMS_LOG_H_INCLUDED
#define BASEUAFW_IMS_LOG_H_INCLUDED

#include "baseuafw/baseuafw_api.h"

#include <atomic>

// All operations are class-wide: there is one log.
class BASEUAFW_API IMS_log {
public:
    // Logs one record; `format` and what follows as in printf. A level above the highest one written costs
    // one comparison: nothing is formatted, no lock is taken. The text is cut at 4095 bytes. A null format
    // or function name is shown as "(null)".
    static void loginfo(int level, const char* function_name, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

    // Logs the lines of the log's own options at level 3 under "print_usage", and returns.
    static void print_usage();

    // Takes the log's options out of a command line; everything else is ignored, and so is an option
    // without the value it needs. Every argument is examined, an option's value too; the last one wins.
    //   -loglevel N      highest level written; anything but a decimal number is refused (level 4 line)
    //   -logfile PATH    append to this file, made with mode 0640; a file that cannot be opened leaves
    //                    the log where it was (level 4 line)
    //   -logsyslog       log to syslog (thus to the journal, where there is one)
    //   -siptrace PATH   see siptrace_path()
    // A null `argv` is an empty one. Thread: any, but meant for start-up.
    static void set_options(int argc, char** argv);

    // Receives the finished text: no prefix, no line feed added and none removed. It is called under the
    // log's lock on the thread that logs, and must neither log nor call an agent.
    typedef void (*SINK)(void* ctx, int level, const char* function_name, const char* text);

    // Hands every record to `sink` instead of writing it; null goes back to writing. On return the earlier
    // sink is not running and will not be called again.
    //
    // What is written, by one write each: "<progname>[<level>] <function>: <text>" and a line feed, 4096
    // bytes at most. A line feed that ends the text is not doubled; other control characters are shown as
    // \n, \r or \xNN, so that a record is one line whatever a peer sent.
    static void set_sink(SINK sink, void* ctx);

    // Records above this level are dropped. 5 at start: everything.
    static void set_level(int highest_level_written);

    // The level in force.
    static int level();

    // Whether a record of this level is written. For calls so frequent that even passing the arguments of a
    // record that nobody wants is felt.
    static bool is_written(int level) { return level <= highest_level_.load(std::memory_order_relaxed); }

    // The file into which the SIP library records its messages (option -siptrace); "" if none. The text
    // stays valid for ever.
    static const char* siptrace_path();

    // Makes the next record open the log file anew, for log rotation; with syslog there is nothing to do.
    // False when the log goes to standard error, thus perhaps to a terminal. Async-signal-safe.
    static bool request_reopen();

    // Moves the log from standard error to syslog; a log file or a chosen syslog stays as it is.
    // daemonize() calls it, since standard error then leads nowhere.
    static void leave_terminal();

private:
    static std::atomic<int> highest_level_;
};

#endif
