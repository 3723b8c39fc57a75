// The descriptor that Sofia-SIP's root waits on.
//
// The root counts whole milliseconds and cuts what is left of one: while a timer is due within the next
// millisecond, it does not sleep but asks again and again. With one timer for each transaction that is most
// of the time between two messages. Whoever has the descriptor can wait by himself, and longer.
//
// Thread   any.
#ifndef SIPLIB_SOFIA_ROOT_DESCRIPTOR_H_INCLUDED
#define SIPLIB_SOFIA_ROOT_DESCRIPTOR_H_INCLUDED

namespace siplib::sofia {

// The epoll instance of this process that watches `fd`, which nobody else must watch; -1 when /proc does not
// tell.
int epoll_that_watches(int fd);

} // namespace siplib::sofia

#endif
