#include "siplib/uri_text.h"

#include "siplib/sip_chars.h"
#include "siplib/sip_params.h"

#include <arpa/inet.h>
#include <cstring>

namespace siplib {
namespace {

bool is_alpha(char c)
{
    return lower(c) >= 'a' && lower(c) <= 'z';
}

// inet_pton wants a zero-terminated text; nothing longer than its buffer is an address.
bool is_ip_address(int family, std::string_view text)
{
    char copy[INET6_ADDRSTRLEN] = {};
    unsigned char address[sizeof(in6_addr)];
    if (text.size() >= sizeof copy) return false;
    std::memcpy(copy, text.data(), text.size());
    return inet_pton(family, copy, address) == 1;
}

bool is_label(std::string_view text)
{
    return only_chars(text, chars_label, false) && text.front() != '-' && text.back() != '-';
}

// hostname = *( domainlabel "." ) toplabel [ "." ]; the last label starts with a letter, which keeps
// broken IPv4 addresses from passing as names.
bool is_host_name(std::string_view text)
{
    if (!text.empty() && text.back() == '.') text.remove_suffix(1);
    for (std::size_t dot = text.find('.'); dot != text.npos; dot = text.find('.')) {
        if (!is_label(text.substr(0, dot))) return false;
        text.remove_prefix(dot + 1);
    }
    return is_label(text) && is_alpha(text.front());
}

bool is_host(std::string_view text)
{
    if (text.empty()) return false;
    if (text.front() == '[')
        return text.back() == ']' && is_ip_address(AF_INET6, text.substr(1, text.size() - 2));
    return (is_digit(text.back()) && is_ip_address(AF_INET, text)) || is_host_name(text);
}

bool split_userinfo(std::string_view text, UriParts& parts)
{
    const std::size_t colon = text.find(':');
    if (colon != text.npos) {
        const std::string_view password = text.substr(colon + 1);
        if (!password.empty() && !only_chars(password, chars_password, true)) return false;
        text = text.substr(0, colon);
    }
    parts.user = text;
    return only_chars(text, chars_user, true);
}

std::string_view take_until(std::string_view& rest, std::string_view ends)
{
    const std::string_view taken = rest.substr(0, first_of(rest, ends));
    rest.remove_prefix(taken.size());
    return taken;
}

// hostport: whatever stands where a port belongs is kept, so that its reader can tell "no usable port"
// from "not an address".
bool split_hostport(std::string_view& rest, UriParts& parts)
{
    if (!rest.empty() && rest.front() == '[') {
        const std::size_t end = rest.find(']');
        if (end == rest.npos) return false;
        parts.host = rest.substr(0, end + 1);
        rest.remove_prefix(end + 1);
    } else {
        parts.host = take_until(rest, ":;?");
    }
    if (!is_host(parts.host)) return false;
    parts.has_port = !rest.empty() && rest.front() == ':';
    if (!parts.has_port) return true;
    rest.remove_prefix(1);
    parts.port = take_until(rest, ";?");
    return parts.port.empty() || only_chars(parts.port, chars_uri, true);
}

void split_params(std::string_view& rest, UriParts& parts)
{
    parts.params = rest.substr(0, params_length(rest, ParamKind::uri));
    rest.remove_prefix(parts.params.size());
}

bool split_sip(std::string_view rest, UriParts& parts)
{
    // Only the user information ends in an "@", and no other part may hold one unescaped.
    const std::size_t at = rest.find('@');
    if (at != rest.npos) {
        if (!split_userinfo(rest.substr(0, at), parts)) return false;
        rest.remove_prefix(at + 1);
    }
    if (!split_hostport(rest, parts)) return false;
    split_params(rest, parts);
    return rest.empty() || (rest.front() == '?' && only_chars(rest.substr(1), chars_header, true));
}

bool split_tel(std::string_view rest, UriParts& parts)
{
    parts.user = take_until(rest, ";");
    if (!only_chars(parts.user, chars_phone, false)) return false;
    split_params(rest, parts);
    return rest.empty();
}

struct SchemeRow {
    const char* name;
    UriParts::Kind kind;
};
constexpr SchemeRow schemes[] = {
    {"sip", UriParts::Kind::sip},
    {"sips", UriParts::Kind::sips},
    {"tel", UriParts::Kind::tel},
};

UriParts::Kind kind_of(std::string_view scheme)
{
    for (const SchemeRow& row : schemes)
        if (same_name(row.name, scheme)) return row.kind;
    return UriParts::Kind::other;
}

bool is_scheme(std::string_view text)
{
    if (text.empty() || !is_alpha(text.front())) return false;
    for (const char c : text)
        if (!is_alpha(c) && !is_digit(c) && c != '+' && c != '-' && c != '.') return false;
    return true;
}

} // namespace

bool split_uri(std::string_view text, UriParts& parts)
{
    const std::size_t colon = text.find(':');
    if (colon == text.npos || !is_scheme(text.substr(0, colon))) return false;
    UriParts read;
    read.text = text;
    read.scheme = text.substr(0, colon);
    read.kind = kind_of(read.scheme);
    const std::string_view rest = text.substr(colon + 1);

    bool good = false;
    switch (read.kind) {
    case UriParts::Kind::sip:
    case UriParts::Kind::sips: good = split_sip(rest, read); break;
    case UriParts::Kind::tel: good = split_tel(rest, read); break;
    case UriParts::Kind::other: good = only_chars(rest, chars_uri, true); break;
    }
    if (good) parts = read;
    return good;
}

int port_number(std::string_view text)
{
    int port = 0;
    for (const char c : text) {
        if (!is_digit(c)) return 0;
        port = port * 10 + (c - '0');
        if (port > 65535) return 0;
    }
    return port;
}

} // namespace siplib
