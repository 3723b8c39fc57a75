#include "siplib/sofia/stream_batch.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sofia-sip/su.h>
#include <sys/socket.h>

namespace siplib::sofia {
namespace {

thread_local StreamBatch* current = nullptr;

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

} // namespace

StreamBatch::StreamBatch() : outer_(current)
{
    current = this;
}

StreamBatch::~StreamBatch()
{
    for (std::size_t i = 0; i < count_; ++i)
        if (sockets_[i].held > 0) push(sockets_[i].fd);
    current = outer_;
}

// Null when there is no room.
StreamBatch::Socket* StreamBatch::find(int socket)
{
    for (std::size_t i = 0; i < count_; ++i)
        if (sockets_[i].fd == socket) return &sockets_[i];
    if (count_ == sockets_.size()) return nullptr;
    sockets_[count_] = {socket, Kind::unknown, 0};
    return &sockets_[count_++];
}

int StreamBatch::flags_for(int socket, int flags)
{
    const std::size_t before = count_;
    Socket* known = find(socket);
    if (!known || count_ > before) return flags; // the first one: often there is no second
    if (known->kind == Kind::unknown) known->kind = is_stream(socket) ? Kind::stream : Kind::other;
    if (known->kind == Kind::other) return flags;
    known->held = (known->held + 1) % most_held;
    return known->held > 0 ? flags | MSG_MORE : flags;
}

} // namespace siplib::sofia

// Takes the place of Sofia-SIP's own function (the dynamic linker finds this one first) and does the same,
// besides the flag. All that its transports send comes by here.
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
    // What has an address is a datagram.
    if (current && !to) flags = current->flags_for(socket, flags);
    return static_cast<issize_t>(sendmsg(socket, &message, flags));
}
