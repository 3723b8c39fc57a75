// Lets SIP requests and responses into the agent's queue no faster than it takes them.
//
// The queue holds 51 elements and drops what does not fit; a dropped request is never answered, a dropped
// response never seen. So at most WINDOW of them are in the queue at a time; the others wait here, in order.
// Responses always fit: there is at most one for each NOTIFY under way. Requests beyond MAX_WAITING are
// answered "503 Service Unavailable" with Retry-After at once, which is what overload should look like.
//
// Thread   notifyRequest and notifyResponse on the SIP library's threads; taken() on the main thread.
// Memory   holds borrowed connections; they belong to the SIP library.
#ifndef IMSLINKEVD_SIP_SLUICE_H_INCLUDED
#define IMSLINKEVD_SIP_SLUICE_H_INCLUDED

#include "siplib/SIPLIB.h"

#include <cstddef>
#include <deque>
#include <mutex>

class IMS_User_Agent;

class Sip_sluice : public SIPLIB_SIPServerConnectionListener, public SIPLIB_SIPClientConnectionListener {
public:
    static constexpr std::size_t WINDOW = 32;
    static constexpr std::size_t MAX_WAITING = 1024; // requests

    // `agent` is borrowed and must outlive every callback.
    explicit Sip_sluice(IMS_User_Agent& agent) : agent_(agent) {}

    void notifyRequest(SIPLIB_SIPNotifier* notifier) override;
    void notifyResponse(SIPLIB_SIPClientConnection* connection) override;

    // The main loop has taken a request or a response: the next one may enter.
    void taken();

private:
    struct Item {
        SIPLIB_SIPConnection* connection;
        bool is_request;
    };
    enum class Entry { passes, waits, refused };
    Entry enter(const Item& item);
    void pass(const Item& item);

    IMS_User_Agent& agent_;
    std::mutex mutex_; // guards what follows; never held while the agent is called
    std::size_t inside_ = 0;
    std::size_t requests_waiting_ = 0;
    std::deque<Item> waiting_;
};

#endif
