// Whether a header value parses: the stack's own parser is the judge.
//
// Thread   any.
#ifndef SIPLIB_HEADER_CHECK_H_INCLUDED
#define SIPLIB_HEADER_CHECK_H_INCLUDED

namespace siplib {

// True for a header that the stack does not know, and for one whose value its parser accepts.
bool header_parses(const char* name, const char* value);

} // namespace siplib

#endif
