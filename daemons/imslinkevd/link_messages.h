// Reads the kernel's messages about links and addresses into plain values.
//
// Thread   any. Nothing is kept.
// Errors   std::nullopt for a message that is too short, of no interest, or about something else; hostile
//          attribute lengths are refused by libmnl's own checks.
#ifndef IMSLINKEVD_LINK_MESSAGES_H_INCLUDED
#define IMSLINKEVD_LINK_MESSAGES_H_INCLUDED

#include "daemons/imslinkevd/link_table.h"

struct nlmsghdr;

// RTM_NEWLINK or RTM_DELLINK. Bridges tell of their ports with the same message types but their own family:
// those are not about the link itself and give nullopt.
std::optional<Link_news> read_link(const nlmsghdr* message);

struct Address_news {
    int index = 0;
    Link_address address;
};
// RTM_NEWADDR or RTM_DELADDR, IPv4 and IPv6.
std::optional<Address_news> read_address(const nlmsghdr* message);

#endif
