// Requests from the wire: server transactions, and the answers to retransmissions.
//
// Requests other than INVITE have no transaction inside NTA: it would keep 11 kB for each until 64*T1 have
// passed. Here a retransmission finds its entry by branch, sent-by and method (RFC 3261 section 17.2.3):
// while nobody has answered it is swallowed, afterwards it gets the same answer again.
//
// Thread   the SIP thread.
// Memory   an entry for each request that waits for its answer (maxTransactions at most) and for the last
//          answers over UDP, 8192 of them and 4 MB at most.
#ifndef SIPLIB_SOFIA_SERVER_SIDE_H_INCLUDED
#define SIPLIB_SOFIA_SERVER_SIDE_H_INCLUDED

#include "siplib/backend.h"
#include "siplib/sofia/agent.h"
#include "siplib/sofia/connections.h"

#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

namespace siplib {
class Limit;
}

// One server transaction; NTA's callback (INVITE only) gets its address, which stays valid.
struct siplib_incoming {
    siplib::sofia::ServerSide* side = nullptr;
    std::uint32_t index = 0, generation = 0;
    std::string key;
    std::string answer;        // the final response, for retransmissions
    std::string host, port;    // where responses go when the connection is gone, or there is none
    siplib_port* at = nullptr; // the port it came in
    tport_t* transport = nullptr;
    nta_incoming_t* invite = nullptr;
    siplib::Accepted owner;
    siplib::Time deadline{};
    enum class State : unsigned char { free, waiting, answered } state = State::free;
    bool reliable = false;
};

namespace siplib::sofia {

class ServerSide {
public:
    static constexpr std::size_t most_answers = 8192;
    static constexpr std::size_t most_answer_bytes = 4 * 1024 * 1024;

    ServerSide(StackEvents& events, Connections& connections, Limit& limit, Milliseconds patience)
        : events_(events), connections_(connections), limit_(limit), patience_(patience)
    {
    }

    void on_message(siplib_port& port, msg_t* msg, sip_t* sip);
    void on_ack_or_cancel(siplib_incoming& slot, const sip_t* sip);
    void respond(ResponseOrder order);
    void tick(Time now);
    bool busy() const { return waiting_ > 0; }
    std::size_t handled() const { return handled_; } // messages that came
    void forget(const siplib_port* port);            // before its agent goes; null: all

private:
    void on_request(siplib_port& port, msg_t* msg, sip_t* sip);
    int refusal_of(const siplib_port& port, const sip_t* sip);
    void begin(siplib_incoming& slot, const std::string& key, msg_t* msg, sip_t* sip);
    bool is_retransmission(const std::string& key);
    void refuse(siplib_port& port, msg_t* msg, int status, bool hang_up = false);
    bool connection_counts(siplib_port& port, msg_t* msg);
    siplib_incoming& free_slot();
    siplib_incoming* find(std::uint64_t transaction);
    void release(siplib_incoming& slot);
    void send(siplib_incoming& slot, const std::string& text);
    void answered(siplib_incoming& slot, std::string text);
    void drop_old_answers(Time now);

    StackEvents& events_;
    Connections& connections_;
    Limit& limit_;
    const Milliseconds patience_;
    std::size_t handled_ = 0;
    std::deque<siplib_incoming> slots_;
    std::vector<siplib_incoming*> free_;
    std::unordered_map<std::string, siplib_incoming*> by_key_;
    struct Due {
        siplib_incoming* slot;
        std::uint32_t generation;
    };
    static bool is_waiting(const Due& due);
    std::deque<Due> waiting_queue_, answered_queue_; // in the order of their deadlines
    std::size_t waiting_ = 0;
    std::size_t answer_bytes_ = 0;
};

} // namespace siplib::sofia

#endif
