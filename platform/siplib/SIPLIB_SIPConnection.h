// One SIP transaction as an agent builds and reads it.
//
// Which message an operation means: a client connection holds the request being built and the last response
// taken by receive(); set, add, remove, setBody and init act on the request, the getters read the response
// once one was taken, else the request. A server connection holds the received request and, after
// initResponse, the response being built: the getters read the request, the others act on the response.
//
// Text     in is const char*, copied before return; out is the caller's buffer with its capacity. Names of
//          headers ignore case and may be compact ("f" is "From", RFC 3261 section 7.3.3).
// Thread   any; the operations of one connection take turns on its lock. No callback runs inside them.
// Memory   see SIPLIB_SIPObject. A whole message has at most 16 KiB on the wire.
// Errors   a null pointer where text is wanted: SIPLIB_ERR_ARGUMENT. A closed, finished or stale connection:
//          SIPLIB_ERR_STATE. Every operation may be called with any argument without crashing.
#ifndef SIPLIB_SIPCONNECTION_H_INCLUDED
#define SIPLIB_SIPCONNECTION_H_INCLUDED

#include "siplib/SIPLIB_SIPObject.h"

class SIPLIB_API SIPLIB_SIPConnection : public SIPLIB_SIPObject {
public:
    // Value of the first header `name`. len: in = capacity of buf including the terminating zero, out =
    // strlen of the value delivered. Always terminates inside the capacity.
    // SIPLIB_ERR_NOT_FOUND: no such header, buf is "". SIPLIB_ERR_TRUNCATED: cut at the capacity.
    // SIPLIB_ERR_ARGUMENT: a null pointer, or len <= 0. SIPLIB_ERR_STATE: there is no message to read.
    virtual int getHeader(const char* /*name*/, char* /*buf*/, int& /*len*/)
    {
        return SIPLIB_ERR_UNSUPPORTED;
    }

    // Makes `value` the only header `name`. An empty value is kept as an empty header.
    // SIPLIB_ERR_ARGUMENT: null, an empty name, a name that is no token, CR, LF or another control
    // character in the value, or more than 16 KiB. SIPLIB_ERR_SYNTAX: the value of a header that the library
    // knows does not parse (RFC 3261 section 25). SIPLIB_ERR_STATE: no message was started.
    virtual int setHeader(const char* /*name*/, const char* /*value*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Adds one more header `name` after those there are. Errors as setHeader; besides, SIPLIB_ERR_SYNTAX for
    // a second header of a kind that a message carries once (From, To, Call-ID, CSeq, Event, ...).
    virtual int addHeader(const char* /*name*/, const char* /*value*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Removes every header `name`. SIPLIB_ERR_NOT_FOUND: there was none.
    virtual int removeHeader(const char* /*name*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Copies the body. len: in = capacity, out = bytes copied, NEVER more than the capacity; no terminating
    // zero. A message without a body gives SIPLIB_OK and 0. A longer body is cut: SIPLIB_ERR_TRUNCATED, and a
    // level-4 log line that names both sizes. SIPLIB_ERR_ARGUMENT: null, or len <= 0.
    virtual int getBody(char* /*buf*/, int& /*len*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Makes a copy of `len` bytes the body; (null, 0) = no body. SIPLIB_ERR_ARGUMENT: null with a length, a
    // negative length, or more than 16 KiB.
    virtual int setBody(const char* /*data*/, int /*len*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Method of the request; of a response, the method in its CSeq. Writes at most capacity - 1 characters
    // and a zero. A longer name: SIPLIB_ERR_TRUNCATED, and buf is "".
    virtual int getMethod(char* /*buf*/, int /*capacity*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Changes the method of the request being built; a CSeq that was set keeps its number.
    // SIPLIB_ERR_ARGUMENT: null, no token, or longer than 255 characters.
    virtual int setMethod(const char* /*name*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Status code of the last response taken (client), or of the response being built (server).
    // SIPLIB_ERR_STATE: there is none, `code` is left alone.
    virtual int getResponseCode(int& /*code*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Client: starts a new, empty request, also on a connection that has carried one before; the destination,
    // source and next hop that were given at opening stay. SIPLIB_ERR_STATE: a request is under way.
    // SIPLIB_ERR_ARGUMENT as setMethod. A server connection: SIPLIB_ERR_STATE.
    virtual int initRequest(const char* /*method*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Server: starts the response `code` (100..699, else SIPLIB_ERR_ARGUMENT) to the received request. Via,
    // From, To, Call-ID, CSeq and Record-Route come from it. SIPLIB_ERR_STATE: the final response was sent.
    virtual int initResponse(int /*code*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Client: where the request goes, when it is not the `desturi` of open(). Bare or in angle brackets.
    // SIPLIB_ERR_SYNTAX: not a SIP URI.
    virtual int setRequestURI(const char* /*uri*/) { return SIPLIB_ERR_UNSUPPORTED; }

    // Client: the next hop, which then alone decides where the request is sent. An empty host takes the next
    // hop away; port <= 0 means 5060. SIPLIB_ERR_ARGUMENT: a port above 65535, another transport than udp or
    // tcp, or a host with characters that a host cannot have.
    virtual int setImsServerAddress(const SIPLIB_SipImsServerAddress&) { return SIPLIB_ERR_UNSUPPORTED; }

    // The dialog that this connection's transaction made or belongs to; null when there is none (yet).
    virtual SIPLIB_SIPDialog* getDialog() { return nullptr; }

    SIPLIB_SIPConnection* asConnection() override { return this; }
};

#endif
