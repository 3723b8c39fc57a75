// A framework daemon for the client's tests: real sockets, answers as the test says.
//
// A thread of its own serves one agent at a time on each port. `answer` runs on that thread; returning
// HANG sends nothing, HANG_UP closes both connections, anything else is sent as a frame.
#ifndef TESTS_PLATFORM_BASEUAFW_STAND_IN_DAEMON_H_INCLUDED
#define TESTS_PLATFORM_BASEUAFW_STAND_IN_DAEMON_H_INCLUDED

#include "baseuafw/fwk_frame.h"

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

class StandInDaemon {
public:
    using Answer = std::function<std::string(const std::string& request)>;
    static constexpr const char* HANG = "\x01hang";
    static constexpr const char* HANG_UP = "\x01hang up";
    static constexpr const char* RAW = "\x01raw"; // the rest is sent as it stands, without a frame

    explicit StandInDaemon(Answer answer, int sync_port = 0, int async_port = 0) : answer_(std::move(answer))
    {
        wake_ = ::eventfd(0, EFD_CLOEXEC);
        sync_listener_ = listen(sync_port, sync_port_);
        async_listener_ = listen(async_port, async_port_);
        thread_ = std::thread([this] { serve(); });
    }
    ~StandInDaemon()
    {
        stop_ = true;
        poke();
        thread_.join();
        for (const int fd : {sync_, async_, sync_listener_, async_listener_, wake_})
            if (fd >= 0) ::close(fd);
    }
    StandInDaemon(const StandInDaemon&) = delete;
    StandInDaemon& operator=(const StandInDaemon&) = delete;

    bool is_listening() const { return sync_listener_ >= 0 && async_listener_ >= 0; }
    int sync_port() const { return sync_port_; }
    int async_port() const { return async_port_; }
    std::string sync_text() const { return std::to_string(sync_port_); }
    std::string async_text() const { return std::to_string(async_port_); }

    // Waits until the `count`th agent since the start has connected both ports.
    bool wait_for_agents(int count)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return agents_ >= count; });
    }
    // Sends text to the connected agent on the asynchronous port.
    void announce(const std::string& text)
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        (void)::send(async_, text.data(), text.size(), MSG_NOSIGNAL);
    }

private:
    static int listen(int wanted, int& port)
    {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int on = 1;
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(wanted));
        socklen_t size = sizeof address;
        if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 16) != 0) {
            ::close(fd);
            return -1;
        }
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
        return fd;
    }
    void poke() { ::eventfd_write(wake_, 1); }

    void serve()
    {
        while (!stop_) {
            pollfd set[] = {{wake_, POLLIN, 0},
                            {sync_listener_, POLLIN, 0},
                            {async_listener_, POLLIN, 0},
                            {sync_, POLLIN, 0},
                            {async_, POLLIN, 0}};
            ::poll(set, 5, -1);
            if (set[1].revents != 0) take(sync_listener_, sync_);
            if (set[2].revents != 0) take(async_listener_, async_);
            if (set[3].revents != 0 && set[1].revents == 0) converse();
            if (set[4].revents != 0 && set[2].revents == 0) end(async_);
        }
    }
    void take(int listener, int& fd)
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (fd >= 0) ::close(fd);
        fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (listener == sync_listener_)
            decoder_ = {};
        else
            ++agents_;
        changed_.notify_all();
    }
    void end(int& fd)
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (fd >= 0) ::close(fd);
        fd = -1;
    }
    void converse()
    {
        char chunk[4096];
        const ssize_t n = ::recv(sync_, chunk, sizeof chunk, 0);
        if (n <= 0) {
            end(sync_);
            return;
        }
        decoder_.feed(chunk, static_cast<std::size_t>(n));
        std::string request;
        while (sync_ >= 0 && decoder_.next(request) == fwk::FrameDecoder::Result::frame)
            reply(answer_(request));
    }
    void reply(const std::string& answer)
    {
        if (answer == HANG) return;
        if (answer == HANG_UP) {
            end(sync_);
            end(async_);
            return;
        }
        const std::string raw = RAW;
        const std::string bytes =
            answer.compare(0, raw.size(), raw) == 0 ? answer.substr(raw.size()) : fwk::frame(answer);
        (void)::send(sync_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    Answer answer_;
    int wake_ = -1;
    int sync_listener_ = -1;
    int async_listener_ = -1;
    int sync_port_ = 0;
    int async_port_ = 0;
    std::mutex mutex_; // guards what follows between the thread and the test
    std::condition_variable changed_;
    int sync_ = -1;
    int async_ = -1;
    int agents_ = 0;
    fwk::FrameDecoder decoder_; // the thread's own
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

// Waits until `happened()`; each round gives other threads the processor.
template <typename Happened>
bool eventually(Happened happened)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!happened()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

#endif
