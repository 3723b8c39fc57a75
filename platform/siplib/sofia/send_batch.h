// Messages that leave over one stream, or to one address, right after each other leave together.
//
// A sweep of NOTIFYs or a burst of answers would otherwise cost a segment or a system call, and a wake-up of
// the peer, for each message. The first one of a batch to a stream or an address leaves at once. Those that
// follow are held back, stream data in the kernel and datagrams here, until some have come together or the
// batch is flushed.
//
// Thread   the one that made it: our su_vsend stands in for Sofia-SIP's own and looks whether its thread has
// a
//          batch. Other threads, and other users of Sofia-SIP in the process, send as ever.
// Memory   the datagrams held are copies.
// Errors   what would hit every datagram to an address (no route, not permitted) the first one meets, which
// is not
//          held. A held one that the kernel refuses is lost, as datagrams may be: its request is sent again.
// Time     whoever made the batch flushes it before he waits.
#ifndef SIPLIB_SOFIA_SEND_BATCH_H_INCLUDED
#define SIPLIB_SOFIA_SEND_BATCH_H_INCLUDED

#include <array>
#include <cstddef>
#include <sys/socket.h>

namespace siplib::sofia {

class SendBatch {
public:
    static constexpr unsigned most_held = 16;                  // messages to one stream, and datagrams
    static constexpr std::size_t largest_datagram_held = 2048; // bytes; a larger one leaves at once

    SendBatch();
    ~SendBatch(); // flushes
    SendBatch(const SendBatch&) = delete;
    SendBatch& operator=(const SendBatch&) = delete;

    void flush();
    // That of the calling thread, if it has one. Before a socket is closed that datagrams may be held for.
    static void flush_current();

    // As sendmsg(2).
    ssize_t send(int socket, const msghdr& message, int flags);

private:
    enum class Kind : unsigned char { unknown, stream, other };
    struct Socket {
        int fd;
        Kind kind;
        unsigned held;
    };
    struct Address {
        int fd;
        socklen_t size;
        sockaddr_storage to;
    };
    struct Datagram {
        sockaddr_storage to;
        std::array<char, largest_datagram_held> bytes;
    };

    int flags_for_stream(int socket, int flags);
    Socket* find(int socket);
    bool knows(int socket, const msghdr& message) const;
    void note(int socket, const msghdr& message);
    ssize_t hold(int socket, const msghdr& message, std::size_t size);
    void send_datagrams();

    // Beyond these, messages leave one by one.
    std::array<Socket, 8> sockets_;
    std::array<Address, 8> addresses_;
    std::size_t sockets_known_ = 0, addresses_known_ = 0;

    std::array<Datagram, most_held> datagrams_;
    std::array<iovec, most_held> pieces_;
    std::array<mmsghdr, most_held> headers_;
    unsigned datagrams_held_ = 0;
    int datagram_socket_ = -1;
};

} // namespace siplib::sofia

#endif
