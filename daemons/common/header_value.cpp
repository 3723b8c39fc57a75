#include "daemons/common/header_value.h"

#include <strings.h>

namespace {

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string trimmed(const std::string& text, std::size_t from, std::size_t to)
{
    while (from < to && is_blank(text[from]))
        ++from;
    while (to > from && is_blank(text[to - 1]))
        --to;
    return text.substr(from, to - from);
}

// The first `mark` at or after `from` that stands outside quotes and brackets; the text's size if there is
// none; npos when a quote or a bracket does not end.
std::size_t find_outside(const std::string& text, std::size_t from, char mark)
{
    bool quoted = false;
    bool bracketed = false;
    for (std::size_t i = from; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                quoted = false;
        } else if (bracketed) {
            bracketed = c != '>';
        } else if (c == mark) {
            return i;
        } else {
            quoted = c == '"';
            bracketed = c == '<';
        }
    }
    return quoted || bracketed ? std::string::npos : text.size();
}

// A quoted string without its quotes and escapes; any other text as it is.
std::string unquoted(const std::string& text)
{
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return text;
    std::string plain;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == '\\' && i + 2 < text.size()) ++i;
        plain += text[i];
    }
    return plain;
}

bool add_parameter(const std::string& text, std::size_t from, std::size_t to, Header_value& out)
{
    const std::size_t equals = text.find('=', from);
    const std::size_t name_end = equals < to ? equals : to;
    std::string name = trimmed(text, from, name_end);
    if (name.empty() || name.front() == '"') return false;
    out.parameters.emplace_back(std::move(name),
                                equals < to ? unquoted(trimmed(text, equals + 1, to)) : std::string());
    return true;
}

} // namespace

const std::string* Header_value::parameter(const char* name) const
{
    for (const auto& entry : parameters)
        if (::strcasecmp(entry.first.c_str(), name) == 0) return &entry.second;
    return nullptr;
}

bool parse_header_value(const std::string& text, Header_value& out)
{
    std::size_t end = find_outside(text, 0, ';');
    if (end == std::string::npos) return false;
    Header_value parsed;
    parsed.value = trimmed(text, 0, end);
    if (parsed.value.empty()) return false;
    while (end < text.size()) {
        const std::size_t from = end + 1;
        end = find_outside(text, from, ';');
        if (end == std::string::npos || !add_parameter(text, from, end, parsed)) return false;
    }
    out = std::move(parsed);
    return true;
}

std::vector<std::string> split_list(const std::string& text)
{
    std::vector<std::string> list;
    for (std::size_t from = 0; from <= text.size();) {
        std::size_t end = find_outside(text, from, ',');
        if (end == std::string::npos) end = text.size(); // the rest, for its reader to refuse
        std::string element = trimmed(text, from, end);
        if (!element.empty()) list.push_back(std::move(element));
        from = end + 1;
    }
    return list;
}

bool parse_seconds(const std::string& text, std::uint32_t& out)
{
    const std::string digits = trimmed(text, 0, text.size());
    if (digits.empty()) return false;
    std::uint64_t value = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + static_cast<std::uint64_t>(c - '0');
        if (value > UINT32_MAX) value = UINT32_MAX;
    }
    out = static_cast<std::uint32_t>(value);
    return true;
}

std::string tag_of(const std::string& address)
{
    Header_value parsed;
    if (!parse_header_value(address, parsed)) return {};
    const std::string* tag = parsed.parameter("tag");
    return tag != nullptr ? *tag : std::string();
}

std::string uri_of(const std::string& address)
{
    Header_value parsed;
    if (!parse_header_value(address, parsed)) return {};
    const std::size_t open = find_outside(parsed.value, 0, '<');
    if (open >= parsed.value.size()) return parsed.value;
    return trimmed(parsed.value, open + 1, parsed.value.find('>', open));
}
