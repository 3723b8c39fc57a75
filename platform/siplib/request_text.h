// A complete request from what its user set (RFC 3261 section 8.1.1), and where it goes.
//
// Thread   any.
// Errors   SIPLIB_ codes; on failure `text` and `target` are not to be used.
#ifndef SIPLIB_REQUEST_TEXT_H_INCLUDED
#define SIPLIB_REQUEST_TEXT_H_INCLUDED

#include "siplib/backend.h"
#include "siplib/cseq_table.h"
#include "siplib/message.h"

namespace siplib {

// A next hop as setImsServerAddress gave it; no host = none.
struct NextHop {
    std::string host;
    int port = 5060;
    std::string transport;
};

// Whether there are From, To and Request-URI.
bool is_addressed(const Message& message, const std::string& uri);

// Adds what is missing (From tag, Call-ID, CSeq, Max-Forwards) to `message`, replacing nothing, and appends
// the whole to `text`. SIPLIB_ERR_STATE: no From, To or Request-URI. SIPLIB_ERR_SYNTAX: a Content-Length that
// is not the body's, or a CSeq of another method. SIPLIB_ERR_ARGUMENT: larger than a message may be.
int complete_request(Message& message, const std::string& method, const std::string& uri, CSeqTable& cseqs,
                     std::string& text);

// The numeric address of the next hop, else of the topmost Route, else of the Request-URI. Host names are
// looked up, which may take as long as the resolver takes. SIPLIB_ERR_TRANSPORT: no such host, or a transport
// that the library does not have.
int find_target(const Message& message, const std::string& uri, const NextHop& hop, Target& target);

// The dialog that a request made by us belongs to.
DialogKey key_of_own_request(const Message& message);

} // namespace siplib

#endif
