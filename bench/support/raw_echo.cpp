#include "bench/support/raw_echo.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

RawEcho::RawEcho(int port, bool tcp) : fd_(::socket(AF_INET, tcp ? SOCK_STREAM : SOCK_DGRAM, 0)), tcp_(tcp)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (::connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::perror("raw echo: connect");
        std::exit(2);
    }
    const int on = 1;
    if (tcp) ::setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

RawEcho::~RawEcho()
{
    ::close(fd_);
}

void RawEcho::send_one(std::size_t size)
{
    static const std::string bytes(65536, 'E');
    if (::send(fd_, bytes.data(), std::min(size, bytes.size()), MSG_NOSIGNAL) < 0) {
        std::perror("raw echo: send");
        std::exit(2);
    }
}

void RawEcho::exchange(int count, std::size_t size, int window)
{
    char buffer[65536];
    int sent = 0;
    for (; sent < std::min(count, window); ++sent)
        send_one(size);
    std::size_t bytes_back = 0;
    for (int back = 0; back < count;) {
        const ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
        if (n <= 0) {
            std::perror("raw echo: recv");
            std::exit(2);
        }
        bytes_back += static_cast<std::size_t>(n);
        const int units = tcp_ ? static_cast<int>(bytes_back / size) : back + 1;
        for (; back < units; ++back)
            if (sent < count) send_one(size), ++sent;
    }
}

} // namespace bench
