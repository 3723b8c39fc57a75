// Random identifiers: tags and Call-IDs (RFC 3261 sections 8.1.1.4 and 19.3).
//
// Thread   any.
#ifndef SIPLIB_RANDOM_TEXT_H_INCLUDED
#define SIPLIB_RANDOM_TEXT_H_INCLUDED

#include <string>

namespace siplib {

// `digits` hexadecimal digits, 4 bits of the kernel's randomness each. At most 64.
std::string random_text(unsigned digits);

// Forgets what was drawn in advance: a forked child must not repeat its parent's.
void renew_randomness();

} // namespace siplib

#endif
