// What a ladder needs to know of a SIP message: its start line and a handful of headers (RFC 3261 section 7).
//
// Thread   any: no state.
// Memory   all texts are copies.
// Errors   none: a message that is not SIP gives a summary that says so.
#ifndef IMSLADDER_SIP_SUMMARY_H_INCLUDED
#define IMSLADDER_SIP_SUMMARY_H_INCLUDED

#include <cstddef>
#include <string>
#include <string_view>

namespace imsladder {

struct Summary {
    enum class Kind { request, response, other };
    Kind kind = Kind::other;
    std::string method; // of a response the one of its CSeq
    int status = 0;     // 0 for a request
    std::string reason;
    std::string branch, call_id, cseq; // empty where missing; branch is that of the topmost Via
    std::string event;                 // the package, without parameters
    std::string state;                 // of Subscription-State, without parameters
    std::string expires;
    std::string head;     // the start line and the first headers, line feeds between them
    std::size_t size = 0; // of the whole message in bytes
};

// Reads any bytes.
Summary summarize(std::string_view message);

// "SUBSCRIBE kiv-link-event", "NOTIFY kiv-link-event active", "200 OK (NOTIFY)", "(4 bytes, not SIP)".
std::string label_of(const Summary& summary);

// `text` with everything but printable ASCII replaced by a question mark: safe for a terminal, one column a
// character.
std::string printable(std::string_view text);

} // namespace imsladder

#endif
