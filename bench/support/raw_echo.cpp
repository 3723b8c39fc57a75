#include "bench/support/raw_echo.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
    static std::string bytes(65536, 'E');
    const auto header = static_cast<std::uint32_t>(size); // what delimits a frame on a stream
    std::memcpy(bytes.data(), &header, sizeof header);
    if (::send(fd_, bytes.data(), size, MSG_NOSIGNAL) < 0) {
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
    for (int back = 0; back < count; ++back) {
        if (::recv(fd_, buffer, size, tcp_ ? MSG_WAITALL : 0) != static_cast<ssize_t>(size)) {
            std::perror("raw echo: recv");
            std::exit(2);
        }
        if (sent < count) send_one(size), ++sent;
    }
}

} // namespace bench
