#include "siplib/sip_text.h"

#include <algorithm>

namespace siplib {
namespace {

bool is_alphanumeric(char c)
{
    return is_digit(c) || (lower(c) >= 'a' && lower(c) <= 'z');
}

struct Compact {
    char letter;
    const char* name;
};
constexpr Compact compact_names[] = {
    {'a', "Accept-Contact"},
    {'b', "Referred-By"},
    {'c', "Content-Type"},
    {'d', "Request-Disposition"},
    {'e', "Content-Encoding"},
    {'f', "From"},
    {'i', "Call-ID"},
    {'j', "Reject-Contact"},
    {'k', "Supported"},
    {'l', "Content-Length"},
    {'m', "Contact"},
    {'n', "Identity-Info"},
    {'o', "Event"},
    {'r', "Refer-To"},
    {'s', "Subject"},
    {'t', "To"},
    {'u', "Allow-Events"},
    {'v', "Via"},
    {'x', "Session-Expires"},
    {'y', "Identity"},
};

constexpr const char* single_headers[] = {
    "From",         "To",
    "Call-ID",      "CSeq",
    "Event",        "Max-Forwards",
    "Expires",      "Content-Length",
    "Date",         "Content-Type",
    "Priority",     "Subscription-State",
    "Subject",      "Content-Disposition",
    "Refer-To",     "Referred-By",
    "Replaces",     "Session-Expires",
    "Min-SE",       "Min-Expires",
    "RSeq",         "RAck",
    "Server",       "User-Agent",
    "MIME-Version",
};

// Where the angle bracket of a name-addr opens; npos in an addr-spec. Quoted display names are skipped.
std::size_t opening_bracket(std::string_view value)
{
    bool quoted = false;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (quoted && c == '\\')
            ++i;
        else if (c == '"')
            quoted = !quoted;
        else if (!quoted && c == '<')
            return i;
    }
    return std::string_view::npos;
}

// The end of the parameter that starts at `from`: the next semicolon outside quotes, or the end.
std::size_t parameter_end(std::string_view list, std::size_t from)
{
    bool quoted = false;
    for (std::size_t i = from; i < list.size(); ++i) {
        if (quoted && list[i] == '\\')
            ++i;
        else if (list[i] == '"')
            quoted = !quoted;
        else if (!quoted && list[i] == ';')
            return i;
    }
    return list.size();
}

bool is_host_name(std::string_view host)
{
    return !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
        return is_alphanumeric(c) || c == '-' || c == '.' || c == '_';
    });
}

bool is_ipv6_text(std::string_view host)
{
    return std::count(host.begin(), host.end(), ':') >= 2 &&
           std::all_of(host.begin(), host.end(), [](char c) {
               return is_digit(c) || (lower(c) >= 'a' && lower(c) <= 'f') || c == ':' || c == '.';
           });
}

// host [":" port], also "[v6]:port".
bool read_host_port(std::string_view text, Uri& uri)
{
    std::string_view host;
    std::string_view rest;
    if (!text.empty() && text[0] == '[') {
        const auto end = text.find(']');
        if (end == std::string_view::npos) return false;
        host = text.substr(1, end - 1);
        rest = text.substr(end + 1);
        if (!is_ipv6_text(host)) return false;
    } else {
        const auto colon = text.find(':');
        host = text.substr(0, colon);
        rest = colon == std::string_view::npos ? std::string_view() : text.substr(colon);
        if (!is_host_name(host)) return false;
    }
    if (!rest.empty()) {
        long port = 0;
        if (rest[0] != ':' || !read_number(rest.substr(1), 65535, port) || port == 0) return false;
        uri.port = static_cast<int>(port);
    }
    uri.host = host;
    return true;
}

