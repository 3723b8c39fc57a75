#include "bench/support/responder.h"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace bench {
namespace {

[[noreturn]] void fail(const char* what)
{
    std::perror(what);
    std::exit(2);
}

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

int bound(int type, int port)
{
    const int fd = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return ::close(fd), -1;
    const int bytes = 8 * 1024 * 1024;
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
    return fd;
}

int port_of(int fd)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

// One port number, free for both transports.
struct Pair {
    int udp = -1, tcp = -1;
    Pair()
    {
        for (int attempt = 0; attempt < 100 && tcp < 0; ++attempt) {
            if (udp >= 0) ::close(udp);
            udp = bound(SOCK_DGRAM, 0);
            tcp = bound(SOCK_STREAM, port_of(udp));
        }
        if (tcp < 0 || ::listen(tcp, 64) != 0) fail("responder: ports");
    }
};

// The value of the first header `name`, the whole line.
void copy_headers(std::string_view request, std::string& answer)
{
    for (std::size_t at = request.find("\r\n"); at != std::string_view::npos;) {
        const std::size_t begin = at + 2;
        at = request.find("\r\n", begin);
        if (at == std::string_view::npos || at == begin) return;
        const std::string_view line = request.substr(begin, at - begin);
        for (std::string_view name : {"Via:", "From:", "To:", "Call-ID:", "CSeq:"})
            if (line.substr(0, name.size()) == name) answer.append(line).append("\r\n");
    }
}

void answer_to(std::string_view request, std::string& answer)
{
    answer.assign("SIP/2.0 200 OK\r\n");
    copy_headers(request, answer);
    answer += "Content-Length: 0\r\n\r\n";
}

// Bytes of the first whole message in `text`, 0 while it is incomplete.
std::size_t message_size(std::string_view text)
{
    const std::size_t end = text.find("\r\n\r\n");
    if (end == std::string_view::npos) return 0;
    const std::size_t at = text.find("Content-Length:");
    const std::size_t body = at < end ? std::strtoul(text.data() + at + 15, nullptr, 10) : 0;
    return text.size() >= end + 4 + body ? end + 4 + body : 0;
}

struct Connection {
    int fd;
    bool echo;
    std::string pending;
};

void send_all(int fd, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL);
        if (n <= 0) return;
        data += n;
        size -= static_cast<std::size_t>(n);
    }
}

void serve_datagrams(int fd, bool echo, std::string& answer)
{
    char buffer[65536];
    sockaddr_in from{};
    for (int i = 0; i < 64; ++i) {
        socklen_t size = sizeof from;
        const ssize_t n =
            ::recvfrom(fd, buffer, sizeof buffer, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&from), &size);
        if (n < 0) return;
        const std::string_view request(buffer, static_cast<std::size_t>(n));
        if (!echo) answer_to(request, answer);
        const std::string_view reply = echo ? request : std::string_view(answer);
        ::sendto(fd, reply.data(), reply.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&from), size);
    }
}

// One frame in, one frame out, as a message protocol has it: the first four bytes are the frame's size.
bool echo_frame(int fd)
{
    char frame[65536];
    std::uint32_t size = 0;
    if (::recv(fd, &size, sizeof size, MSG_PEEK | MSG_WAITALL) != sizeof size || size > sizeof frame)
        return false;
    if (::recv(fd, frame, size, MSG_WAITALL) != static_cast<ssize_t>(size)) return false;
    send_all(fd, frame, size);
    return true;
}

// False when the peer is gone.
bool serve_stream(Connection& connection, std::string& answer)
{
    if (connection.echo) return echo_frame(connection.fd);
    char buffer[65536];
    const ssize_t n = ::recv(connection.fd, buffer, sizeof buffer, MSG_DONTWAIT);
    if (n < 0) return errno == EAGAIN;
    if (n == 0) return false;
    connection.pending.append(buffer, static_cast<std::size_t>(n));
    std::string replies;
    std::size_t done = 0;
    while (const std::size_t size = message_size(std::string_view(connection.pending).substr(done))) {
        answer_to(std::string_view(connection.pending).substr(done, size), answer);
        replies += answer;
        done += size;
    }
    connection.pending.erase(0, done);
    send_all(connection.fd, replies.data(), replies.size());
    return true;
}

void accept_on(int listener, bool echo, std::vector<Connection>& connections)
{
    const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) return;
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    connections.push_back({fd, echo, {}});
}

[[noreturn]] void serve(const Pair& sip, const Pair& echo)
{
    std::vector<Connection> connections;
    std::string answer;
    for (;;) {
        std::vector<pollfd> set = {
            {sip.udp, POLLIN, 0}, {sip.tcp, POLLIN, 0}, {echo.udp, POLLIN, 0}, {echo.tcp, POLLIN, 0}};
        for (const auto& connection : connections)
            set.push_back({connection.fd, POLLIN, 0});
        if (::poll(set.data(), set.size(), -1) < 0) continue;
        for (std::size_t i = set.size(); i-- > 4;) {
            if (set[i].revents == 0 || serve_stream(connections[i - 4], answer)) continue;
            ::close(connections[i - 4].fd);
            connections.erase(connections.begin() + static_cast<std::ptrdiff_t>(i - 4));
        }
        if (set[0].revents) serve_datagrams(sip.udp, false, answer);
        if (set[2].revents) serve_datagrams(echo.udp, true, answer);
        if (set[1].revents) accept_on(sip.tcp, false, connections);
        if (set[3].revents) accept_on(echo.tcp, true, connections);
    }
}

} // namespace

Responder::Responder()
{
    const Pair sip;
    const Pair echo;
    ports_[0] = port_of(sip.udp);
    ports_[1] = port_of(echo.udp);
    child_ = ::fork();
    if (child_ < 0) fail("responder: fork");
    if (child_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        serve(sip, echo);
    }
    for (const int fd : {sip.udp, sip.tcp, echo.udp, echo.tcp})
        ::close(fd);
}

Responder::~Responder()
{
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
}

} // namespace bench
