// Takes the value of an address header (Contact, Route, From, To) apart (RFC 3261 20.10).
//
// Thread   stateless; any thread.
// Errors   show only in the results; nothing is logged.
#ifndef IMS_ADDRESS_H_INCLUDED
#define IMS_ADDRESS_H_INCLUDED

#include "include/imsua_export.h"

#include <string>

class IMSUA_API IMS_address {
public:
    // One part of `value`, the value of the header named `header`. `element` is "displayname" (without its
    // quotes), "host", "uri" (without display name and brackets), "scheme", "user" or "tostring" (the whole,
    // printed back). Empty for any other element, a part that is absent and a value that is no address.
    static std::string get_element(std::string element, std::string header, std::string value);

    // The parameter `name`: of the URI first, then of the header. Empty when it is absent, has no value or
    // `value` is no address.
    static std::string get_parameter(std::string name, std::string header, std::string value);

    // The port: the explicit one, else 5060 (5061 for sips or transport=tls). -1 when the address has no
    // usable port, 0 when `value` is no address at all.
    static int get_port(std::string header, std::string value);
};

#endif
