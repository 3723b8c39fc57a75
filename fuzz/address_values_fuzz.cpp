// Address values as the framework reads them: the first line of the input names the header, the second an
// element or parameter, the rest is the value. The value goes the three ways that addresses take: asked for
// directly, as an event owner's, and as the proxy of the next hop.
#include "core/IMS_User_Agent.h"
#include "subscriptions/IMS_address.h"
#include "subscriptions/IMS_event_mgmt.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

void demand(bool condition)
{
    if (!condition) std::abort();
}

const char* const elements[] = {"displayname", "host", "uri", "scheme", "user", "tostring"};

std::string take_line(std::string& rest)
{
    const auto end = rest.find('\n');
    std::string line = rest.substr(0, end);
    rest = end == std::string::npos ? "" : rest.substr(end + 1);
    return line;
}

void ask_directly(const std::string& header, const std::string& name, const std::string& value)
{
    const std::unique_ptr<SIPLIB_SIPAddress> address(
        SIPLIB_SIPAddress::createSIPAddressObject(header, value));
    const int port = IMS_address::get_port(header, value);
    const std::string parameter = IMS_address::get_parameter(name, header, value);
    if (!address) {
        demand(port == 0 && parameter.empty());
        for (const char* element : elements)
            demand(IMS_address::get_element(element, header, value).empty());
        return;
    }
    demand(port == -1 || (port >= 1 && port <= 65535));
    demand(!IMS_address::get_element("scheme", header, value).empty());
    demand(!IMS_address::get_element("uri", header, value).empty());
    for (const char* element : elements)
        if (name == element) return;
    demand(IMS_address::get_element(name, header, value).empty());
}

void ask_for_owner(const std::string& header, const std::string& name, const std::string& value)
{
    IMS_event_mgmt reset;
    IMS_event_mgmt::add_owner("reg", header, value);
    const bool known = !header.empty() && !value.empty();
    demand(IMS_event_mgmt::evlist.size() == (known ? 1u : 0u));
    demand(IMS_event_mgmt::get_port("reg") == (known ? IMS_address::get_port(header, value) : -1));
    for (const char* element : elements)
        demand(IMS_event_mgmt::get_element("reg", element) ==
               (known ? IMS_address::get_element(element, header, value) : ""));
    demand(IMS_event_mgmt::get_parameter("reg", name) ==
           (known ? IMS_address::get_parameter(name, header, value) : ""));
}

class Agent : public IMS_User_Agent {};

void go_there(const std::string& value)
{
    static Agent& agent = *new Agent;
    IMS_User_Agent::__ua_proxy = value;
    SIPLIB_SipImsServerAddress hop;
    agent.fill_immediate_hop(hop);
    demand(hop.flag == 1);
    demand(::strnlen(hop.host, sizeof hop.host) < sizeof hop.host);
    demand(hop.port >= -1 && hop.port <= 65535);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    IMS_log::set_level(4);
    std::string value(reinterpret_cast<const char*>(data), size);
    const std::string header = take_line(value);
    const std::string name = take_line(value);
    ask_directly(header, name, value);
    ask_for_owner(header, name, value);
    go_there(value);
    return 0;
}
