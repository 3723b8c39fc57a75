// Stands in for the SIP library's address parser while in scope: each address created is a copy of the one
// given, or there is none.
#ifndef TESTS_SUPPORT_CANNED_ADDRESS_H_INCLUDED
#define TESTS_SUPPORT_CANNED_ADDRESS_H_INCLUDED

#include "siplib/SIPLIB.h"

#include <map>
#include <string>
#include <vector>

// An address whose parts are settable; an absent part makes its getter fail.
class CannedAddress : public SIPLIB_SIPAddress {
public:
    std::map<std::string, std::string> parts; // "host", "uri", "tostring", "displayname", "scheme", "user"
    std::map<std::string, std::string> parameters;
    int port = 5060;
    int port_status = SIPLIB_OK;
    bool writes_on_failure = false; // true: what is absent is written half before its getter fails
    static inline int alive = 0;    // objects not deleted yet

    CannedAddress() { ++alive; }
    CannedAddress(const CannedAddress& o)
        : parts(o.parts), parameters(o.parameters), port(o.port), port_status(o.port_status),
          writes_on_failure(o.writes_on_failure)
    {
        ++alive;
    }
    CannedAddress& operator=(const CannedAddress&) = delete;
    ~CannedAddress() override { --alive; }

    int getDisplayName(std::string& out) const override { return part("displayname", out); }
    int getScheme(std::string& out) const override { return part("scheme", out); }
    int toString(std::string& out) const override
    {
        const int status = part("tostring", out);
        for (const auto& parameter : parameters)
            out += ";" + parameter.first + "=" + parameter.second;
        return status;
    }
    int getPort(int& out) const override
    {
        out = port;
        return port_status;
    }
    int getParameter(const std::string& name, std::string& out) const override
    {
        const auto found = parameters.find(name);
        if (found == parameters.end()) return absent(out);
        out = found->second;
        return SIPLIB_OK;
    }
    int setParameter(const std::string& name, const std::string& value) override
    {
        parameters[name] = value;
        return SIPLIB_OK;
    }
    int getHost(std::string& out) const override { return part("host", out); }
    int getURI(std::string& out) const override { return part("uri", out); }
    int getUser(std::string& out) const override { return part("user", out); }

private:
    int absent(std::string& out) const
    {
        if (writes_on_failure) out = "half";
        return SIPLIB_ERR_NOT_FOUND;
    }
    int part(const char* name, std::string& out) const
    {
        const auto found = parts.find(name);
        if (found == parts.end()) return absent(out);
        out = found->second;
        return SIPLIB_OK;
    }
};

class AddressFactory {
public:
    // Every address asked for is a copy of `address`; null makes every creation fail. Borrowed.
    explicit AddressFactory(const CannedAddress* address)
    {
        canned_ = address;
        asked_for().clear();
        before_ = SIPLIB_SIPAddress::setFactory(&AddressFactory::create);
    }
    ~AddressFactory() { SIPLIB_SIPAddress::setFactory(before_); }
    AddressFactory(const AddressFactory&) = delete;
    AddressFactory& operator=(const AddressFactory&) = delete;

    // "<header>: <value>" of each address asked for, in order.
    static std::vector<std::string>& asked_for()
    {
        static std::vector<std::string> asked;
        return asked;
    }

private:
    static SIPLIB_SIPAddress* create(const std::string& header, const std::string& value)
    {
        asked_for().push_back(header + ": " + value);
        return canned_ ? new CannedAddress(*canned_) : nullptr;
    }
    static inline const CannedAddress* canned_ = nullptr;
    SIPLIB_SIPAddress::Factory before_;
};

#endif
