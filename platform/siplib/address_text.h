// Takes the value of an address header apart: [display-name] <URI> or a bare URI, then parameters
// (RFC 3261 sections 20.10, 25.1).
//
// Thread   any: no state.
// Memory   allocates nothing; the parts are views into the caller's text.
// Errors   come back as false.
#ifndef SIPLIB_ADDRESS_TEXT_H_INCLUDED
#define SIPLIB_ADDRESS_TEXT_H_INCLUDED

#include "siplib/uri_text.h"

#include <string_view>

namespace siplib {

struct AddressParts {
    std::string_view display; // as written, with its quotes if it has them; empty for none
    UriParts uri;
    std::string_view params; // header parameters ";name=value;flag", well-formed, blanks as written
};

// Reads `value` as the value of header `header` (full or compact name, any case). The name decides
//   - to whom the parameters of a bare URI belong. By RFC 3261 section 20.10 to the header; in Route and its
//   kin,
//     which have no bare form, "sip:proxy;lr" can only mean the URI, and ";lr" must not leave it.
//   - whether a comma may follow. Of a list the first address is read and the rest is not looked at.
// False when `value` is not an address, is "*", or holds CR, LF or NUL; `parts` is then as it was.
bool split_address(std::string_view header, std::string_view value, AddressParts& parts);

} // namespace siplib

#endif
