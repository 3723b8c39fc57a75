#include "subscriptions/IMS_address.h"

#include "siplib/SIPLIB.h"

#include <memory>

namespace {

using Address = std::unique_ptr<SIPLIB_SIPAddress>;

struct Element {
    const char* name;
    int (SIPLIB_SIPAddress::*read)(std::string&) const;
};

const Element elements[] = {
    {"displayname", &SIPLIB_SIPAddress::getDisplayName},
    {"host", &SIPLIB_SIPAddress::getHost},
    {"uri", &SIPLIB_SIPAddress::getURI},
    {"scheme", &SIPLIB_SIPAddress::getScheme},
    {"user", &SIPLIB_SIPAddress::getUser},
    {"tostring", &SIPLIB_SIPAddress::toString},
};

Address parsed(const std::string& header, const std::string& value)
{
    return Address(SIPLIB_SIPAddress::createSIPAddressObject(header, value));
}

} // namespace

std::string IMS_address::get_element(std::string element, std::string header, std::string value)
{
    const Address address = parsed(header, value);
    if (!address) return "";
    for (const Element& known : elements) {
        if (element != known.name) continue;
        std::string part;
        // A getter that fails may have written half of it.
        return (address.get()->*known.read)(part) == 0 ? part : "";
    }
    return "";
}

std::string IMS_address::get_parameter(std::string name, std::string header, std::string value)
{
    const Address address = parsed(header, value);
    if (!address) return "";
    std::string parameter;
    return address->getParameter(name, parameter) == 0 ? parameter : "";
}

int IMS_address::get_port(std::string header, std::string value)
{
    const Address address = parsed(header, value);
    if (!address) return 0;
    int port = -1;
    return address->getPort(port) == 0 ? port : -1;
}
