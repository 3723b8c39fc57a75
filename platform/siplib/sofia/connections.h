// The TCP connections that are in use, counted against maxConnections.
//
// Thread   the SIP thread; may_send_to: any.
// Memory   one entry and one reference for each connection, until it is closed and the next tick.
#ifndef SIPLIB_SOFIA_CONNECTIONS_H_INCLUDED
#define SIPLIB_SOFIA_CONNECTIONS_H_INCLUDED

#include "siplib/sofia/agent.h"

#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace siplib::sofia {

class Connections {
public:
    explicit Connections(int most) : most_(most) {}

    // Whether a request may go to `route`: there is a connection, or room for one.
    bool may_send_to(const std::string& route) const;

    // Counts a connection that is in use; `route` for one of ours. False: no room for it.
    bool use(tport_t* transport, std::string_view route);
    void drop_closed();
    void drop_all(); // before an agent goes

private:
    const int most_;
    mutable std::mutex mutex_;
    std::unordered_map<tport_t*, std::string> open_;
    std::unordered_set<std::string> routes_;
};

} // namespace siplib::sofia

#endif
