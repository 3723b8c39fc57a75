#include "daemons/imsfwkd/server.h"

#include "baseuafw/baseuafw.h"
#include "daemons/imsfwkd/announcement.h"

#include <algorithm>
#include <unistd.h>

namespace imsfwkd {

namespace {

constexpr std::chrono::milliseconds STALL_CHECK{500};
constexpr std::chrono::milliseconds ACCEPT_PAUSE{200};

// Positions of the descriptors that are always waited for; the peers follow.
enum : std::size_t { STOP, WATCHER, SYNC_LISTENER, ASYNC_LISTENER, FIRST_PEER };

template <typename Peers>
bool any_waited_for(const Peers& peers)
{
    return std::any_of(peers.begin(), peers.end(), [](const auto& peer) { return peer->is_waited_for(); });
}

template <typename Peers>
void end_finished_of(Peers& peers, Clock::time_point stalled_since)
{
    for (const auto& peer : peers)
        peer->end_if_stalled(stalled_since);
    const auto finished = [](const auto& peer) { return peer->is_finished(); };
    peers.erase(std::remove_if(peers.begin(), peers.end(), finished), peers.end());
}

} // namespace

bool Server::listen(int sync_port, int async_port, std::string& why)
{
    return sync_listener_.open(sync_port, why) && async_listener_.open(async_port, why);
}

bool Server::turn(int stop, std::chrono::milliseconds longest)
{
    now_ = Clock::now();
    std::vector<pollfd> set = what_to_wait_for(stop);
    if (::poll(set.data(), set.size(), how_long(longest)) < 0) return false; // a signal: the next turn
    now_ = Clock::now();
    if (!store_.is_loaded()) store_.load_next();
    if (set[WATCHER].revents != 0) look_at_files();
    serve(set);
    announce();
    end_finished();
    accept_all();
    return set[STOP].revents != 0;
}

std::vector<pollfd> Server::what_to_wait_for(int stop) const
{
    const bool accepts = now_ >= accept_from_;
    std::vector<pollfd> set{{stop, POLLIN, 0},
                            {watcher_.descriptor(), POLLIN, 0},
                            {accepts ? sync_listener_.descriptor() : -1, POLLIN, 0},
                            {accepts ? async_listener_.descriptor() : -1, POLLIN, 0}};
    for (const auto& peer : sync_peers_)
        set.push_back({peer->descriptor(), peer->events(), 0});
    for (const auto& peer : async_peers_)
        set.push_back({peer->descriptor(), peer->events(), 0});
    return set;
}

int Server::how_long(std::chrono::milliseconds longest) const
{
    const auto more = [](const auto& peer) { return peer->has_more(); };
    if (!store_.is_loaded() || std::any_of(sync_peers_.begin(), sync_peers_.end(), more)) return 0;
    if (now_ < accept_from_) longest = std::min(longest, ACCEPT_PAUSE);
    if (any_waited_for(sync_peers_) || any_waited_for(async_peers_)) longest = std::min(longest, STALL_CHECK);
    return static_cast<int>(longest.count());
}

void Server::look_at_files()
{
    const Watcher::Notice notice = watcher_.take();
    if (notice.all) store_.reload_all();
    for (const std::string& document : notice.documents)
        store_.reload(document);
}

// The peers stand in the set in the order of the lists, which only end_finished and accept change.
void Server::serve(const std::vector<pollfd>& ready)
{
    std::size_t at = FIRST_PEER;
    for (const auto& peer : sync_peers_) {
        const short events = ready[at++].revents;
        peer->serve(events, now_);
    }
    for (const auto& peer : async_peers_) {
        const short events = ready[at++].revents;
        if (events != 0) peer->serve(events, now_);
    }
}

void Server::announce()
{
    for (const Change& change : store_.take_changes())
        for (const std::string& text : announcements(change))
            for (const auto& peer : async_peers_)
                if (!peer->is_finished()) peer->announce(text, now_);
}

void Server::end_finished()
{
    end_finished_of(sync_peers_, now_ - limits_.patience);
    end_finished_of(async_peers_, now_ - limits_.patience);
}

void Server::accept_all()
{
    accept(sync_listener_, sync_peers_, [this](int fd) { return std::make_unique<SyncPeer>(fd, store_); });
    accept(async_listener_, async_peers_, [](int fd) { return std::make_unique<AsyncPeer>(fd); });
}

template <typename Peers, typename Make>
void Server::accept(const Listener& listener, Peers& peers, Make make)
{
    if (now_ < accept_from_) return;
    for (int fd = -1;;) {
        switch (listener.accept(fd)) {
        case Listener::Accepted::none: return;
        case Listener::Accepted::no_resources:
            IMS_log::loginfo(4, "server", "out of descriptors, new connections wait");
            accept_from_ = now_ + ACCEPT_PAUSE;
            return;
        case Listener::Accepted::one: break;
        }
        if (peers.size() < limits_.connections) {
            peers.push_back(make(fd));
        } else {
            IMS_log::loginfo(4, "server", "more than %d connections on port %d, one refused",
                             static_cast<int>(limits_.connections), listener.port());
            ::close(fd);
        }
    }
}

} // namespace imsfwkd
