// What every daemon is before it is an agent: options, signals, background process, orderly end.
//
// Thread   start-up runs on the main thread before any other thread; clean_up and fatal_exit on any.
// Memory   class-wide members are constant-initialised and never destroyed.
#ifndef BASEUAFW_IMS_DAEMON_H_INCLUDED
#define BASEUAFW_IMS_DAEMON_H_INCLUDED

#include "baseuafw/baseuafw_api.h"

// The base of every daemon class. Its state is the process's, so one object a process makes sense.
class BASEUAFW_API IMS_daemon {
public:
    // Logs the lines of the daemon's own options at level 3 under "print_usage", and returns. The first
    // virtual operation, before the destructor.
    virtual void print_usage();

    // Takes nothing and starts nothing: the process-wide state is in the class-wide members.
    IMS_daemon();
    virtual ~IMS_daemon();
    IMS_daemon(const IMS_daemon&) = delete;
    IMS_daemon& operator=(const IMS_daemon&) = delete;

    // Takes the daemon's options out of a command line, then IMS_log's out of the same one; everything else
    // is ignored. Every argument is examined, an option's value too.
    //   -h, -help, --help   set __d_help
    //   -daemon             enter_service() goes to the background
    //   -pidfile PATH       write_pidfile() writes this file
    // Sets __d_progname. What is said is what the last command line said: without its option __d_help is
    // false again. A null `argv` or argc 0 is an empty command line and leaves __d_progname alone.
    void set_options(int argc, char** argv);

    // What a daemon calls once between its options and its first thread: keeps descriptors 0 to 2 from
    // being given out, installs the signal handlers, goes to the background if asked (daemonize), and writes
    // the pid file if asked. 0, or -1 after a level 4 line.
    static int enter_service();

    // SIGPIPE is ignored. SIGTERM and SIGINT: clean_up, then the process ends with status 128 + signal.
    // SIGHUP: the log file is opened anew, nothing happens to a log in syslog; while the log goes to standard
    // error, as SIGTERM, since the terminal may be gone. 0, or -1 with errno.
    static int install_signal_handlers();

    // Makes the process a background one: a child with a session of its own goes on, the caller's process
    // ends with 0 once the child is there and has its pid file (1 if it failed). The working directory stays;
    // descriptors 0 to 2 lead to /dev/null; a log to standard error goes to syslog from then on. Call it
    // before any thread: a child has only the calling one. 0 in the child; -1 with errno and a level 4 line,
    // and the caller's process goes on in the foreground, when there is no child; -1 in the child when the
    // pid file failed.
    static int daemonize();

    // Writes the process id and a line feed to the file of -pidfile, mode 0644, in one step (a reader never
    // sees a part); clean_up removes it. 0, also when the option was not given; -1 after a level 4 line.
    static int write_pidfile();

    // Removes the socket and pid files that this process made, each once and only while it is still the
    // same file; a forked child removes none of its parent's. Runs at exit() by itself. Idempotent,
    // async-signal-safe.
    static void clean_up();

    // The one way in which the libraries end a process: exit(status), made safe against itself. The first
    // caller exits; other threads that come here wait until the process is gone; a call from within that
    // exit (an exit handler) ends the process at once with its status. The caller holds no lock. Thread: any.
    [[noreturn]] static void fatal_exit(int status);

    // NOLINTBEGIN(bugprone-reserved-identifier): the names are fixed
    static const char* __d_progname; // last part of argv[0]'s path; "" before set_options; lives for ever
    static bool __d_help;            // help was asked for
    // NOLINTEND(bugprone-reserved-identifier)
};

#endif
