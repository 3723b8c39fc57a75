#include "siplib/sip_chars.h"

namespace siplib {
namespace {

struct Row {
    const char* chars;
    unsigned sets;
};

constexpr unsigned unreserved_in =
    chars_user | chars_password | chars_uri_param | chars_header | chars_value | chars_uri;

constexpr Row rows[] = {
    {"0123456789", unreserved_in | chars_token | chars_label | chars_phone | chars_hex},
    {"ABCDEFabcdef", unreserved_in | chars_token | chars_label | chars_phone | chars_hex},
    {"GHIJKLMNOPQRSTUVWXYZghijklmnopqrstuvwxyz", unreserved_in | chars_token | chars_label},
    {"-_", unreserved_in | chars_label},
    {".!~*'()", unreserved_in},
    {"-.!%*_+`'~", chars_token | chars_value},
    {"&=+$,", chars_user | chars_password},
    {";?/", chars_user},
    {"[]/:&+$", chars_uri_param | chars_value},
    {"[]/?:+$=&", chars_header},
    {"-.()*#+", chars_phone},
    {";/?:@&=+$,[]", chars_uri},
};

constexpr std::array<std::uint16_t, 256> make_table()
{
    std::array<std::uint16_t, 256> table{};
    for (const Row& row : rows) {
        for (const char* c = row.chars; *c; ++c) {
            auto& sets = table[static_cast<unsigned char>(*c)];
            sets = static_cast<std::uint16_t>(sets | row.sets);
        }
    }
    for (unsigned c = 0; c < table.size(); ++c) {
        if (c != '\r' && c != '\n' && c != 0)
            table[c] = static_cast<std::uint16_t>(table[c] | chars_unbroken);
        if (c != '\t' && (c < 0x20 || c == 0x7f)) continue;
        const bool bare = c > ' ' && c != '<' && c != '>' && c != '"';
        table[c] = static_cast<std::uint16_t>(table[c] | chars_line | (bare ? chars_bare : 0));
    }
    return table;
}

bool is_escape(std::string_view text)
{
    return text.size() >= 3 && text[0] == '%' && in_set(text[1], chars_hex) && in_set(text[2], chars_hex);
}

} // namespace

constexpr std::array<std::uint16_t, 256> char_sets = make_table();

bool only_chars(std::string_view text, CharSet set, bool escapes)
{
    if (text.empty()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (escapes && text[i] == '%') {
            if (!is_escape(text.substr(i))) return false;
            i += 2;
        } else if (!in_set(text[i], set)) {
            return false;
        }
    }
    return true;
}

std::size_t leading_chars(std::string_view text, CharSet set)
{
    std::size_t n = 0;
    while (n < text.size() && in_set(text[n], set))
        ++n;
    return n;
}

std::string_view without_leading_blanks(std::string_view text)
{
    while (!text.empty() && is_blank(text.front()))
        text.remove_prefix(1);
    return text;
}

std::string_view without_blanks(std::string_view text)
{
    text = without_leading_blanks(text);
    while (!text.empty() && is_blank(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace siplib
