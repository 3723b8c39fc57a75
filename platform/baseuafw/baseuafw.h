// baseuafw.h -- public interface of libpelgo_baseuafw (C++17)
#ifndef BASEUAFW_H_INCLUDED
#define BASEUAFW_H_INCLUDED
#include <pthread.h>
#include <string>
#include <vector>

#define BASEUAFW_API __attribute__((visibility("default")))

class BASEUAFW_API IMS_log {
public:
    static void loginfo(int level, const char* function_name, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    static void print_usage();                      // its own option lines, level 3
    static void set_options(int argc, char** argv); // -loglevel N, -logfile PATH
    // The one test seam: called with the finished text (no prefix, no added line feed), under the log's
    // own lock, on the caller's thread; the sink must not call the agent or the log.  Null = default sink.
    typedef void (*SINK)(void* ctx, int level, const char* function_name, const char* text);
    static void set_sink(SINK sink, void* ctx);
    static void set_level(int highest_level_written); // default 5: everything
};

class BASEUAFW_API IMS_mutex { // critical section plus ONE condition
public:
    IMS_mutex();
    ~IMS_mutex(); // nobody may hold it or wait on it
    void lock();
    void unlock();
    void wait();   // caller holds the lock; may wake spuriously
    void signal(); // caller holds the lock
    IMS_mutex(const IMS_mutex&) = delete;
    IMS_mutex& operator=(const IMS_mutex&) = delete;

private:
    pthread_mutex_t m_;
    pthread_cond_t c_;
};

class BASEUAFW_API IMS_socket { // internally locked descriptor sets; poll(2) based
public:
    IMS_socket();
    ~IMS_socket();
    // domain "unix", type "stream": removes a stale file, binds IMS_socket::path_of(name), mode 0600,
    // CLOEXEC.  -1 on failure (name too long for sun_path included).  Does not listen.
    int _socket(const char* name, const char* domain, const char* type);
    int _listen(int fd, int backlog);
    int _accept(int listenfd); // CLOEXEC; retries EINTR and ECONNABORTED; -1 else
    int _connect(const char* name, const char* domain, const char* type); // for clients and tests
    void _set(int fd, const char* mode);                                  // "r", "w" or "rw": add to the sets
    void _unset(int fd, const char* mode);
    int _select(const char* mode,
                std::vector<int>& readable);      // blocks; <0 failed, else the number of readable fds,
                                                  // ascending; 0 and an empty list when _wake()d
    int _recvfrom(int fd, void* buf, int max);    // MSG_DONTWAIT; n, 0 = peer closed, -1 with errno kept
    int _send(int fd, const void* data, int len); // MSG_NOSIGNAL; all of it or -1
    int _close(int fd);                           // leaves the sets, then closes (or retires, if pinned)
    void _pin(int fd);                            // _close(fd) will keep the NUMBER taken
    void _wake();
    static std::string
    path_of(const char* name); // $IMS_SOCKET_DIR + "/" + name, or just name (the working directory)
    IMS_socket(const IMS_socket&) = delete;
    IMS_socket& operator=(const IMS_socket&) = delete;

private:
    struct Impl;
    Impl* impl_;
};

class BASEUAFW_API IMS_utility {
public:
    // N delimiters -> N+1 pieces, empty ones kept, nothing trimmed; empty text -> no piece; tokens cleared
    // first
    static void tokenize(const std::string& text, std::vector<std::string>& tokens,
                         const std::string& delimiters);
    static std::string itostring(int value);
    static void skipspaces(std::string& text); // " \t\r\n" at both ends, in place
};

struct SIP_IMS_CFG_TAG_VALUE_T {
    std::string tag;
    std::string value;
};

class BASEUAFW_API SIP_IMS_cfg_intf { // abstract: a mock derives from it
public:
    virtual ~SIP_IMS_cfg_intf() = default;
    virtual int get_one(const std::string& xpath, std::string& value,
                        const std::string& document) = 0; // !=0 found
    virtual int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs, const std::string& document) = 0;
    virtual int set_one(const std::string& xpath, const std::string& value, const std::string& document) = 0;
    virtual int wait_for_sync() = 0; // blocks
};
class BASEUAFW_API SIP_IMS_cfg_intf_IMS_socket { // the framework socket connector
public:
    virtual ~SIP_IMS_cfg_intf_IMS_socket() = default;
    virtual int get_descriptor() const = 0; // asynchronous socket, or -1; any thread
};

class BASEUAFW_API IMS_fwk_util {
public: // 1 success, 0 failure (pointers then null)
    static int open_framework_sockets(SIP_IMS_cfg_intf_IMS_socket** connector, SIP_IMS_cfg_intf** intf,
                                      const char* sync_port, const char* async_port, IMS_socket* sock);
    static int close_framework_sockets(SIP_IMS_cfg_intf_IMS_socket** connector, SIP_IMS_cfg_intf** intf);
};

class BASEUAFW_API IMS_daemon {
public:
    virtual void print_usage(); // FIRST virtual operation
    IMS_daemon();
    virtual ~IMS_daemon();
    void set_options(int argc, char** argv); // -h, -help, --help; sets __d_progname
    static int install_signal_handlers();    // SIGPIPE ignored; SIGTERM/SIGINT: clean_up, _exit
    static int daemonize();                  // before any thread; keeps cwd; 0-2 onto /dev/null
    static void clean_up();                  // idempotent, async-signal-safe: unlinks registered files
    [[noreturn]] static void fatal_exit(int status); // serialised exit(status)
    static const char* __d_progname;                 // basename of argv[0]; "" before set_options
    static bool __d_help;
    IMS_daemon(const IMS_daemon&) = delete;
    IMS_daemon& operator=(const IMS_daemon&) = delete;
};
#endif
