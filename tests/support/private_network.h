// A network namespace for a whole test program: its own loopback (IPv4 and IPv6, up) and its own ports.
#ifndef TESTS_SUPPORT_PRIVATE_NETWORK_H_INCLUDED
#define TESTS_SUPPORT_PRIVATE_NETWORK_H_INCLUDED

#include <sys/types.h>

namespace imsua_tests {

// Moves the calling thread, and with it every thread and process that it starts, into a new network
// namespace. To be called while there is one thread. Root needs nothing else; other users get a user
// namespace too, where the kernel allows it and no sanitizer has started a thread of its own. False: where
// that is not so the machine's network is used, as before, and two tests can meet at a port.
bool enter_private_network();

// Right after the caller has made itself a user namespace: gives the one user and the one group of before
// their numbers inside.
bool map_ids(uid_t inside_user, uid_t user, gid_t inside_group, gid_t group);

} // namespace imsua_tests

#endif
