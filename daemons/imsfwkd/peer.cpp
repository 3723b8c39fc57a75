#include "daemons/imsfwkd/peer.h"

#include "baseuafw/baseuafw.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace imsfwkd {

Peer::~Peer()
{
    ::close(fd_);
}

void Peer::end_if_stalled(Clock::time_point limit)
{
    if (!is_waited_for() || moved_ >= limit) return;
    IMS_log::loginfo(4, "server", "connection %d stands still, dropped", fd_);
    finish();
}

void Peer::send(const std::string& text, Clock::time_point now)
{
    if (unsent_.empty()) moved_ = now;
    unsent_ += text;
    flush(now);
}

void Peer::flush(Clock::time_point now)
{
    while (!unsent_.empty()) {
        const ssize_t n = ::send(fd_, unsent_.data(), unsent_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) {
            unsent_.erase(0, static_cast<std::size_t>(n));
            moved_ = now;
        } else if (errno != EINTR) {
            if (errno != EAGAIN) finish();
            return;
        }
    }
}

void Peer::leave(Clock::time_point now)
{
    leaving_ = true;
    moved_ = now;
    ::shutdown(fd_, SHUT_WR);
}

long Peer::receive(char* buffer, std::size_t size) const
{
    const ssize_t n = ::recv(fd_, buffer, size, MSG_DONTWAIT);
    if (n >= 0) return n;
    return errno == EAGAIN || errno == EINTR ? -1 : 0;
}

// ---- synchronous ---------------------------------------------------------------------------------------

short SyncPeer::events() const
{
    if (has_unsent()) return POLLOUT;
    const bool wants_input = conversation_.wants_input() || is_leaving();
    return wants_input && !may_have_request_ && !input_ended_ ? POLLIN : 0;
}

void SyncPeer::serve(short events, Clock::time_point now)
{
    if (has_unsent()) flush(now);
    if (has_unsent() || is_finished()) return;
    if (is_leaving())
        drain();
    else
        converse(events, now);
}

void SyncPeer::converse(short events, Clock::time_point now)
{
    if (events != 0 && conversation_.wants_input() && !may_have_request_ && !input_ended_) read_some();
    std::string frame;
    may_have_request_ = conversation_.next_answer(frame);
    if (may_have_request_)
        send(frame, now);
    else if (input_ended_ && conversation_.wants_input())
        finish(); // whatever came without its end is no request
    if (conversation_.is_over() && !has_unsent()) {
        may_have_request_ = false;
        if (input_ended_)
            finish();
        else
            leave(now);
    }
}

void SyncPeer::read_some()
{
    char chunk[4096];
    const long n = receive(chunk, sizeof chunk);
    if (n > 0) conversation_.feed(chunk, static_cast<std::size_t>(n));
    if (n == 0) input_ended_ = true;
}

// Closing with bytes unread would make the kernel reset the connection, and the other end lose the answer
// that says what was wrong.
void SyncPeer::drain()
{
    char ignored[16384];
    if (receive(ignored, sizeof ignored) == 0) finish();
}

// ---- asynchronous --------------------------------------------------------------------------------------

short AsyncPeer::events() const
{
    return has_unsent() ? POLLIN | POLLOUT : POLLIN;
}

void AsyncPeer::serve(short events, Clock::time_point now)
{
    flush(now);
    char ignored[4096];
    if ((events & ~POLLOUT) != 0 && receive(ignored, sizeof ignored) == 0) finish();
}

void AsyncPeer::announce(const std::string& text, Clock::time_point now)
{
    if (unsent() + text.size() > MAX_BACKLOG) {
        IMS_log::loginfo(4, "server", "connection %d reads its announcements too slowly, dropped",
                         descriptor());
        finish();
        return;
    }
    send(text, now);
}

} // namespace imsfwkd
