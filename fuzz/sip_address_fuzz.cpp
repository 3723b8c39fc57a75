// Address values of SIP headers: the first line of the input names the header, the rest is the value.
#include "siplib/SIPLIB.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

// Every part as its getter gives it, and each getter's status.
std::vector<std::string> parts_of(const SIPLIB_SIPAddress& address)
{
    std::vector<std::string> parts;
    const auto add = [&](int status, const std::string& text) {
        parts.push_back(std::to_string(status) + text);
    };
    std::string display, scheme, user, host, uri, printed;
    add(address.getDisplayName(display), display);
    add(address.getScheme(scheme), scheme);
    add(address.getUser(user), user);
    add(address.getHost(host), host);
    add(address.getURI(uri), uri);
    add(address.toString(printed), printed);
    int port = -1;
    add(address.getPort(port), std::to_string(port));
    for (const char* name : {"transport", "lr", "tag", "expires", "q", ""}) {
        std::string value;
        add(address.getParameter(name, value), value);
    }
    return parts;
}

void demand(bool condition)
{
    if (!condition) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t line = input.find('\n');
    const std::string header = line == input.npos ? "Contact" : input.substr(0, line);
    const std::string value = line == input.npos ? input : input.substr(line + 1);

    const std::unique_ptr<SIPLIB_SIPAddress> address(
        SIPLIB_SIPAddress::createSIPAddressObject(header, value));
    if (!address) return 0;
    std::string printed;
    demand(address->toString(printed) == SIPLIB_OK);
    demand(printed.find_first_of(std::string("\r\n\0", 3)) == printed.npos);

    // What is printed must be read back as the same parts.
    const std::unique_ptr<SIPLIB_SIPAddress> again(
        SIPLIB_SIPAddress::createSIPAddressObject(header, printed));
    demand(again != nullptr);
    demand(parts_of(*address) == parts_of(*again));

    // The header's text as a parameter's value: either refused, or printed so that it comes back.
    std::string read;
    if (address->setParameter("fuzzed", header) != SIPLIB_OK) return 0;
    demand(address->toString(printed) == SIPLIB_OK);
    const std::unique_ptr<SIPLIB_SIPAddress> changed(
        SIPLIB_SIPAddress::createSIPAddressObject("Contact", printed));
    demand(changed != nullptr);
    std::string before;
    demand(address->getParameter("fuzzed", before) == changed->getParameter("fuzzed", read));
    demand(before == read);
    return 0;
}
