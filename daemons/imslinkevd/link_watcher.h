// Watches the kernel's links on a socket of its own and keeps their present state.
//
// Lost messages, interrupted dumps and a failing socket all lead to a fresh socket and a new dump; until
// that is whole, the last whole picture stays. A failing dump is tried again after RETRY, and so is one that
// takes longer than DUMP_PATIENCE.
//
// Thread   open, on_readable and on_time: the event thread only. links(): any.
#ifndef IMSLINKEVD_LINK_WATCHER_H_INCLUDED
#define IMSLINKEVD_LINK_WATCHER_H_INCLUDED

#include "daemons/common/event_thread.h"
#include "daemons/imslinkevd/link_sync.h"
#include "daemons/imslinkevd/netlink_socket.h"

#include <chrono>
#include <cstdint>
#include <mutex>

class Link_watcher : public Watched {
public:
    static constexpr std::chrono::milliseconds RETRY{200};
    static constexpr std::chrono::seconds DUMP_PATIENCE{5};
    static constexpr int BUFFER_SIZE = 1 << 20; // bytes of messages that the kernel may keep for us

    explicit Link_watcher(int buffer_size = BUFFER_SIZE) : buffer_size_(buffer_size) {}

    // Opens the socket and asks for the first dump; a failure is logged and tried again by on_time().
    void open(Time now) override;
    int fd() const override { return socket_.fd(); } // changes when the watcher starts over

    // Each is true when links() has changed.
    bool on_readable(Time now) override;
    bool on_time(Time now) override;
    // When on_time() is due; Time::max() for never.
    Time due() const override { return due_; }

    std::vector<Link> links() const;
    // How often the picture had to be read anew.
    std::uint64_t resyncs() const;

private:
    void start_over(Time now, const char* why);
    void ask(Time now);
    bool show();

    const int buffer_size_;
    Netlink_socket socket_;
    Link_sync sync_;
    Time due_ = Time::max();
    mutable std::mutex mutex_; // guards what follows
    std::vector<Link> links_;
    std::uint64_t resyncs_ = 0;
};

#endif
