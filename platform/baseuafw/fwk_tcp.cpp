#include "baseuafw/fwk_tcp.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fwk {

namespace {

// Milliseconds for poll(): rounded up, so that a wait never ends just before its deadline; -1 for ever.
int poll_time(Clock::time_point deadline)
{
    if (deadline == Clock::time_point::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 60000));
}

// Waits until one of `events` (or an error, which the next call then reports) has come.
bool wait_until_ready(int fd, short events, Clock::time_point deadline)
{
    for (;;) {
        pollfd p{fd, events, 0};
        const int n = ::poll(&p, 1, poll_time(deadline));
        if (n > 0) return true;
        if (n < 0 && errno != EINTR) return false;
        if (Clock::now() >= deadline) return false;
    }
}

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// A loopback connection to a free port of the ephemeral range can meet itself (simultaneous open). It
// would answer nothing and keep the daemon from ever binding its port.
bool is_connected_to_itself(int fd)
{
    sockaddr_in own{};
    sockaddr_in peer{};
    socklen_t own_size = sizeof own;
    socklen_t peer_size = sizeof peer;
    return ::getsockname(fd, reinterpret_cast<sockaddr*>(&own), &own_size) == 0 &&
           ::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peer_size) == 0 &&
           own.sin_port == peer.sin_port;
}

bool connect_within(int fd, int port, Clock::time_point deadline)
{
    const sockaddr_in address = loopback(port);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        if (errno != EINPROGRESS && errno != EINTR) return false;
        if (!wait_until_ready(fd, POLLOUT, deadline)) return false;
        int error = 0;
        socklen_t size = sizeof error;
        if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0) return false;
    }
    return !is_connected_to_itself(fd);
}

} // namespace

int parse_port(const char* text)
{
    if (text == nullptr || *text == '\0' || std::strspn(text, "0123456789") != std::strlen(text)) return 0;
    if (std::strlen(text) > 5) return 0;
    const int port = std::atoi(text);
    return port <= 65535 ? port : 0;
}

int connect_loopback(int port, Clock::time_point deadline)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return -1;
    if (!connect_within(fd, port, deadline)) {
        ::close(fd);
        return -1;
    }
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
}

bool send_frame(int fd, const std::string& payload, Clock::time_point deadline)
{
    const std::string bytes = frame(payload);
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n >= 0)
            sent += static_cast<std::size_t>(n);
        else if (errno != EINTR && (errno != EAGAIN || !wait_until_ready(fd, POLLOUT, deadline)))
            return false;
    }
    return true;
}

bool receive_frame(int fd, FrameDecoder& decoder, std::string& payload, Clock::time_point deadline)
{
    for (;;) {
        const auto result = decoder.next(payload);
        if (result != FrameDecoder::Result::more) return result == FrameDecoder::Result::frame;
        char chunk[4096];
        const ssize_t n = ::recv(fd, chunk, sizeof chunk, MSG_DONTWAIT);
        if (n > 0)
            decoder.feed(chunk, static_cast<std::size_t>(n));
        else if (n == 0 || (errno != EINTR && (errno != EAGAIN || !wait_until_ready(fd, POLLIN, deadline))))
            return false;
    }
}

bool exchange(int fd, FrameDecoder& decoder, const std::string& request, std::string& answer,
              Clock::time_point deadline)
{
    return decoder.buffered() == 0 && send_frame(fd, request, deadline) &&
           receive_frame(fd, decoder, answer, deadline);
}

SocketId identify(int fd)
{
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0) return {};
    return {fd, info.st_dev, info.st_ino};
}

bool is_still_open(const SocketId& id)
{
    if (id.fd < 0) return false;
    const SocketId now = identify(id.fd);
    return now.fd == id.fd && now.device == id.device && now.inode == id.inode;
}

} // namespace fwk
