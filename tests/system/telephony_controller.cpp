#include "tests/system/telephony_controller.h"

#include "tests/support/process.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

bool is_readable(int fd)
{
    pollfd set{fd, POLLIN, 0};
    return ::poll(&set, 1, static_cast<int>(Process::PATIENCE.count())) == 1;
}

int connect_one(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const auto deadline = Clock::now() + Process::PATIENCE;
    while (Clock::now() < deadline) {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return fd;
        ::close(fd);
        std::this_thread::yield();
    }
    return -1;
}

} // namespace

TelephonyController::~TelephonyController()
{
    close();
}

bool TelephonyController::connect(const std::string& path)
{
    for (int& fd : fds_)
        if ((fd = connect_one(path)) < 0) return false;
    return true;
}

void TelephonyController::close()
{
    for (int& fd : fds_) {
        if (fd >= 0) ::close(fd);
        fd = -1;
    }
}

void TelephonyController::stop_reading(imstac::Channel channel) const
{
    ::shutdown(fds_[imstac::index_of(channel)], SHUT_RD);
}

bool TelephonyController::send(imstac::Channel channel, const std::string& bytes) const
{
    const int fd = fds_[imstac::index_of(channel)];
    return ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

bool TelephonyController::send(imstac::Channel channel, std::uint16_t id, const std::string& body,
                               std::uint32_t ref) const
{
    return send(channel, imstac::packed({0, ref, id, body}));
}

std::string TelephonyController::receive(imstac::Channel channel, std::uint16_t id)
{
    const int fd = fds_[imstac::index_of(channel)];
    imstac::Splitter& splitter = splitters_[imstac::index_of(channel)];
    imstac::Message message;
    for (;;) {
        while (splitter.next(message))
            if (message.id == id) return std::to_string(message.ref) + " " + message.body;
        char buffer[4096];
        const ssize_t n = is_readable(fd) ? ::recv(fd, buffer, sizeof buffer, 0) : -1;
        if (n <= 0) return "(none)";
        splitter.feed(buffer, static_cast<std::size_t>(n));
    }
}

std::string ask_sip(int port, const std::string& method, const std::string& body)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    sockaddr_in own{};
    socklen_t size = sizeof own;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&own), &size);
    static int count = 0; // a transaction of its own for each
    const std::string branch = "z9hG4bK-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
    const std::string request =
        method + " sip:telephony_agent@127.0.0.1:" + std::to_string(port) + " SIP/2.0\r\n" +
        "Via: SIP/2.0/UDP 127.0.0.1:" + std::to_string(ntohs(own.sin_port)) + ";branch=" + branch + "\r\n" +
        "Max-Forwards: 70\r\nFrom: <sip:network@127.0.0.1>;tag=1\r\nTo: <sip:telephony_agent@127.0.0.1>\r\n" +
        "Call-ID: " + branch + "\r\nCSeq: 1 " + method + "\r\nContent-Type: text/plain\r\n" +
        "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    char answer[4096];
    ssize_t n = -1;
    if (::send(fd, request.data(), request.size(), 0) > 0 && is_readable(fd))
        n = ::recv(fd, answer, sizeof answer, 0);
    ::close(fd);
    return n > 0 ? std::string(answer, static_cast<std::size_t>(n)) : "";
}
