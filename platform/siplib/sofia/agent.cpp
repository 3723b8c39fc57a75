#include "siplib/sofia/agent.h"

#include "siplib/sip_text.h"
#include "siplib/sofia/server_side.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <sofia-sip/nta_tag.h>
#include <sofia-sip/su_tag.h>
#include <sofia-sip/tport_tag.h>
#include <string>

namespace siplib::sofia {
namespace {

// What is larger than a message may be is read up to here, so that the answer can be a 513.
constexpr unsigned largest_readable = 128 * 1024;

thread_local const AgentInUse* innermost = nullptr;

int on_message(siplib_port* port, nta_agent_t*, msg_t* msg, sip_t* sip)
{
    const AgentInUse in_use(port->agent);
    port->server->on_message(*port, msg, sip);
    return 0;
}

std::string bind_uri(const char* address, int port, const char* transport)
{
    const bool v6 = std::strchr(address, ':') && address[0] != '[';
    std::string uri = v6 ? "sip:[" : "sip:";
    uri.append(address).append(v6 ? "]:" : ":");
    uri.append(port > 0 ? std::to_string(port) : "*");
    if (*transport) uri.append(";transport=").append(transport);
    return uri;
}

// A queue of 1000 is the most that the transport takes; requests are windowed well below it. A peer's FIN
// with requests pending must end them at once.
bool bind_port(nta_agent_t* agent, const std::string& uri, const char* record)
{
    return nta_agent_add_tport(agent, reinterpret_cast<const url_string_t*>(uri.c_str()),
                               TPTAG_QUEUESIZE(1000), TPTAG_SDWN_ERROR(1), TAG_IF(record, TPTAG_DUMP(record)),
                               TAG_END()) == 0;
}

bool bind_all(nta_agent_t* agent, const SIPLIB_StackCfg& cfg, int port, const char* record)
{
    const char* tcp_address = cfg.tcpLocalAddress[0] ? cfg.tcpLocalAddress : cfg.localAddress;
    if (!cfg.tcpFlag) return bind_port(agent, bind_uri(cfg.localAddress, port, "udp"), record);
    // One call for both: they are had together or not at all, on one port.
    if (std::strcmp(tcp_address, cfg.localAddress) == 0)
        return bind_port(agent, bind_uri(cfg.localAddress, port, ""), record);
    if (!bind_port(agent, bind_uri(cfg.localAddress, port, "udp"), record)) return false;
    return bind_port(agent, bind_uri(tcp_address, port > 0 ? port : port_of(agent), "tcp"), record);
}

} // namespace

nta_agent_t* make_agent(su_root_t* root, const SIPLIB_StackCfg& cfg, siplib_port* port, const char* record)
{
    const auto unbound = reinterpret_cast<const url_string_t*>(-1);
    const unsigned t1 = static_cast<unsigned>(cfg.T1);
    nta_agent_t* agent = nta_agent_create(
        root, unbound, on_message, port, NTATAG_SIP_T1(t1), NTATAG_SIP_T1X64(64 * t1),
        NTATAG_SIP_T2(static_cast<unsigned>(cfg.T2)), NTATAG_SIP_T4(static_cast<unsigned>(cfg.T4)),
        NTATAG_UDP_MTU(65535), NTATAG_MAXSIZE(largest_readable), NTATAG_SIPFLAGS(MSG_DO_EXTRACT_COPY),
        NTATAG_USE_NAPTR(0), NTATAG_USE_SRV(0), NTATAG_TIMEOUT_408(1), TAG_END());
    if (!agent) return nullptr;
    if (!bind_all(agent, cfg, port->port, record)) {
        nta_agent_destroy(agent);
        return nullptr;
    }
    port->port = port_of(agent);
    port->agent = agent;
    return agent;
}

AgentInUse::AgentInUse(const nta_agent_t* agent) : agent_(agent), outer_(innermost)
{
    innermost = this;
}

AgentInUse::~AgentInUse()
{
    innermost = outer_;
}

bool AgentInUse::is(const nta_agent_t* agent)
{
    for (const AgentInUse* use = innermost; use; use = use->outer_)
        if (use->agent_ == agent) return true;
    return false;
}

int port_of(nta_agent_t* agent)
{
    const tport_t* first = tport_primaries(nta_agent_tports(agent));
    return first ? std::atoi(tport_name(first)->tpn_port) : 0;
}

} // namespace siplib::sofia
