#include "daemons/imslinkevd/netlink_socket.h"

#include <cerrno>
#include <fcntl.h>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

Netlink_socket::Netlink_socket() : buffer_(32768) {}

Netlink_socket::~Netlink_socket()
{
    close();
}

int Netlink_socket::open(int buffer_size)
{
    close();
    socket_ = mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket_ == nullptr) return -1;
    // SO_RCVBUFFORCE passes the system's limit, where the daemon may.
    if (buffer_size > 0 &&
        ::setsockopt(fd(), SOL_SOCKET, SO_RCVBUFFORCE, &buffer_size, sizeof buffer_size) != 0)
        ::setsockopt(fd(), SOL_SOCKET, SO_RCVBUF, &buffer_size, sizeof buffer_size);
    if (mnl_socket_bind(socket_, RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR, MNL_SOCKET_AUTOPID) ==
        0)
        return 0;
    const int error = errno;
    close();
    errno = error;
    return -1;
}

void Netlink_socket::close()
{
    if (socket_ != nullptr) mnl_socket_close(socket_);
    socket_ = nullptr;
}

int Netlink_socket::fd() const
{
    return socket_ != nullptr ? mnl_socket_get_fd(socket_) : -1;
}

int Netlink_socket::send(const void* data, std::size_t size)
{
    if (socket_ == nullptr) return -1;
    return mnl_socket_sendto(socket_, data, size) == static_cast<ssize_t>(size) ? 0 : -1;
}

Netlink_socket::Received Netlink_socket::receive()
{
    while (socket_ != nullptr) {
        sockaddr_nl sender{};
        iovec part{buffer_.data(), buffer_.size()};
        msghdr message{};
        message.msg_name = &sender;
        message.msg_namelen = sizeof sender;
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        const ssize_t n = ::recvmsg(fd(), &message, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return errno == EAGAIN ? Received::nothing : Received::lost;
        if (sender.nl_pid != 0) continue;
        size_ = static_cast<std::size_t>(n);
        return (message.msg_flags & MSG_TRUNC) != 0 ? Received::lost : Received::data;
    }
    return Received::lost;
}
