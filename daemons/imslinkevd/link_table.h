// The kernel's links as this daemon knows them: names, hardware addresses, IP addresses, states.
//
// Thread   any one at a time. No I/O, no clock.
// Memory   values; grows with the number of links and addresses, both bounded (see the limits).
// Errors   there are none: news about unknown links or beyond the limits is ignored.
#ifndef IMSLINKEVD_LINK_TABLE_H_INCLUDED
#define IMSLINKEVD_LINK_TABLE_H_INCLUDED

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

// One IP address of a link, as the kernel prints it.
struct Link_address {
    int family = 0;         // AF_INET or AF_INET6
    unsigned scope = 0;     // RT_SCOPE_UNIVERSE, RT_SCOPE_LINK, ...
    unsigned prefix = 0;    // length of the network part, bits
    bool tentative = false; // duplicate address detection still runs, or failed
    std::string text;       // "192.0.2.1", "2001:db8::1"
};
bool operator==(const Link_address& a, const Link_address& b);

struct Link {
    int index = 0; // the kernel's number, > 0, never reused while the system runs
    std::string name;
    std::string mac;                     // "02:00:00:00:00:01"; "" where the hardware has none
    unsigned hardware = 0;               // ARPHRD_ETHER, ARPHRD_LOOPBACK, ...
    bool admin_up = false;               // IFF_UP
    bool running = false;                // IFF_RUNNING: the driver says that it works
    bool loopback = false;               // IFF_LOOPBACK
    std::optional<bool> carrier;         // where the driver tells
    unsigned operstate = 0;              // IF_OPER_UNKNOWN (0) ... IF_OPER_UP (6), RFC 2863
    std::vector<Link_address> addresses; // in the order in which the kernel told them
};
bool operator==(const Link& a, const Link& b);

// What one message of the kernel says about a link; absent fields stay as they were.
struct Link_news {
    int index = 0;
    unsigned hardware = 0;
    bool admin_up = false;
    bool running = false;
    bool loopback = false;
    std::optional<std::string> name;
    std::optional<std::string> mac;
    std::optional<bool> carrier;
    std::optional<unsigned> operstate;
};

class Link_table {
public:
    static constexpr std::size_t MAX_LINKS = 4096;
    static constexpr std::size_t MAX_ADDRESSES = 64; // of one link

    // Each is true when the table changed.
    bool put_link(const Link_news& news);
    bool remove_link(int index);
    // An address that is there already is replaced (its state may differ). Addresses may come before
    // their link: they are then ignored, as the kernel's dump of links comes first.
    bool put_address(int index, const Link_address& address);
    bool remove_address(int index, const Link_address& address); // by family, prefix and text

    std::vector<Link> links() const; // ascending by index
    std::size_t size() const { return links_.size(); }

private:
    std::map<int, Link> links_;
};

#endif
