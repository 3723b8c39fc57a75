// Our own requests on the wire: client transactions, and how many of them may be under way to one
// destination.
//
// A burst of requests would overrun the peer's socket (UDP) or the transport's queue (TCP), so each
// destination has a window; what does not fit is parked and follows as answers come. What has waited 64*T1
// for its turn is answered 408 without having been sent.
//
// Thread   the SIP thread.
// Memory   a slot for each transaction, reused; parked orders are bounded by maxTransactions.
#ifndef SIPLIB_SOFIA_CLIENT_SIDE_H_INCLUDED
#define SIPLIB_SOFIA_CLIENT_SIDE_H_INCLUDED

#include "siplib/backend.h"
#include "siplib/sofia/agent.h"
#include "siplib/sofia/connections.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <sofia-sip/su_alloc.h>
#include <sofia-sip/url.h>
#include <string>
#include <vector>

namespace siplib::sofia {
class ClientSide;
struct Window;
} // namespace siplib::sofia

// One client transaction; NTA's callback gets its address, which stays valid.
struct siplib_outgoing {
    siplib::sofia::ClientSide* side = nullptr;
    siplib::RequestOrder order;
    siplib::sofia::Window* window = nullptr;
    nta_outgoing_t* transaction = nullptr;
    nta_agent_t* agent = nullptr; // whose transaction it is
    bool busy = false;
};

namespace siplib::sofia {

struct FreeUrl {
    void operator()(url_t* url) const { su_free(nullptr, url); }
};

// The requests to one destination.
struct Window {
    std::unique_ptr<url_t, FreeUrl> route; // read once; null when it cannot be read
    unsigned under_way = 0;
    bool pumping = false;
    bool has_answered =
        false; // the peer was there: a transport that fails now had only been closed meanwhile
    std::deque<RequestOrder> parked;
};

class ClientSide {
public:
    static constexpr unsigned window_size = 64;

    ClientSide(StackEvents& events, Connections& connections, Milliseconds patience)
        : events_(events), connections_(connections), patience_(patience)
    {
    }

    // The agent that requests leave from, from now on.
    void use(nta_agent_t* agent) { agent_ = agent; }
    // Before `agent` goes (and another one is in use): what it has under way is answered 503.
    void forget(nta_agent_t* agent);
    void send(RequestOrder order);
    void tick(Time now); // what is parked for too long gets its 408
    bool busy() const { return busy_ > 0; }
    std::size_t handled() const { return handled_; } // messages that came
    void drop_all();                                 // before the agent goes

    void on_response(siplib_outgoing& slot, const sip_t* sip);

private:
    siplib_outgoing& free_slot();
    void pump(Window& window);
    void start(RequestOrder order, Window& window);
    nta_outgoing_t* open_transaction(siplib_outgoing& slot, msg_t* msg);
    void finish(siplib_outgoing& slot);
    void answer(const RequestOrder& order, int status);
    void discard_answer(siplib_outgoing& slot);
    void take_late(std::deque<RequestOrder>& orders, Time now, std::vector<RequestOrder>& late);
    bool send_again(siplib_outgoing& slot, int status);
    void count_connection(const siplib_outgoing& slot);

    StackEvents& events_;
    Connections& connections_;
    const Milliseconds patience_;
    nta_agent_t* agent_ = nullptr;
    std::deque<siplib_outgoing> slots_;
    std::vector<siplib_outgoing*> free_;
    std::map<std::string, Window, std::less<>> windows_; // by route; its nodes do not move
    std::deque<RequestOrder> unanswered_; // what came for them was discarded; they wait for their time-out
    RawMessage scratch_;
    std::size_t busy_ = 0;   // transactions, parked and unanswered orders
    std::size_t parked_ = 0; // of these, parked
    std::size_t handled_ = 0;
};

} // namespace siplib::sofia

#endif
