// A thread that is known to sleep in the kernel before the test goes on.
#ifndef TESTS_PLATFORM_BASEUAFW_BLOCKED_THREAD_H_INCLUDED
#define TESTS_PLATFORM_BASEUAFW_BLOCKED_THREAD_H_INCLUDED

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

class BlockedThread {
public:
    // Runs `body`, which must block, and returns when it does (or after five seconds).
    explicit BlockedThread(const std::function<void()>& body)
        : thread_([this, body] {
              tid_ = static_cast<int>(::syscall(SYS_gettid));
              body();
              ended_ = true;
          })
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!asleep() && !ended_ && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
    }
    ~BlockedThread()
    {
        if (thread_.joinable()) thread_.join();
    }
    BlockedThread(const BlockedThread&) = delete;
    BlockedThread& operator=(const BlockedThread&) = delete;

    bool ended() const { return ended_; }
    void join() { thread_.join(); }
    pthread_t handle() { return thread_.native_handle(); }

private:
    bool asleep() const
    {
        if (tid_ == 0) return false;
        std::ifstream stat("/proc/self/task/" + std::to_string(tid_) + "/stat");
        std::string text;
        std::getline(stat, text);
        const std::size_t name_end = text.rfind(')');
        return name_end != std::string::npos && text.compare(name_end, 3, ") S") == 0;
    }
    std::atomic<int> tid_{0};
    std::atomic<bool> ended_{false};
    std::thread thread_; // last: it uses the others
};

#endif
