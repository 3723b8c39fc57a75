// Peers that speak raw bytes over loopback: what a well-behaved stack would never send.
#ifndef TESTS_PLATFORM_SIPLIB_RAW_PEER_H_INCLUDED
#define TESTS_PLATFORM_SIPLIB_RAW_PEER_H_INCLUDED

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

class RawSocket {
public:
    RawSocket() = default;
    explicit RawSocket(int fd) : fd_(fd) {}
    ~RawSocket() { close(); }
    RawSocket(RawSocket&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    RawSocket& operator=(RawSocket&& other) noexcept
    {
        close();
        fd_ = other.fd_;
        other.fd_ = -1;
        return *this;
    }

    static sockaddr_in loopback(int port)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<unsigned short>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    // Bound to a port of its own; `type` SOCK_DGRAM or SOCK_STREAM. A stream listens.
    static RawSocket bound(int type, int port = 0)
    {
        RawSocket made(socket(AF_INET, type | SOCK_CLOEXEC, 0));
        const sockaddr_in address = loopback(port);
        if (bind(made.fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) made.close();
        if (made.fd_ >= 0 && type == SOCK_STREAM) ::listen(made.fd_, 16);
        return made;
    }
    static RawSocket connected(int type, int port)
    {
        RawSocket made(socket(AF_INET, type | SOCK_CLOEXEC, 0));
        const sockaddr_in address = loopback(port);
        if (connect(made.fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) made.close();
        return made;
    }
    bool open() const { return fd_ >= 0; }
    int port() const
    {
        sockaddr_in address = {};
        socklen_t size = sizeof address;
        getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size);
        return ntohs(address.sin_port);
    }
    RawSocket accepted() const
    {
        return readable() ? RawSocket(accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC)) : RawSocket();
    }
    bool readable(int ms = 20000) const
    {
        pollfd one = {fd_, POLLIN, 0};
        return poll(&one, 1, ms) == 1;
    }
    void send(const std::string& bytes) const
    {
        [[maybe_unused]] const ssize_t sent = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
    void send_to(int port, const std::string& bytes) const
    {
        const sockaddr_in address = loopback(port);
        [[maybe_unused]] const ssize_t sent = sendto(
            fd_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    // One datagram, or what a stream has; empty when nothing comes in time or the peer has closed.
    std::string receive(int ms = 20000)
    {
        char buf[65536];
        if (!readable(ms)) return "";
        sockaddr_in from = {};
        socklen_t size = sizeof from;
        const ssize_t got = recvfrom(fd_, buf, sizeof buf, 0, reinterpret_cast<sockaddr*>(&from), &size);
        if (got >= 0 && size > 0) from_ = ntohs(from.sin_port);
        return got > 0 ? std::string(buf, static_cast<std::size_t>(got)) : "";
    }
    // Until `bytes` contains `wanted`.
    std::string receive_until(const std::string& wanted)
    {
        std::string all;
        while (all.find(wanted) == std::string::npos) {
            const std::string more = receive();
            if (more.empty()) break;
            all += more;
        }
        return all;
    }
    bool peer_has_closed() const
    {
        char byte = 0;
        return readable() && recv(fd_, &byte, 1, MSG_PEEK) == 0;
    }
    int last_from() const { return from_; }
    void close()
    {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

private:
    int fd_ = -1;
    int from_ = 0;
};

// Value of a header in a raw message; empty when it is not there.
inline std::string raw_header(const std::string& message, const std::string& name)
{
    const auto at = message.find("\r\n" + name + ": ");
    if (at == std::string::npos) return "";
    const auto from = at + name.size() + 4;
    return message.substr(from, message.find("\r\n", from) - from);
}

inline int raw_status(const std::string& message)
{
    return message.compare(0, 8, "SIP/2.0 ") == 0 ? std::atoi(message.c_str() + 8) : -1;
}

// A response to a raw request, as a peer would give it.
inline std::string raw_response(const std::string& request, int code, const std::string& extra = "")
{
    std::string to = raw_header(request, "To");
    if (to.find("tag=") == std::string::npos) to += ";tag=raw";
    return "SIP/2.0 " + std::to_string(code) + " Whatever\r\nVia: " + raw_header(request, "Via") +
           "\r\nFrom: " + raw_header(request, "From") + "\r\nTo: " + to +
           "\r\nCall-ID: " + raw_header(request, "Call-ID") + "\r\nCSeq: " + raw_header(request, "CSeq") +
           "\r\n" + extra + "Content-Length: 0\r\n\r\n";
}

// A valid request; `branch` names its transaction.
inline std::string raw_request(const std::string& name, int own_port, const std::string& branch,
                               const std::string& extra = "", const std::string& transport = "UDP",
                               const std::string& body = "")
{
    return name + " sip:peer@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/" + transport +
           " 127.0.0.1:" + std::to_string(own_port) + ";branch=z9hG4bK" + branch +
           "\r\nMax-Forwards: 70\r\n" + "From: <sip:raw@127.0.0.1>;tag=r" + branch +
           "\r\nTo: <sip:peer@127.0.0.1>\r\nCall-ID: call-" + branch + "\r\nCSeq: 1 " + name + "\r\n" +
           extra + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

#endif
