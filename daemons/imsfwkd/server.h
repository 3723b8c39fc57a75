// The daemon's one loop: both ports, their connections, the store and its watcher.
//
// Thread   one; nothing blocks but poll() and the disk.
// Memory   bounded by the limits below.
// Errors   of a connection end that connection. Nothing but the caller ends the server.
#ifndef IMSFWKD_SERVER_H_INCLUDED
#define IMSFWKD_SERVER_H_INCLUDED

#include "daemons/imsfwkd/listener.h"
#include "daemons/imsfwkd/peer.h"
#include "daemons/imsfwkd/store.h"
#include "daemons/imsfwkd/watcher.h"

#include <chrono>
#include <memory>
#include <poll.h>
#include <string>
#include <vector>

namespace imsfwkd {

struct Limits {
    std::size_t connections = 128;             // on each port; one more is hung up on at once
    std::chrono::milliseconds patience{10000}; // with a peer that is waited for
};

class Server {
public:
    // `store` and `watcher` are borrowed and opened by the caller; the watcher may be closed.
    Server(Store& store, Watcher& watcher, Limits limits = {})
        : store_(store), watcher_(watcher), limits_(limits)
    {
    }

    // Opens both ports; 0 takes a free one. False: `why`.
    bool listen(int sync_port, int async_port, std::string& why);
    int sync_port() const { return sync_listener_.port(); }
    int async_port() const { return async_listener_.port(); }

    // One round: waits until something is to be done, `longest` at most, and does it. `stop` is one more
    // descriptor to wait for (or -1); true when it is readable.
    bool turn(int stop, std::chrono::milliseconds longest);

private:
    std::vector<pollfd> what_to_wait_for(int stop) const;
    int how_long(std::chrono::milliseconds longest) const;
    void look_at_files();
    void serve(const std::vector<pollfd>& ready);
    void accept_all();
    template <typename Peers, typename Make>
    void accept(const Listener& listener, Peers& peers, Make make);
    void announce();
    void end_finished();

    Store& store_;
    Watcher& watcher_;
    const Limits limits_;
    Listener sync_listener_;
    Listener async_listener_;
    std::vector<std::unique_ptr<SyncPeer>> sync_peers_;
    std::vector<std::unique_ptr<AsyncPeer>> async_peers_;
    Clock::time_point now_{};
    Clock::time_point accept_from_{}; // out of descriptors until then
};

} // namespace imsfwkd

#endif
