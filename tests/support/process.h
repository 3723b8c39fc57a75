// Whole processes for system tests: started, read line by line, awaited with a deadline, ended by id.
//
// Thread   one thread uses an object; a reader thread inside keeps the pipes empty, so that a talkative
//          program never blocks on its output.
// Ends     a process still running when its object goes out of scope is killed and reaped.
#ifndef TESTS_SUPPORT_PROCESS_H_INCLUDED
#define TESTS_SUPPORT_PROCESS_H_INCLUDED

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

// A private network namespace, with its own loopback (up), links, ports and addresses. Held by a
// sleeping child; it vanishes with this object and everything that was started in it. Also works for
// an ordinary user where the kernel allows user namespaces; otherwise valid() is false and the test
// must fail saying so: ASSERT_TRUE(net.valid()) << net.why().
class NetNamespace {
public:
    NetNamespace();
    ~NetNamespace();
    NetNamespace(const NetNamespace&) = delete;
    NetNamespace& operator=(const NetNamespace&) = delete;

    bool valid() const { return holder_ > 0; }
    const std::string& why() const { return why_; }
    // Runs "ip <arguments>" inside (arguments separated by blanks); true on exit status 0.
    bool ip(const std::string& arguments) const;
    // Moves the calling process (single-threaded: a fresh fork) inside. 0 or -1.
    int enter() const;
    // Moves only the calling thread; for tests that call netlink code of their own. Needs root.
    int enter_thread() const;

private:
    pid_t holder_ = -1;
    bool own_user_namespace_ = false;
    std::string why_;
};

struct ProcessStart {
    std::vector<std::string> argv;     // argv[0] is searched in PATH unless it holds a slash
    std::string dir;                   // working directory; "" keeps this one
    const NetNamespace* net = nullptr; // borrowed: must outlive the start only
    std::vector<std::string> env;      // further "NAME=value"
};

class Process {
public:
    using Milliseconds = std::chrono::milliseconds;
    static constexpr Milliseconds PATIENCE{20000}; // long enough for sanitizers on a busy machine

    struct End {
        int status = -1;        // exit status, or -1
        int signal = 0;         // the ending signal, or 0
        bool timed_out = false; // still running at the deadline
    };

    explicit Process(const ProcessStart& start);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return pid_; }
    bool running();

    // The next line of standard output not yet handed out that contains `text`; lines before it are
    // skipped for good. "" when none came in time or the output ended.
    std::string wait_for_line(const std::string& text, Milliseconds patience = PATIENCE);
    // True as soon as `text` stands anywhere in standard error (the default log).
    bool wait_for_log(const std::string& text, Milliseconds patience = PATIENCE);

    void signal(int number) const;
    // Waits for the end; the outputs are complete afterwards (unless timed out).
    End wait(Milliseconds patience = PATIENCE);

    std::string output() const; // standard output so far
    std::string log() const;    // standard error so far

private:
    void read_pipes(int out, int err);
    void append(bool is_out, const char* data, std::size_t size);

    pid_t pid_ = -1;
    bool reaped_ = false;
    End end_;
    std::thread reader_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string out_;
    std::string err_;
    std::size_t handed_out_ = 0; // position in out_ behind the last line handed out
    bool ended_ = false;         // both pipes closed
};

// Runs to the end and gives the whole standard output; status -1 when it took too long.
Process::End run_process(const ProcessStart& start, std::string* output = nullptr);

// A UDP and TCP port of 127.0.0.1 that was free a moment ago.
int free_port();

#endif
