// Descriptors of Sofia-SIP that a started program must not inherit.
//
// Its sockets get the flag when they are made (our su_wait_create stands in for its own, which it calls for
// every socket that it makes or accepts). What else it opens while a root or an agent is made has to be found
// afterwards.
//
// Thread   the SIP thread. A descriptor that another thread opens in the same moment and that looks the same
//          (an epoll instance, a pair of Unix sockets, /dev/urandom, /dev/null) gets the flag too.
#ifndef SIPLIB_SOFIA_CLOSE_ON_EXEC_H_INCLUDED
#define SIPLIB_SOFIA_CLOSE_ON_EXEC_H_INCLUDED

#include <vector>

namespace siplib::sofia {

class NewDescriptors {
public:
    NewDescriptors();           // notes what is open now
    void close_on_exec() const; // what has been opened since

private:
    std::vector<int> before_; // ascending
};

} // namespace siplib::sofia

#endif
