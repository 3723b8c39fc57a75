// The one factory of notifiers and client connections; virtual, so that a mock can stand in for it.
//
// The first open() starts the stack with the library's defaults when SIPLIB_SIPStart was not called before.
//
// Thread   any. setOverride: main thread, while nobody opens.
// Memory   what open() returns belongs to the library (see SIPLIB_SIPObject); null on failure.
// Errors   null: an unusable address or URI, a port that is taken, the stack's limits reached, no memory. A
//          level-4 log line gives the reason.
#ifndef SIPLIB_SIPCONNECTOR_H_INCLUDED
#define SIPLIB_SIPCONNECTOR_H_INCLUDED

#include "siplib/SIPLIB_SIPObject.h"

class SIPLIB_API SIPLIB_SIPConnector {
public:
    SIPLIB_SIPConnector() = default;
    virtual ~SIPLIB_SIPConnector() = default;

    // ("sip:<digits>", null) opens a notifier on that port of the configured local address, UDP and TCP, both
    // exclusively or not at all ("sip:0": any free port). Everything else opens a client connection whose
    // request goes to `desturi` and comes from `srcuri` (may be null: From is then set by the caller). Both
    // are bare URIs or URIs in angle brackets.
    virtual SIPLIB_SIPObject* open(const char* desturi, const char* srcuri);

    // A client connection to an address: `type` is "udp" or "tcp" (null or empty: udp). destport <= 0 means
    // 5060. `srcip` and `srcport` become the source URI when `srcip` is not null or empty; the packets leave
    // from the stack's own address.
    virtual SIPLIB_SIPObject* open(const char* type, const char* destip, int destport, const char* srcip,
                                   int srcport);

    // A client connection with To and From given as header values; the request goes to the URI in `to`.
    // `srcuri` (may be null) becomes the Contact.
    virtual SIPLIB_SIPObject* open(const char* to, const char* from, const char* srcuri);

    // Tests: while set, the three operations of every plain SIPLIB_SIPConnector forward to `mock`, except
    // when the object is `mock` itself (a form that the mock left alone does not call itself for ever). Null
    // ends it. Returns the previous one.
    static SIPLIB_SIPConnector* setOverride(SIPLIB_SIPConnector* mock);
};

#endif
