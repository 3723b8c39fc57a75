// An agent's end of the telephony socket, as a test holds it: takes both connections in order and answers by
// hand.
#ifndef TESTS_TOOLS_IMSTAC_FAKE_AGENT_H_INCLUDED
#define TESTS_TOOLS_IMSTAC_FAKE_AGENT_H_INCLUDED

#include "tests/support/temp_dir.h"
#include "tools/imstac/wire.h"

#include <algorithm>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

class FakeAgent {
public:
    FakeAgent() { path_ = dir_.file("agent.sock"); }
    ~FakeAgent()
    {
        for (const int fd : {listener_, fds_[0], fds_[1]})
            if (fd >= 0) ::close(fd);
    }
    FakeAgent(const FakeAgent&) = delete;
    FakeAgent& operator=(const FakeAgent&) = delete;

    const std::string& path() const { return path_; }
    const TempDir& dir() const { return dir_; }

    bool listen()
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        return ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
               ::listen(listener_, 2) == 0;
    }
    // The first connection is the asynchronous one, the second the synchronous one.
    bool accept()
    {
        for (int& fd : fds_) {
            if (!is_readable(listener_)) return false;
            fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        }
        return fds_[1] >= 0;
    }
    bool send(imstac::Channel channel, const std::string& bytes) const
    {
        return ::send(fd(channel), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    // The next message; false when the other end is gone, or nothing comes.
    bool receive(imstac::Channel channel, imstac::Message& message)
    {
        imstac::Splitter& splitter = splitters_[imstac::index_of(channel)];
        while (!splitter.next(message)) {
            char buffer[4096];
            if (!is_readable(fd(channel))) return false;
            const ssize_t n = ::recv(fd(channel), buffer, sizeof buffer, 0);
            if (n <= 0) return false;
            splitter.feed(buffer, static_cast<std::size_t>(n));
        }
        return true;
    }
    std::string receive_raw(imstac::Channel channel, std::size_t size) const
    {
        std::string bytes;
        while (bytes.size() < size && is_readable(fd(channel))) {
            char buffer[4096];
            const ssize_t n = ::recv(fd(channel), buffer, std::min(sizeof buffer, size - bytes.size()), 0);
            if (n <= 0) break;
            bytes.append(buffer, static_cast<std::size_t>(n));
        }
        return bytes;
    }
    void close(imstac::Channel channel)
    {
        ::close(fd(channel));
        fds_[imstac::index_of(channel)] = -1;
    }
    int fd(imstac::Channel channel) const { return fds_[imstac::index_of(channel)]; }

private:
    static bool is_readable(int fd)
    {
        pollfd set{fd, POLLIN, 0};
        return ::poll(&set, 1, 20000) == 1;
    }

    TempDir dir_;
    std::string path_;
    int listener_ = -1;
    int fds_[2] = {-1, -1};
    imstac::Splitter splitters_[2];
};

#endif
