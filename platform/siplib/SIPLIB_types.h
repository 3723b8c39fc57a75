// What every class of the SIP library shares: result codes, sizes, and the one next-hop record.
//
// Thread   plain values.
// Errors   an operation returns SIPLIB_OK (0) or one of the codes below, and throws nothing.
#ifndef SIPLIB_TYPES_H_INCLUDED
#define SIPLIB_TYPES_H_INCLUDED

#include <cstddef>
#include <cstdint>
#include <string>

#define SIPLIB_API __attribute__((visibility("default")))

class SIPLIB_SIPConnection;
class SIPLIB_SIPClientConnection;
class SIPLIB_SIPNotifier;
class SIPLIB_SIPDialog;

// Result of an operation. The failures start above 100, so that none can be taken for the results 19
// and 31 that a dialog record may carry through an agent's queue.
enum : int {
    SIPLIB_OK = 0,
    SIPLIB_ERR_UNSUPPORTED = 101, // the default body of every virtual operation
    SIPLIB_ERR_ARGUMENT = 102,    // null pointer, length <= 0, CR, LF or NUL inside a header name or value
    SIPLIB_ERR_STATE = 103,       // no request started, connection closed or finished, nothing pending
    SIPLIB_ERR_NOT_FOUND = 104,   // the header is absent
    SIPLIB_ERR_TRUNCATED = 105,   // the value did not fit; what fitted was delivered
    SIPLIB_ERR_SYNTAX = 106,      // the value of a header that the library knows cannot be parsed
    SIPLIB_ERR_TRANSPORT = 107,   // the stack could not be started or reached
    SIPLIB_ERR_MEMORY = 108       // out of memory; nothing was changed
};

enum : int {
    SIPLIB_METHOD_SIZE = 256, // a method name of 255 characters and its terminating zero
    SIPLIB_HOST_SIZE = 51     // the host of a next hop: 50 characters and a zero
};

// Where the next request of a connection is sent, whatever its Request-URI and Route say.
struct SIPLIB_SipImsServerAddress {
    std::int32_t port = 0;            // 1..65535; 0, or -1 where no port could be read: the default, 5060
    char host[SIPLIB_HOST_SIZE] = {}; // address or name, zero-filled; a full field has no zero, so read it
                                      // with strnlen(host, 51); empty = there is no next hop
    unsigned char flag = 0;           // 1: the record is set. Carried, not interpreted
    std::string transport;            // "udp" or "tcp", in any case; empty = the Request-URI's, else UDP
};
using ImsServerAddress = SIPLIB_SipImsServerAddress;
using ServerAddressRecord = SIPLIB_SipImsServerAddress;
static_assert(offsetof(SIPLIB_SipImsServerAddress, port) == 0, "layout");
static_assert(offsetof(SIPLIB_SipImsServerAddress, host) == 4, "layout");
static_assert(offsetof(SIPLIB_SipImsServerAddress, flag) == 55, "layout");
static_assert(offsetof(SIPLIB_SipImsServerAddress, transport) == 56, "layout");

#endif
