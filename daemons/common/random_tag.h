// Tags and Call-IDs.
#ifndef DAEMONS_COMMON_RANDOM_TAG_H_INCLUDED
#define DAEMONS_COMMON_RANDOM_TAG_H_INCLUDED

#include <string>

// 16 hexadecimal digits that nobody can guess (RFC 3261 19.3 wants 32 random bits; these are 64).
// *Thread* any.
std::string random_tag();

#endif
