// A request of ours and its responses.
//
// send() validates the request, adds what is missing (Via, Max-Forwards, CSeq, Call-ID, the From tag,
// Content-Length), replaces nothing that was set, hands a copy of the text to the SIP thread and returns.
// What goes wrong later comes as a response: 408 when nobody answered in 64*T1, 503 when the transport
// failed. SIPLIB_ERR_STATE: no request, no From, To or Request-URI, already sent, or maxTransactions are
// under way; SIPLIB_ERR_ARGUMENT: more than 16 KiB.
//
// close() before send() discards the request; after it, what still arrives is dropped silently, apart from
// notifications that were delivered already.
//
// Thread, Memory, Errors   as SIPLIB_SIPConnection.
#ifndef SIPLIB_SIPCLIENTCONNECTION_H_INCLUDED
#define SIPLIB_SIPCLIENTCONNECTION_H_INCLUDED

#include "siplib/SIPLIB_SIPConnection.h"

// Told that a response can be taken with receive(). Never owned by the library.
class SIPLIB_API SIPLIB_SIPClientConnectionListener {
public:
    virtual ~SIPLIB_SIPClientConnectionListener() = default;

    // *Thread* a library thread, no library lock held. Every operation of the library may be called, apart
    // from SIPLIB_SIPStop.
    virtual void notifyResponse(SIPLIB_SIPClientConnection* conn) = 0;
};

class SIPLIB_API SIPLIB_SIPClientConnection : public SIPLIB_SIPConnection {
public:
    // Who is told about responses; null = nobody. Responses that arrived before are announced now. Waits
    // for a running callback of the old listener, unless called from it: afterwards the old one is not used.
    virtual int setListener(SIPLIB_SIPClientConnectionListener*) { return SIPLIB_ERR_UNSUPPORTED; }

    SIPLIB_SIPClientConnection* asClientConnection() override { return this; }
};

#endif
