// The default reason phrases of status codes (RFC 3261 section 21, RFC 6665).
//
// Thread   pure function.
#ifndef SIPLIB_REASON_PHRASE_H_INCLUDED
#define SIPLIB_REASON_PHRASE_H_INCLUDED

namespace siplib {

const char* reason_phrase(int status); // never null; a code without a phrase of its own gets its class's

} // namespace siplib

#endif
