// Text and number helpers that every folder of the framework shares.
#ifndef IMSUA_TEXT_H_INCLUDED
#define IMSUA_TEXT_H_INCLUDED

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace imsua {

// A null text is an empty one: safe to hand to std::string.
inline const char* text(const char* p)
{
    return p ? p : "";
}

// A null text as the log shows it.
inline const char* shown(const char* p)
{
    return p ? p : "(null)";
}

// Decimal value of the leading digits, as atoi reads them, on every host alike: leading blanks and one
// sign are accepted, no digits give 0, and a value beyond int saturates to INT_MIN or INT_MAX (where
// atoi's behaviour is undefined and differs between 32- and 64-bit hosts).
inline int IMS_atoi(const char* p)
{
    const int saved = errno;
    const long value = std::strtol(text(p), nullptr, 10);
    errno = saved;
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

} // namespace imsua

#endif
