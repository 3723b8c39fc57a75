// Takes a URI apart by the grammar of RFC 3261 section 25.1: sip and sips whole, tel (RFC 3966) as number and
// parameters, any other scheme as a checked, opaque text.
//
// Thread   any: no state.
// Memory   allocates nothing; the parts are views into the caller's text.
// Errors   come back as false.
#ifndef SIPLIB_URI_TEXT_H_INCLUDED
#define SIPLIB_URI_TEXT_H_INCLUDED

#include <string_view>

namespace siplib {

struct UriParts {
    enum class Kind { sip, sips, tel, other };
    Kind kind = Kind::other;
    std::string_view text;   // the whole URI as written
    std::string_view scheme; // as written, without the colon
    std::string_view user;   // escapes kept, without password; of a tel URI the number
    std::string_view host;   // name, IPv4 address, or IPv6 address in its brackets
    bool has_port = false;   // a colon stands after the host
    std::string_view port;   // the text after it: not necessarily a port number, see port_number()
    std::string_view params; // ";name=value;flag", well-formed
};

// False when `text` is not one whole URI, or a sip or sips URI has no host; `parts` is then as it was.
bool split_uri(std::string_view text, UriParts& parts);

// 1 to 65535, or 0 when `text` is not a port number in decimal digits.
int port_number(std::string_view text);

} // namespace siplib

#endif
