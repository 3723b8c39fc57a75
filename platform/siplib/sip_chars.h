// The character sets of RFC 3261 section 25.1, as one table.
//
// Thread   any: constant data.
// Memory   none.
// Errors   none: every byte, also beyond ASCII, is in some sets or in none.
#ifndef SIPLIB_SIP_CHARS_H_INCLUDED
#define SIPLIB_SIP_CHARS_H_INCLUDED

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace siplib {

// A set of characters. The sets of a URI also hold escaped characters ("%41"), see only_chars().
enum CharSet : std::uint16_t {
    chars_token = 1,     // token: methods, parameter names, words of a display name
    chars_user = 2,      // user: unreserved and user-unreserved
    chars_password = 4,  // password
    chars_uri_param = 8, // paramchar: names and values of URI parameters
    chars_header = 16,   // hnv-unreserved, with the "=" and "&" between the headers of a URI
    chars_value = 32,    // an unquoted value of a header parameter: token or host, and what URIs put there
    chars_phone = 64,    // a telephone number with its visual separators (RFC 3966 section 3)
    chars_uri = 128,     // uric: any other URI (RFC 2396 section 2)
    chars_label = 256,   // a label of a host name, and the underscore that private networks use
    chars_hex = 512,
    chars_line = 1024, // what a header value may hold: no control character but a tab, anything beyond ASCII
    chars_bare = 2048, // of these, what needs no brackets and no quotes: no blank, "<", ">" or quote
    chars_unbroken = 4096 // anything but CR, LF and NUL
};

// Which sets each byte is in.
extern const std::array<std::uint16_t, 256> char_sets;

// True if `c` is in `set`.
inline bool in_set(char c, CharSet set)
{
    return (char_sets[static_cast<unsigned char>(c)] & set) != 0;
}

// True if `text` is not empty and holds nothing but characters of `set`. With `escapes`, a "%" must be
// followed by two hexadecimal digits and is allowed in every set.
bool only_chars(std::string_view text, CharSet set, bool escapes);

// The number of leading characters of `text` that are in `set`.
std::size_t leading_chars(std::string_view text, CharSet set);

// Where the first of the few characters in `wanted` stands in `text`; npos without one. string_view's own
// search calls memchr for every character of `text`, which is most of the work on texts as short as SIP's.
inline std::size_t first_of(std::string_view text, std::string_view wanted)
{
    for (std::size_t i = 0; i < text.size(); ++i)
        for (const char c : wanted)
            if (text[i] == c) return i;
    return std::string_view::npos;
}

inline bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}
inline bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}
std::string_view without_leading_blanks(std::string_view text);
std::string_view without_blanks(std::string_view text); // at both ends

// ASCII only and independent of the locale, as SIP compares names (RFC 3261 section 7.3.1).
inline char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
inline bool same_name(std::string_view a, std::string_view b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i] && lower(a[i]) != lower(b[i])) return false;
    return true;
}

} // namespace siplib

#endif
