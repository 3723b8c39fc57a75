// The real notifier: one port and the requests that wait at it. See SIPLIB_SIPNotifier.
//
// Thread   any; enqueue and announce: the SIP thread.
// Memory   a shell of the pool.
#ifndef SIPLIB_NOTIFIER_H_INCLUDED
#define SIPLIB_NOTIFIER_H_INCLUDED

#include "siplib/SIPLIB_SIPNotifier.h"
#include "siplib/shell.h"

#include <deque>

namespace siplib {

class ServerConnection;

// A request that waits to be accepted.
struct WaitingRequest {
    ServerConnection* connection;
    std::uint32_t generation;
};

class Notifier final : public SIPLIB_SIPNotifier {
public:
    static constexpr std::size_t most_unheard = 64; // requests that wait while nobody listens

    int receive() override;
    int close() override;
    SIPLIB_SIPConnection* acceptAndOpen() override;
    SIPLIB_SIPConnection* acceptAndOpen(SIPLIB_SIPDialog* dialog) override;
    int setListener(SIPLIB_SIPServerConnectionListener* listener) override;
    int getLocalPort(int& port) override;

    // For the stack.
    void open(); // live from now on, so that no request is missed; then one of the two:
    void opened_at(int port);
    void abandon();                              // the port could not be had
    bool enqueue(const WaitingRequest& waiting); // false: nobody listens and too many wait
    void announce();

private:
    ShellState state_;
    int port_ = 0;
    SIPLIB_SIPServerConnectionListener* listener_ = nullptr;
    std::deque<WaitingRequest> waiting_;
    std::size_t announced_ = 0; // of those that wait, from the front
};

} // namespace siplib

#endif
