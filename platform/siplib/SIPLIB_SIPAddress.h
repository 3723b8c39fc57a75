// A SIP address value taken apart: name-addr or addr-spec with its parameters (RFC 3261 section 20).
#ifndef SIPLIB_SIPADDRESS_H_INCLUDED
#define SIPLIB_SIPADDRESS_H_INCLUDED

#include "siplib/SIPLIB_types.h"

#include <string>

class SIPLIB_API SIPLIB_SIPAddress {
public:
    // null when value is not an address.  The caller deletes the object.
    static SIPLIB_SIPAddress* createSIPAddressObject(std::string header, std::string value);
    virtual ~SIPLIB_SIPAddress() = default;
    virtual int getDisplayName(std::string&) const = 0;
    virtual int getScheme(std::string&) const = 0;
    virtual int toString(std::string&) const = 0; // ["display" ]<uri>[;header-params]
    virtual int getPort(int&) const = 0;          // explicit port, else 5060 (5061 for sips / transport=tls)
    virtual int getParameter(const std::string& name,
                             std::string&) const = 0; // URI params first, then header params
    virtual int setParameter(const std::string& name, const std::string& value) = 0; // header parameter
    virtual int getHost(std::string&) const = 0;
    virtual int getURI(std::string&) const = 0;
    virtual int getUser(std::string&) const = 0;
    using Factory = SIPLIB_SIPAddress* (*)(const std::string& header, const std::string& value);
    static Factory setFactory(Factory); // tests: null restores the real parser
protected:
    SIPLIB_SIPAddress() = default;
};

#endif
