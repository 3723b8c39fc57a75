#include "siplib/sofia/send_batch.h"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sofia-sip/su.h>

namespace siplib::sofia {
namespace {

thread_local SendBatch* current = nullptr;

bool is_stream(int socket)
{
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM;
}

// Setting the option pushes what the kernel holds back, whatever it was before (tcp(7)). A socket that was
// closed meanwhile has sent everything by that.
void push(int socket)
{
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

std::size_t size_of(const msghdr& message)
{
    std::size_t size = 0;
    for (std::size_t i = 0; i < message.msg_iovlen; ++i)
        size += message.msg_iov[i].iov_len;
    return size;
}

} // namespace

SendBatch::SendBatch()
{
    current = this;
}

SendBatch::~SendBatch()
{
    flush();
    current = nullptr;
}

void SendBatch::flush()
{
    for (std::size_t i = 0; i < sockets_known_; ++i)
        if (sockets_[i].held > 0) push(sockets_[i].fd);
    send_datagrams();
    sockets_known_ = addresses_known_ = 0;
}

void SendBatch::flush_current()
{
    if (current) current->flush();
}

ssize_t SendBatch::send(int socket, const msghdr& message, int flags)
{
    if (!message.msg_name) return sendmsg(socket, &message, flags_for_stream(socket, flags));
    const bool known = knows(socket, message);
    const std::size_t size = size_of(message);
    if (known && size <= largest_datagram_held) return hold(socket, message, size);
    if (known) send_datagrams(); // a larger one does not overtake
    const ssize_t sent = sendmsg(socket, &message, flags);
    if (sent >= 0 && !known) note(socket, message);
    return sent;
}

// Null when there is no room.
SendBatch::Socket* SendBatch::find(int socket)
{
    for (std::size_t i = 0; i < sockets_known_; ++i)
        if (sockets_[i].fd == socket) return &sockets_[i];
    if (sockets_known_ == sockets_.size()) return nullptr;
    sockets_[sockets_known_] = {socket, Kind::unknown, 0};
    return &sockets_[sockets_known_++];
}

int SendBatch::flags_for_stream(int socket, int flags)
{
    const std::size_t before = sockets_known_;
    Socket* known = find(socket);
    if (!known || sockets_known_ > before) return flags; // the first one: often there is no second
    if (known->kind == Kind::unknown) known->kind = is_stream(socket) ? Kind::stream : Kind::other;
    if (known->kind == Kind::other) return flags;
    known->held = (known->held + 1) % most_held;
    return known->held > 0 ? flags | MSG_MORE : flags;
}

bool SendBatch::knows(int socket, const msghdr& message) const
{
    for (std::size_t i = 0; i < addresses_known_; ++i) {
        const Address& known = addresses_[i];
        if (known.fd == socket && known.size == message.msg_namelen &&
            std::memcmp(&known.to, message.msg_name, known.size) == 0)
            return true;
    }
    return false;
}

void SendBatch::note(int socket, const msghdr& message)
{
    if (addresses_known_ == addresses_.size() || message.msg_namelen > sizeof(sockaddr_storage)) return;
    Address& fresh = addresses_[addresses_known_++];
    fresh.fd = socket;
    fresh.size = message.msg_namelen;
    std::memcpy(&fresh.to, message.msg_name, fresh.size);
}

ssize_t SendBatch::hold(int socket, const msghdr& message, std::size_t size)
{
    if (datagram_socket_ != socket) send_datagrams();
    datagram_socket_ = socket;
    Datagram& copy = datagrams_[datagrams_held_];
    std::memcpy(&copy.to, message.msg_name, message.msg_namelen);
    char* at = copy.bytes.data();
    for (std::size_t i = 0; i < message.msg_iovlen; ++i) {
        std::memcpy(at, message.msg_iov[i].iov_base, message.msg_iov[i].iov_len);
        at += message.msg_iov[i].iov_len;
    }
    pieces_[datagrams_held_] = {copy.bytes.data(), size};
    mmsghdr& header = headers_[datagrams_held_];
    header = {};
    header.msg_hdr.msg_name = &copy.to;
    header.msg_hdr.msg_namelen = message.msg_namelen;
    header.msg_hdr.msg_iov = &pieces_[datagrams_held_];
    header.msg_hdr.msg_iovlen = 1;
    if (++datagrams_held_ == most_held) send_datagrams();
    return static_cast<ssize_t>(size);
}

void SendBatch::send_datagrams()
{
    for (unsigned done = 0; done < datagrams_held_;) {
        const int sent = sendmmsg(datagram_socket_, &headers_[done], datagrams_held_ - done, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        done += sent > 0 ? static_cast<unsigned>(sent) : 1; // the one refused is lost
    }
    datagrams_held_ = 0;
}

} // namespace siplib::sofia

// Takes the place of Sofia-SIP's own function (the dynamic linker finds this one first) and does the same,
// besides the batch. All that its transports send comes by here.
extern "C" __attribute__((visibility("default"))) issize_t su_vsend(su_socket_t socket,
                                                                    const su_iovec_t pieces[], isize_t count,
                                                                    int flags, const su_sockaddr_t* to,
                                                                    socklen_t to_size)
{
    msghdr message = {};
    message.msg_name = const_cast<su_sockaddr_t*>(to); // sendmsg only reads it
    message.msg_namelen = to_size;
    message.msg_iov = reinterpret_cast<iovec*>(const_cast<su_iovec_t*>(pieces));
    message.msg_iovlen = static_cast<std::size_t>(count);
    using siplib::sofia::current;
    return static_cast<issize_t>(current ? current->send(socket, message, flags)
                                         : sendmsg(socket, &message, flags));
}
