#include "daemons/imsfwkd/listener.h"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace imsfwkd {

namespace {

constexpr int BACKLOG = 128;

// Of every connection and in each direction, inherited from the listener: what a peer that does not read
// (or sends without end) costs the kernel. Left alone it would grow to megabytes each.
constexpr int KERNEL_BUFFER = 65536;

bool bind_and_listen(int fd, int port)
{
    const int on = 1; // a restart must not wait for the old connections' TIME_WAIT
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &KERNEL_BUFFER, sizeof KERNEL_BUFFER);
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &KERNEL_BUFFER, sizeof KERNEL_BUFFER);
    return ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
           ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
           ::listen(fd, BACKLOG) == 0;
}

int port_of(int fd)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
    return ntohs(address.sin_port);
}

} // namespace

Listener::~Listener()
{
    if (fd_ >= 0) ::close(fd_);
}

bool Listener::open(int port, std::string& why)
{
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd_ >= 0 && bind_and_listen(fd_, port)) {
        port_ = port_of(fd_);
        return true;
    }
    char words[128] = "";
    why = "port " + std::to_string(port) + ": " + ::strerror_r(errno, words, sizeof words);
    return false;
}

Listener::Accepted Listener::accept(int& fd) const
{
    for (;;) {
        fd = ::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd >= 0) break;
        if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
            return Accepted::no_resources;
        if (errno != EINTR && errno != ECONNABORTED) return Accepted::none;
    }
    const int on = 1; // answers and announcements are whole messages
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return Accepted::one;
}

} // namespace imsfwkd
