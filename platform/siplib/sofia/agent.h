// One NTA agent: a listening port (or the port that our own requests leave from) with its callback.
//
// Thread   the SIP thread.
#ifndef SIPLIB_SOFIA_AGENT_H_INCLUDED
#define SIPLIB_SOFIA_AGENT_H_INCLUDED

#include "siplib/SIPLIB_Stack.h"

#define NTA_AGENT_MAGIC_T struct siplib_port
struct siplib_port;
#define NTA_OUTGOING_MAGIC_T struct siplib_outgoing
struct siplib_outgoing;
#define NTA_INCOMING_MAGIC_T struct siplib_incoming
struct siplib_incoming;
#include <sofia-sip/nta.h>
#include <sofia-sip/nta_stateless.h>
#include <sofia-sip/nta_tport.h>
#include <sofia-sip/tport.h>

namespace siplib {
class Notifier;
namespace sofia {
class ServerSide;
}
} // namespace siplib

// What an agent's callback gets.
struct siplib_port {
    siplib::sofia::ServerSide* server = nullptr;
    siplib::Notifier* notifier = nullptr; // null: our own requests' port
    nta_agent_t* agent = nullptr;
    int port = 0;
};

namespace siplib::sofia {

// An agent bound to UDP and (with tcpFlag) TCP of `port` of the configured address, both or none; port 0:
// any. null when the port cannot be had. `record`: a path that every byte on the wire is copied to, or null.
nta_agent_t* make_agent(su_root_t* root, const SIPLIB_StackCfg& cfg, siplib_port* port, const char* record);

// The port that an agent is bound to.
int port_of(nta_agent_t* agent);

// Stands on the stack while a callback of `agent` runs: until then the agent must not be destroyed.
class AgentInUse {
public:
    explicit AgentInUse(const nta_agent_t* agent);
    ~AgentInUse();
    AgentInUse(const AgentInUse&) = delete;
    AgentInUse& operator=(const AgentInUse&) = delete;

    static bool is(const nta_agent_t* agent); // on the calling thread

private:
    const nta_agent_t* agent_;
    const AgentInUse* outer_;
};

} // namespace siplib::sofia

#endif
