#include "siplib/plain_value.h"

#include "siplib/sip_chars.h"

namespace siplib {
namespace {

bool starts_with(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

// At least one letter, digit, '-', '.' or '_': the characters that are in every set of the grammar.
bool take_word(std::string_view& rest)
{
    std::size_t n = 0;
    while (n < rest.size() && (in_set(rest[n], chars_label) || rest[n] == '.'))
        ++n;
    rest.remove_prefix(n);
    return n > 0;
}

bool take(std::string_view& rest, char c)
{
    if (rest.empty() || rest.front() != c) return false;
    rest.remove_prefix(1);
    return true;
}

bool take_digits(std::string_view& rest, std::size_t most)
{
    std::size_t n = 0;
    while (n < rest.size() && is_digit(rest[n]))
        ++n;
    rest.remove_prefix(n);
    return n > 0 && n <= most;
}

bool is_word(std::string_view value)
{
    return take_word(value) && value.empty();
}

// word [separator word]
bool is_pair(std::string_view value, char separator, bool both)
{
    if (!take_word(value)) return false;
    if (!take(value, separator)) return !both && value.empty();
    return is_word(value);
}

bool is_delta_seconds(std::string_view value)
{
    return take_digits(value, 9) && value.empty();
}

bool is_address(std::string_view value)
{
    if (!starts_with(value, "<sip:")) return false;
    value.remove_prefix(5);
    if (!take_word(value) || (take(value, '@') && !take_word(value))) return false;
    if (take(value, ':') && !take_digits(value, 5)) return false;
    while (take(value, ';'))
        if (!take_word(value) || (take(value, '=') && !take_word(value))) return false;
    if (!take(value, '>')) return false;
    return value.empty() || (starts_with(value, ";tag=") && is_word(value.substr(5)));
}

} // namespace

bool is_plain_value(std::string_view header, std::string_view value)
{
    if (header == "From" || header == "To" || header == "Contact") return is_address(value);
    if (header == "Event" || header == "Subscription-State") return is_word(value);
    if (header == "Expires") return is_delta_seconds(value);
    if (header == "Content-Type") return is_pair(value, '/', true);
    return header == "Call-ID" && is_pair(value, '@', false);
}

} // namespace siplib
