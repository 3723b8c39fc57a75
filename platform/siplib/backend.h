// What the neutral part of the library asks of a SIP stack, and what it is told by it.
//
// Thread   send, respond, run, open_port, close_port: any. Everything in StackEvents runs on the SIP thread.
// Memory   orders carry text and handles, never objects of the stack; a handle names a shell and the
//          generation that it had, so an answer that comes late finds nobody.
#ifndef SIPLIB_BACKEND_H_INCLUDED
#define SIPLIB_BACKEND_H_INCLUDED

#include "siplib/SIPLIB_Stack.h"
#include "siplib/clock.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace siplib {

class ClientConnection;
class ServerConnection;
class Notifier;

// Where a message goes: a numeric address.
struct Target {
    std::string host;
    int port = 0;
    bool tcp = false;
    std::string route; // the same as a URI
};

// A message as it stood on the wire.
struct RawMessage {
    std::string text;
    std::size_t body_at = 0;
};

// What an order or an object holds of the stack's limits.
enum : unsigned char {
    holds_transaction = 1,
    holds_registration = 2,
    holds_subscription = 4,
    holds_call = 8
};

// A request on its way to the SIP thread. One allocation holds all its text.
struct RequestOrder {
    ClientConnection* connection = nullptr;
    std::uint32_t generation = 0;
    std::uint32_t route_size = 0;
    std::string text; // the route, a zero, the message
    Time born{};
    unsigned char holds = 0;
    bool tcp = false;
    bool is_ack = false;       // no response comes
    bool own_via = false;      // the caller's Via is used
    bool makes_dialog = false; // SUBSCRIBE or INVITE: a 2xx makes or refreshes one
    bool retried = false;      // a connection that had worked was closed under it: once more on a fresh one

    const char* route() const { return text.c_str(); }
    std::string_view route_view() const { return {text.data(), route_size}; }
    std::string_view message() const { return std::string_view(text).substr(route_size + 1); }
};

struct ResponseOrder {
    std::uint64_t transaction = 0;
    int status = 0;
    std::string text;
};

// A request that arrived, with what the stack has found out about it.
struct InboundRequest {
    RawMessage raw;
    std::string method;
    std::uint64_t transaction = 0; // for ResponseOrder
};

// Who will answer a request: nobody (null) means that the stack does, with `refusal`; 0 = not at all.
struct Accepted {
    ServerConnection* connection = nullptr;
    std::uint32_t generation = 0;
    int refusal = 503;
};

class StackEvents {
public:
    virtual ~StackEvents() = default;
    // A response (also one made by the stack: 408, 503) to an order.
    virtual void response(const RequestOrder& order, int status, RawMessage raw) = 0;
    // The text of an order that is over: its memory serves again.
    virtual void done_with(std::string& text) = 0;
    // The order ended without a response that anybody could get (ACK).
    virtual void sent(const RequestOrder& order) = 0;
    // A request for the port that `notifier` opened. accepted() follows when a connection was given.
    virtual Accepted request(Notifier* notifier, InboundRequest request) = 0;
    // The transaction stands: the connection may be announced now.
    virtual void accepted(const Accepted& to) = 0;
    // The final response went out (`answered`), or none can: 64*T1 passed, or the peer cancelled.
    virtual void transaction_ended(const Accepted& by, bool answered) = 0;
    // Housekeeping, while something rests. Returns whether it wants to be called again.
    virtual bool tick(Time now) = 0;
};

class Backend {
public:
    virtual ~Backend() = default;
    virtual int start() = 0; // a SIPLIB_ code
    virtual void stop() = 0; // joins

    virtual bool on_sip_thread() const = 0;
    // Waits while the queue is full, except on the SIP thread. SIPLIB_ERR_STATE: stopping.
    virtual int send(RequestOrder order) = 0;
    virtual int respond(ResponseOrder order) = 0;
    virtual void run(std::function<void()> task) = 0;   // on the SIP thread, soon
    virtual bool may_send_to(const Target& target) = 0; // the limit on connections
    // Wait for the result. Port 0: any.
    virtual int open_port(Notifier* notifier, int port, int& opened) = 0;
    virtual void close_port(Notifier* notifier) = 0;
};

std::unique_ptr<Backend> make_sofia_backend(const SIPLIB_StackCfg& cfg, StackEvents& events);

} // namespace siplib

#endif
