// Small readers of SIP text that need no stack: tokens, header names, parameters, URIs.
//
// Thread   pure functions.
// Memory   results that are views point into the text that was given.
// Errors   false, or an empty view.
#ifndef SIPLIB_SIP_TEXT_H_INCLUDED
#define SIPLIB_SIP_TEXT_H_INCLUDED

#include "siplib/sip_chars.h"

#include <string>
#include <string_view>

namespace siplib {

constexpr std::size_t max_message_size = 16 * 1024; // a whole message on the wire

// Equality without case, ASCII only.
inline bool same_word(std::string_view a, std::string_view b)
{
    return same_name(a, b);
}

// token of RFC 3261 section 25.1: what a method and a header name are made of. Not empty.
bool is_token(std::string_view text);

// CR, LF, NUL or another control character that would end or corrupt a header line (a tab is fine).
bool has_control(std::string_view text);

std::string_view trimmed(std::string_view text);

// The full name of a header given in compact form (RFC 3261 section 7.3.3 and the IANA registry); any other
// name comes back as it is.
std::string_view full_header_name(std::string_view name);

// Whether two header names mean the same header.
inline bool same_header(std::string_view a, std::string_view b)
{
    const bool both_long = a.size() != 1 && b.size() != 1;
    return both_long ? same_word(a, b) : same_word(full_header_name(a), full_header_name(b));
}

// Whether a message carries the header at most once and its value is no list.
bool is_single_header(std::string_view name);

// The URI inside a name-addr or addr-spec value: without display name, brackets and header parameters.
std::string_view uri_in(std::string_view value);

// The header parameters of a name-addr or addr-spec value, from the first semicolon on; may be empty.
std::string_view parameters_in(std::string_view value);

// Finds parameter `name` in a list ";a=b;c"; true when it is there. The value is empty for a flag.
bool find_parameter(std::string_view list, std::string_view name, std::string_view& value);

// The tag of a From or To value; empty when there is none.
std::string_view tag_in(std::string_view value);

// A SIP URI taken apart: views into the text that was read. Scheme and transport stand as they were written.
struct Uri {
    std::string_view text; // the whole, without brackets
    std::string_view scheme;
    std::string_view host;      // without the brackets of an IPv6 reference
    int port = 0;               // 0 = none given
    std::string_view transport; // empty = none given
    bool loose_route = false;
};

// Reads a bare URI or one in angle brackets. False, and `uri` as it was, for anything that is no sip, sips or
// tel URI with what it needs: a host of letters, digits, '-', '.', '_' or an IPv6 reference, a port of
// 1..65535.
bool read_uri(std::string_view text, Uri& uri);

// Decimal digits only, 0..limit.
bool read_number(std::string_view digits, long limit, long& value);

} // namespace siplib

#endif
