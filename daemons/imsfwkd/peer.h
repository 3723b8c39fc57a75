// The two kinds of connections of the daemon: each owns its socket, reads and writes without waiting, and
// says when it is finished.
//
// Thread   the server's.
// Memory   a synchronous peer: one request and one answer (64 KiB each); an asynchronous one: what its
//          agent has not read yet, up to MAX_BACKLOG bytes.
// Errors   end the peer; what ends it against its will is logged.
#ifndef IMSFWKD_PEER_H_INCLUDED
#define IMSFWKD_PEER_H_INCLUDED

#include "daemons/imsfwkd/conversation.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace imsfwkd {

using Clock = std::chrono::steady_clock;

constexpr std::size_t MAX_BACKLOG = 65536;

// A socket, what still has to be sent on it, and since when that has not moved.
class Peer {
public:
    explicit Peer(int fd) : fd_(fd) {} // owns `fd`
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    int descriptor() const { return fd_; }
    bool is_finished() const { return finished_; }
    // Something is expected of the other end: to read what waits for it, or to close.
    bool is_waited_for() const { return leaving_ || !unsent_.empty(); }
    // Ends a peer whose other end has done nothing of that since before `limit`.
    void end_if_stalled(Clock::time_point limit);

protected:
    void send(const std::string& text, Clock::time_point now);
    void flush(Clock::time_point now);
    bool has_unsent() const { return !unsent_.empty(); }
    std::size_t unsent() const { return unsent_.size(); }
    // Bytes read; 0 at the end of the stream or after an error; -1 when nothing is there.
    long receive(char* buffer, std::size_t size) const;
    void finish() { finished_ = true; }
    // No more will be sent; the other end sees that and closes.
    void leave(Clock::time_point now);
    bool is_leaving() const { return leaving_; }

private:
    int fd_;
    std::string unsent_;
    Clock::time_point moved_{};
    bool leaving_ = false;
    bool finished_ = false;
};

// Requests and answers, one at a time.
class SyncPeer : public Peer {
public:
    SyncPeer(int fd, Store& store) : Peer(fd), conversation_(store) {}

    // What to wait for on the descriptor (poll events).
    short events() const;
    // Another request may be waiting already: serve again without waiting.
    bool has_more() const { return may_have_request_ && !has_unsent(); }
    // Sends, reads and answers what can be at once: one request at most, so that peers take turns.
    void serve(short events, Clock::time_point now);

private:
    void converse(short events, Clock::time_point now);
    void read_some();
    void drain();

    Conversation conversation_;
    bool may_have_request_ = false;
    bool input_ended_ = false;
};

// Announcements. What the agent sends is read and ignored.
class AsyncPeer : public Peer {
public:
    using Peer::Peer;

    short events() const;
    void serve(short events, Clock::time_point now);
    // Ends the peer instead when it reads too slowly.
    void announce(const std::string& text, Clock::time_point now);
};

} // namespace imsfwkd

#endif
