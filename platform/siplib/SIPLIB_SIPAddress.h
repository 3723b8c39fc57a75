// The value of an address header (Contact, From, To, Route, ...) taken apart and printed again: a display
// name, a URI and parameters (RFC 3261 sections 19.1, 20.10, 25.1).
//
//   "Alice" <sip:alice@example.com:5070;transport=tcp>;tag=1
//    display     user  host        port URI parameter header parameter
//
// The texts that come out stand as they were written (escapes such as "%20" are kept, a URI keeps its case),
// but for two: quoted strings come without quotes and backslashes, and the scheme comes in lower case.
//
// Thread   any, before the stack is started too. One object is used by one thread at a time.
// Memory   an object owns copies of everything; whoever created it deletes it. Time and memory are linear in
// the
//          length of the value.
// Errors   come back as SIPLIB_ERR_ codes; an operation that fails leaves its result and the object as they
// were.
//          No value, whatever its bytes, does harm. SIPLIB_ERR_MEMORY: any operation, out of memory.
#ifndef SIPLIB_SIPADDRESS_H_INCLUDED
#define SIPLIB_SIPADDRESS_H_INCLUDED

#include "siplib/SIPLIB_types.h"

#include <string>

class SIPLIB_API SIPLIB_SIPAddress {
public:
    // `value` read as the value of header `header` (full or compact name, any case). Null when it is not an
    // address: empty, "*", without a URI, a sip or sips URI without a host, against the grammar, or with CR,
    // LF or NUL in it; and when memory runs out. The caller deletes the object.
    //
    // The header's name decides two things. The parameters behind a URI without brackets are the header's, as
    // RFC 3261 section 20.10 says; in Route, Record-Route, Path, Service-Route and
    // P-Asserted/Preferred-Identity, which have no such form, they are taken as the URI's, so that
    // "sip:proxy;lr" keeps its ";lr". And of a comma list the first address is read, the rest ignored; in
    // From, To, Reply-To, Refer-To and Referred-By, which are no lists, a comma makes the value invalid.
    static SIPLIB_SIPAddress* createSIPAddressObject(std::string header, std::string value);

    virtual ~SIPLIB_SIPAddress() = default;

    // The name before the URI. SIPLIB_ERR_NOT_FOUND: none, or an empty one.
    virtual int getDisplayName(std::string&) const = 0;

    // "sip", "sips", "tel", ...: never fails.
    virtual int getScheme(std::string&) const = 0;

    // The address with its parameters, ["display" ]<uri>[;parameters], always in brackets. Reading that text
    // gives an equal address.
    virtual int toString(std::string&) const = 0;

    // The explicit port, 1 to 65535. Where none is given 5060, or 5061 for sips and for transport=tls (RFC
    // 3261 section 19.1.2). SIPLIB_ERR_SYNTAX: what stands there is no port number. SIPLIB_ERR_NOT_FOUND: the
    // URI has no host.
    virtual int getPort(int&) const = 0;

    // The value of parameter `name` (any case), of the URI first, then of the header; empty for a flag such
    // as ";lr". SIPLIB_ERR_NOT_FOUND: no such parameter.
    virtual int getParameter(const std::string& name, std::string&) const = 0;

    // Adds header parameter `name`, or replaces it in its place; the URI stays as it is. An empty value makes
    // a flag. A value that is neither a token nor quoted already is printed in quotes. SIPLIB_ERR_ARGUMENT:
    // `name` is not a token, or `value` holds CR, LF or NUL.
    virtual int setParameter(const std::string& name, const std::string& value) = 0;

    // The host: a name, an IPv4 address, or an IPv6 address in its brackets. SIPLIB_ERR_NOT_FOUND: the URI
    // has none, as tel and every scheme but sip and sips.
    virtual int getHost(std::string&) const = 0;

    // The URI without display name, brackets and header parameters: never fails.
    virtual int getURI(std::string&) const = 0;

    // The user without password; of a tel URI the number. SIPLIB_ERR_NOT_FOUND: the URI has none.
    virtual int getUser(std::string&) const = 0;

    // Tests: while set, createSIPAddressObject hands its arguments to `factory` and returns its result. Null
    // restores the real parser. Returns the previous one, null for the real parser. Nothing thrown may leave
    // `factory`.
    using Factory = SIPLIB_SIPAddress* (*)(const std::string& header, const std::string& value);
    static Factory setFactory(Factory factory);

protected:
    SIPLIB_SIPAddress() = default;
};

#endif
