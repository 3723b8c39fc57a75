// Parameters ";name=value" of URIs and of headers, and quoted strings (RFC 3261
// sections 7.3.1, 19.1.1, 25.1).
//
// Thread   any: no state.
// Memory   what is read are views into the caller's text; what is written goes to a caller's string.
// Errors   come back as false. May throw std::bad_alloc where a std::string is written.
#ifndef SIPLIB_SIP_PARAMS_H_INCLUDED
#define SIPLIB_SIP_PARAMS_H_INCLUDED

#include <string>
#include <string_view>

namespace siplib {

// URI parameters allow escapes, but no blanks and no quotes; header parameters the other way round.
enum class ParamKind { uri, header };

struct Param {
    std::string_view name;
    std::string_view value; // as written, with its quotes; empty for a flag such as ";lr"
};

// Takes the first parameter off `rest`, which starts with its semicolon (blanks before it are skipped in
// headers). False when there is none or it is malformed: `rest` and `param` are then as they were.
bool take_param(std::string_view& rest, ParamKind kind, Param& param);

// The length of the parameters at the start of `text`: everything up to the first character that does not
// belong to a well-formed parameter.
std::size_t params_length(std::string_view text, ParamKind kind);

// The first parameter called `name` in well-formed `params`. False when there is none.
bool find_param(std::string_view params, ParamKind kind, std::string_view name, Param& found);

// The length of the quoted string at the start of `text`, quotes included; 0 when there is none.
std::size_t quoted_length(std::string_view text);

// The text inside a well-formed quoted string, its escapes resolved; any other text unchanged.
std::string unquoted(std::string_view text);

// `text` as a quoted string. The caller has made sure that it holds no CR, LF or NUL.
std::string in_quotes(std::string_view text);

} // namespace siplib

#endif
