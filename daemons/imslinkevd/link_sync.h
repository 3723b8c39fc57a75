// Follows the kernel's routing messages: a dump of the links, a dump of their addresses, then every change.
//
// A dump fills a second table that replaces the first when it is whole, so that readers never see half of
// one. Whatever makes the picture doubtful (lost messages, an interrupted or refused dump) asks for a new
// dump: the caller opens a fresh socket and starts over.
//
//   start()  -->  dumping links  -->  dumping addresses  -->  following
//                     ^   interrupted, refused, garbage  |        |
//                     +----------- start over <----------+--------+
//
// Thread   one at a time. No I/O: bytes come in, requests go out through the caller.
// Source   rtnetlink(7), netlink(7); RFC 3549.
#ifndef IMSLINKEVD_LINK_SYNC_H_INCLUDED
#define IMSLINKEVD_LINK_SYNC_H_INCLUDED

#include "daemons/imslinkevd/link_table.h"

#include <array>
#include <cstdint>

struct nlmsghdr;

class Link_sync {
public:
    enum class Wants { nothing, dump_addresses, start_over };

    // Begins anew on a fresh socket; the finished table stays until the next one is whole. The caller sends
    // request() at once.
    void start();
    // The request for the running dump, ready to send.
    struct Request {
        std::array<char, 64> bytes{}; // a nlmsghdr and a rtgenmsg
        std::size_t size = 0;
    };
    Request request() const;

    // Takes what one receive delivered: one or more whole messages. Anything but `nothing` tells the caller
    // what to do next; messages behind it in `data` have been taken too. `data` is aligned as from malloc.
    Wants take(const void* data, std::size_t size);

    bool is_following() const { return phase_ == Phase::following; }
    // True once after the links changed: since then links() differs from what it was.
    bool take_changed();
    std::vector<Link> links() const { return finished_.links(); }

private:
    enum class Phase { idle, links, addresses, following };

    Wants take_message(const nlmsghdr* message);
    Wants take_end(const nlmsghdr* message);
    void apply(const nlmsghdr* message);
    void put(bool changed);
    Link_table& table() { return phase_ == Phase::following ? finished_ : filling_; }

    Phase phase_ = Phase::idle;
    std::uint32_t sequence_ = 0; // of the running dump
    Link_table finished_;
    Link_table filling_;
    bool changed_ = false;
};

#endif
