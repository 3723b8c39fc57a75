// A complete response from a request and what its user set (RFC 3261 section 8.2.6).
//
// Thread   pure functions.
#ifndef SIPLIB_RESPONSE_TEXT_H_INCLUDED
#define SIPLIB_RESPONSE_TEXT_H_INCLUDED

#include "siplib/message.h"

#include <string>

namespace siplib {

// Via, From, To, Call-ID, CSeq and Record-Route come from the request unless `response` has its own. `to_tag`
// goes into a To without a tag, except in a 100. Then the user's headers in their order, Content-Length,
// body.
std::string response_text(const Message& request, const Message& response, int code,
                          const std::string& to_tag);

} // namespace siplib

#endif
