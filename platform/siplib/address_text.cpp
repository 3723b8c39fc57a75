#include "siplib/address_text.h"

#include "siplib/sip_chars.h"
#include "siplib/sip_params.h"

namespace siplib {
namespace {

struct HeaderGrammar {
    const char* name;
    const char* compact; // RFC 3261 section 7.3.3, or ""
    bool list;
    bool bare_params_are_uri;
};

constexpr HeaderGrammar grammars[] = {
    {"From", "f", false, false},
    {"To", "t", false, false},
    {"Reply-To", "", false, false},
    {"Refer-To", "r", false, false},
    {"Referred-By", "b", false, false},
    {"Contact", "m", true, false},
    {"Route", "", true, true},
    {"Record-Route", "", true, true},
    {"Path", "", true, true},                // RFC 3327
    {"Service-Route", "", true, true},       // RFC 3608
    {"P-Asserted-Identity", "", true, true}, // RFC 3325: no header parameters at all
    {"P-Preferred-Identity", "", true, true},
};
constexpr HeaderGrammar any_other = {"", "", true, false};

const HeaderGrammar& grammar_of(std::string_view header)
{
    for (const HeaderGrammar& row : grammars)
        if (same_name(header, row.name) || (row.compact[0] && same_name(header, row.compact))) return row;
    return any_other;
}

// The display name at the start of `text` with the blanks after it: one quoted string, or words.
std::size_t display_length(std::string_view text)
{
    const std::size_t quoted = quoted_length(text);
    if (quoted > 0)
        return quoted + (text.size() - quoted - without_leading_blanks(text.substr(quoted)).size());
    std::size_t n = 0;
    while (n < text.size() && (in_set(text[n], chars_token) || is_blank(text[n])))
        ++n;
    return n;
}

// [display-name] <URI>. `rest` is left after the bracket.
bool take_bracketed(std::string_view& rest, std::size_t display, AddressParts& parts)
{
    const std::size_t close = rest.find('>', display);
    if (close == rest.npos) return false;
    parts.display = without_blanks(rest.substr(0, display));
    if (!split_uri(rest.substr(display + 1, close - display - 1), parts.uri)) return false;
    rest.remove_prefix(close + 1);
    return true;
}

bool take_bare(std::string_view& rest, std::string_view ends, AddressParts& parts)
{
    const std::string_view uri = rest.substr(0, first_of(rest, ends));
    rest.remove_prefix(uri.size());
    return split_uri(uri, parts.uri);
}

} // namespace

bool split_address(std::string_view header, std::string_view value, AddressParts& parts)
{
    if (leading_chars(value, chars_unbroken) < value.size()) return false;
    const HeaderGrammar& grammar = grammar_of(header);
    std::string_view rest = without_leading_blanks(value);
    AddressParts read;

    const std::size_t display = display_length(rest);
    const bool bracketed = display < rest.size() && rest[display] == '<';
    const std::string_view bare_ends = grammar.bare_params_are_uri ? " \t," : " \t,;";
    if (!(bracketed ? take_bracketed(rest, display, read) : take_bare(rest, bare_ends, read))) return false;

    read.params = rest.substr(0, params_length(rest, ParamKind::header));
    rest = without_leading_blanks(rest.substr(read.params.size()));
    if (!rest.empty() && !(grammar.list && rest.front() == ',')) return false;
    parts = read;
    return true;
}

} // namespace siplib
