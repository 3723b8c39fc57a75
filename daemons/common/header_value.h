// SIP header values of the form "value;name=value;name", and lists of them (RFC 3261 7.3.1, 25.1).
//
// Thread   any; nothing is shared.
// Errors   come back as false; outputs are then untouched.
#ifndef DAEMONS_COMMON_HEADER_VALUE_H_INCLUDED
#define DAEMONS_COMMON_HEADER_VALUE_H_INCLUDED

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// One value taken apart. `value` is the part before the first parameter, without blanks around it; an
// address keeps its brackets: the parameters inside them are the URI's, not the header's.
struct Header_value {
    std::string value;
    std::vector<std::pair<std::string, std::string>> parameters; // in order; a flag has an empty text

    // The text of parameter `name` (names ignore case); null if absent. Lives as long as this object.
    const std::string* parameter(const char* name) const;
};

// False for an empty value, a nameless parameter, or a quote or bracket that does not end.
bool parse_header_value(const std::string& text, Header_value& out);

// The elements of a comma-separated list, without blanks around them; commas in quotes or brackets do not
// separate. Empty elements are left out.
std::vector<std::string> split_list(const std::string& text);

// Seconds as in Expires and Retry-After: digits only, blanks around them allowed; 2^32-1 for anything
// larger (RFC 3261 20.19).
bool parse_seconds(const std::string& text, std::uint32_t& out);

// The "tag" parameter of a From or To value; "" when there is none or the value is broken.
std::string tag_of(const std::string& address);

// The URI of an address value: the text in brackets, or a bare URI without its parameters (RFC 3261 20.10:
// without brackets they are header parameters). "" when there is none.
std::string uri_of(const std::string& address);

#endif
