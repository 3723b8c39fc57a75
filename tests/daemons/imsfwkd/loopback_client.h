// A bare client for the daemon's tests: bytes on a loopback connection, read with a deadline.
#ifndef TESTS_DAEMONS_IMSFWKD_LOOPBACK_CLIENT_H_INCLUDED
#define TESTS_DAEMONS_IMSFWKD_LOOPBACK_CLIENT_H_INCLUDED

#include "baseuafw/fwk_frame.h"

#include <chrono>
#include <functional>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

class LoopbackClient {
public:
    using Step = std::function<void()>; // what to do while nothing has come; default: wait
    // `receive_buffer`: what the kernel keeps for a client that does not read, 0 for its own choice.
    explicit LoopbackClient(int port, int receive_buffer = 0)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (receive_buffer > 0)
            ::setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
        connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~LoopbackClient() { ::close(fd_); }
    LoopbackClient(const LoopbackClient&) = delete;
    LoopbackClient& operator=(const LoopbackClient&) = delete;

    bool is_connected() const { return connected_; }
    int descriptor() const { return fd_; }
    // What is done each time nothing is there to be read: turning a server in the same thread, say.
    void between(Step step) { step_ = std::move(step); }

    bool send(const std::string& bytes) const
    {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    void send_end() const { ::shutdown(fd_, SHUT_WR); }

    // The next answer's payload; "(end)" when the connection ended, "(late)" when nothing came.
    std::string answer()
    {
        std::string payload;
        for (;;) {
            if (decoder_.next(payload) == fwk::FrameDecoder::Result::frame) return payload;
            char chunk[4096];
            const long n = receive(chunk, sizeof chunk);
            if (n <= 0) return n == 0 ? "(end)" : "(late)";
            decoder_.feed(chunk, static_cast<std::size_t>(n));
        }
    }
    std::string ask(const std::string& request) { return send(fwk::frame(request)) ? answer() : "(end)"; }

    // Text up to and with `last`; what came until then when it does not come.
    std::string text_until(const std::string& last)
    {
        std::string text;
        while (text.size() < last.size() || text.compare(text.size() - last.size(), last.size(), last) != 0) {
            char c = 0;
            if (receive(&c, 1) <= 0) return text;
            text += c;
        }
        return text;
    }
    bool ends() // whatever comes before
    {
        char chunk[4096];
        long n = 0;
        while ((n = receive(chunk, sizeof chunk)) > 0) {
        }
        return n == 0;
    }

private:
    long receive(char* buffer, std::size_t size) const
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            pollfd p{fd_, POLLIN, 0};
            if (::poll(&p, 1, step_ ? 0 : 100) > 0) {
                const ssize_t n = ::recv(fd_, buffer, size, 0);
                return n < 0 ? 0 : n; // a reset is an end
            }
            if (step_) step_();
        }
        return -1;
    }

    int fd_ = -1;
    bool connected_ = false;
    fwk::FrameDecoder decoder_;
    Step step_;
};

#endif
