// The kernel's routing socket: subscribed to links and addresses, never blocking.
//
// Thread   one at a time.
// Memory   one receive buffer of 32 KiB, which holds every part of a dump.
// Errors   -1 with errno; a socket that lost messages says so (Received::lost).
#ifndef IMSLINKEVD_NETLINK_SOCKET_H_INCLUDED
#define IMSLINKEVD_NETLINK_SOCKET_H_INCLUDED

#include <cstddef>
#include <vector>

struct mnl_socket;

class Netlink_socket {
public:
    enum class Received { data, nothing, lost };

    Netlink_socket();
    ~Netlink_socket();
    Netlink_socket(const Netlink_socket&) = delete;
    Netlink_socket& operator=(const Netlink_socket&) = delete;

    // Closes what was open, with all that waits in it, and opens a fresh socket whose kernel buffer takes
    // about `buffer_size` bytes; 0 keeps the system's. 0, or -1.
    int open(int buffer_size);
    void close();
    int fd() const; // -1 while closed

    // 0, or -1.
    int send(const void* data, std::size_t size);

    // The next datagram of the kernel. `lost`: the kernel dropped messages (ENOBUFS), one was cut, or the
    // socket failed; what is known must be read anew. Datagrams of other processes are skipped.
    Received receive();
    const void* data() const { return buffer_.data(); } // of the last receive(), aligned
    std::size_t size() const { return size_; }

private:
    mnl_socket* socket_ = nullptr;
    std::vector<char> buffer_;
    std::size_t size_ = 0;
};

#endif