bool read_sip_part(std::string_view rest, Uri& uri)
{
    const auto query = rest.find('?');
    const std::string_view plain = rest.substr(0, query);
    // The user part may hold semicolons and question marks, but no '@' follows it.
    const auto at = rest.find('@');
    const std::string_view after_user = at == std::string_view::npos ? plain : rest.substr(at + 1);
    if (at == 0) return false;
    const auto end = first_of(after_user, ";?");
    if (!read_host_port(after_user.substr(0, end), uri)) return false;
    if (end == std::string_view::npos || after_user[end] != ';') return true;
    std::string_view list = after_user.substr(end);
    list = list.substr(0, list.find('?'));
    std::string_view value;
    if (find_parameter(list, "transport", value)) uri.transport = value;
    if (find_parameter(list, "maddr", value) && is_host_name(value)) uri.host = value;
    uri.loose_route = find_parameter(list, "lr", value);
    return true;
}

} // namespace

bool is_token(std::string_view text)
{
    return only_chars(text, chars_token, false);
}

bool has_control(std::string_view text)
{
    return leading_chars(text, chars_line) < text.size();
}

std::string_view trimmed(std::string_view text)
{
    const auto is_space = [](char c) { return is_blank(c) || c == '\r' || c == '\n'; };
    while (!text.empty() && is_space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_space(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view full_header_name(std::string_view name)
{
    if (name.size() != 1) return name;
    for (const Compact& row : compact_names)
        if (row.letter == lower(name[0])) return row.name;
    return name;
}

bool is_single_header(std::string_view name)
{
    return std::any_of(std::begin(single_headers), std::end(single_headers),
                       [name](const char* single) { return same_header(name, single); });
}

std::string_view uri_in(std::string_view value)
{
    value = trimmed(value);
    const auto open = opening_bracket(value);
    if (open == std::string_view::npos) return trimmed(value.substr(0, value.find(';')));
    const auto close = value.find('>', open);
    if (close == std::string_view::npos) return {};
    return trimmed(value.substr(open + 1, close - open - 1));
}

std::string_view parameters_in(std::string_view value)
{
    const auto open = opening_bracket(value);
    const auto from = open == std::string_view::npos ? 0 : value.find('>', open);
    if (from == std::string_view::npos) return {};
    const auto semicolon = value.find(';', from);
    return semicolon == std::string_view::npos ? std::string_view() : value.substr(semicolon);
}

bool find_parameter(std::string_view list, std::string_view name, std::string_view& value)
{
    std::size_t at = 0;
    while (at < list.size()) {
        if (list[at] == ';') ++at;
        const std::size_t end = parameter_end(list, at);
        const std::string_view one = list.substr(at, end - at);
        const auto equals = one.find('=');
        if (same_word(trimmed(one.substr(0, equals)), name)) {
            value = equals == std::string_view::npos ? std::string_view() : trimmed(one.substr(equals + 1));
            return true;
        }
        at = end;
        if (at < list.size()) ++at;
    }
    return false;
}

std::string_view tag_in(std::string_view value)
{
    // Nearly always a tag is the only parameter behind the bracket.
    constexpr std::string_view only = ">;tag=";
    const auto close = value.rfind('>');
    if (close != std::string_view::npos && value.substr(close, only.size()) == only) {
        const std::string_view rest = value.substr(close + only.size());
        if (is_token(rest)) return rest;
    }
    std::string_view tag;
    find_parameter(parameters_in(value), "tag", tag);
    return tag;
}

bool read_number(std::string_view digits, long limit, long& value)
{
    if (digits.empty() || digits.size() > 10) return false;
    long long sum = 0;
    for (char c : digits) {
        if (!is_digit(c)) return false;
        sum = sum * 10 + (c - '0');
    }
    if (sum > limit) return false;
    value = static_cast<long>(sum);
    return true;
}

bool read_uri(std::string_view text, Uri& uri)
{
    Uri found;
    text = trimmed(text);
    if (!text.empty() && text.front() == '<') {
        if (text.back() != '>') return false;
        text = text.substr(1, text.size() - 2);
    }
    if (leading_chars(text, chars_bare) < text.size()) return false;
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return false;
    found.text = text;
    found.scheme = text.substr(0, colon);
    const std::string_view rest = text.substr(colon + 1);
    const bool is_sip = same_word(found.scheme, "sip") || same_word(found.scheme, "sips");
    const bool good = is_sip ? read_sip_part(rest, found) : same_word(found.scheme, "tel") && !rest.empty();
    if (!good) return false;
    uri = found;
    return true;
}

} // namespace siplib
