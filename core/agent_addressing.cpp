// The agent's own URI, its proxy, its listening point, and who owns which event package.
#include "core/IMS_UA_SipServerConnListener.h"
#include "core/IMS_User_Agent.h"
#include "include/text.h"
#include "subscriptions/IMS_address.h"
#include "subscriptions/IMS_event_mgmt.h"

#include <algorithm>
#include <cstring>

using imsua::shown;
using imsua::text;

namespace {

constexpr int ports_tried = 100;

const char* const event_packages[] = {
    "imsreg", "reg", "message-summary", "callstate", "ipcan", "isim",
};

// Zero-fills the field; a host beyond its room is cut, always leaving a terminating zero.
void write_host(SIPLIB_SipImsServerAddress& hop, const std::string& host)
{
    std::memset(hop.host, 0, sizeof hop.host);
    std::memcpy(hop.host, host.c_str(), std::min(std::strlen(host.c_str()), sizeof hop.host - 1));
}

} // namespace

void IMS_User_Agent::fill_myuri(int port)
{
    __ua_myuri =
        std::string("<sip:") + text(__d_progname) + "@127.0.0.1:" + IMS_utility::itostring(port) + ">";
    IMS_log::loginfo(5, "fill_myuri", "__ua_myuri=%s", __ua_myuri.c_str());
}

void IMS_User_Agent::fill_proxy()
{
    __ua_proxy = text(__ua_arg_proxy);
    if (__ua_proxy.empty()) __ua_proxy = IMS_event_mgmt::get_value_from_cap_files("Route:", "Route");
    IMS_log::loginfo(5, "fill_proxy", "__ua_proxy=%s", __ua_proxy.c_str());
}

void IMS_User_Agent::fill_immediate_hop(SIPLIB_SipImsServerAddress& hop)
{
    hop.flag = 1;
    write_host(hop, "127.0.0.1");
    hop.port = 5060;
    if (!__ua_proxy.empty()) {
        hop.port = IMS_address::get_port("Contact", __ua_proxy);
        write_host(hop, IMS_address::get_element("host", "Contact", __ua_proxy));
        hop.transport = IMS_address::get_parameter("transport", "Contact", __ua_proxy);
    }
    IMS_log::loginfo(5, "fill_immediate_hop", "proxy is at %s:%s:%d", hop.host, hop.transport.c_str(),
                     hop.port);
}

void IMS_User_Agent::fill_event_owners()
{
    for (const char* package : event_packages) {
        const std::string match = std::string("Event: ") + package;
        IMS_event_mgmt::add_owner(package, "Contact",
                                  IMS_event_mgmt::get_value_from_cap_files(match.c_str(), "Contact"));
    }
}

SIPLIB_SIPNotifier* IMS_User_Agent::open_local_notifier(int first_port)
{
    // Wider than int: the last of the hundred ports may lie beyond it.
    const long long first = first_port;
    for (long long port = first; port < first + ports_tried; ++port) {
        const std::string uri = "sip:" + std::to_string(port);
        SIPLIB_SIPObject* const opened = conn_open(__ua_connector, uri.c_str(), nullptr);
        SIPLIB_SIPNotifier* const notifier = opened ? opened->asNotifier() : nullptr;
        if (notifier) return adopt_notifier(notifier, static_cast<int>(port));
    }
    return nullptr;
}

SIPLIB_SIPNotifier* IMS_User_Agent::adopt_notifier(SIPLIB_SIPNotifier* notifier, int port)
{
    if (!server_listener_) server_listener_ = new IMS_UA_SipServerConnListener(this);
    notifiers_.push_back(notifier);
    notifier->setListener(server_listener_);
    fill_myuri(port);
    return notifier;
}

SIPLIB_SIPObject* IMS_User_Agent::conn_open(SIPLIB_SIPConnector& connector, const char* desturi,
                                            const char* srcuri)
{
    SIPLIB_SIPObject* const opened = connector.open(desturi, srcuri);
    if (opened)
        IMS_log::loginfo(5, "conn_open", "desturi=%s srcuri=%s", shown(desturi), shown(srcuri));
    else
        IMS_log::loginfo(4, "conn_open", "desturi=%s srcuri=%s failed", shown(desturi), shown(srcuri));
    return opened;
}

SIPLIB_SIPObject* IMS_User_Agent::conn_open(SIPLIB_SIPConnector& connector, const char* to, const char* from,
                                            const char* srcuri)
{
    SIPLIB_SIPObject* const opened = connector.open(to, from, srcuri);
    if (opened)
        IMS_log::loginfo(5, "conn_open", "to=%s from = %s srcuri=%s", shown(to), shown(from), shown(srcuri));
    else
        IMS_log::loginfo(4, "conn_open", "to=%s from = %s srcuri=%s failed", shown(to), shown(from),
                         shown(srcuri));
    return opened;
}

SIPLIB_SIPObject* IMS_User_Agent::conn_open(SIPLIB_SIPConnector& connector, const char* type,
                                            const char* destip, int destport, const char* srcip, int srcport)
{
    SIPLIB_SIPObject* const opened = connector.open(type, destip, destport, srcip, srcport);
    if (opened)
        IMS_log::loginfo(5, "conn_open", "type=%s destip=%s destport=%d", shown(type), shown(destip),
                         destport);
    else
        IMS_log::loginfo(4, "conn_open", "failed type=%s destip=%s destport=%d", shown(type), shown(destip),
                         destport);
    return opened;
}
