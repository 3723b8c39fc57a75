#include "siplib/sip_params.h"

#include "siplib/sip_chars.h"

namespace siplib {
namespace {

// qdtext: anything printable but the quote and the backslash, blanks, and all of UTF-8 beyond ASCII.
bool is_plain_in_quotes(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte != 0x7F && c != '"' && c != '\\') || c == '\t';
}

// quoted-pair: a backslash before any ASCII character but CR and LF. We allow no NUL: it would end the
// value for every reader of C strings.
bool may_follow_backslash(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && c != '\r' && c != '\n' && c != '\0';
}

std::size_t uri_chars(std::string_view text)
{
    std::size_t n = 0;
    while (n < text.size() && (in_set(text[n], chars_uri_param) || text[n] == '%'))
        ++n;
    return only_chars(text.substr(0, n), chars_uri_param, true) ? n : 0;
}

std::size_t name_length(std::string_view text, ParamKind kind)
{
    return kind == ParamKind::uri ? uri_chars(text) : leading_chars(text, chars_token);
}

std::size_t value_length(std::string_view text, ParamKind kind)
{
    if (kind == ParamKind::uri) return uri_chars(text);
    return !text.empty() && text.front() == '"' ? quoted_length(text) : leading_chars(text, chars_value);
}

std::string_view skip_blanks(std::string_view text, ParamKind kind)
{
    return kind == ParamKind::header ? without_leading_blanks(text) : text;
}

} // namespace

bool take_param(std::string_view& rest, ParamKind kind, Param& param)
{
    std::string_view text = skip_blanks(rest, kind);
    if (text.empty() || text.front() != ';') return false;
    text = skip_blanks(text.substr(1), kind);
    Param read;
    read.name = text.substr(0, name_length(text, kind));
    if (read.name.empty()) return false;
    text.remove_prefix(read.name.size());

    const std::string_view after_name = skip_blanks(text, kind);
    if (!after_name.empty() && after_name.front() == '=') {
        text = skip_blanks(after_name.substr(1), kind);
        read.value = text.substr(0, value_length(text, kind));
        if (read.value.empty()) return false;
        text.remove_prefix(read.value.size());
    }
    rest = text;
    param = read;
    return true;
}

std::size_t params_length(std::string_view text, ParamKind kind)
{
    std::string_view rest = text;
    Param ignored;
    while (take_param(rest, kind, ignored)) {
    }
    return text.size() - rest.size();
}

bool find_param(std::string_view params, ParamKind kind, std::string_view name, Param& found)
{
    Param param;
    while (take_param(params, kind, param)) {
        if (!same_name(param.name, name)) continue;
        found = param;
        return true;
    }
    return false;
}

std::size_t quoted_length(std::string_view text)
{
    if (text.empty() || text.front() != '"') return 0;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '"') return i + 1;
        if (text[i] == '\\') {
            if (++i == text.size() || !may_follow_backslash(text[i])) return 0;
        } else if (!is_plain_in_quotes(text[i])) {
            return 0;
        }
    }
    return 0;
}

std::string unquoted(std::string_view text)
{
    if (text.empty() || quoted_length(text) != text.size()) return std::string(text);
    text = text.substr(1, text.size() - 2);
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\') ++i;
        plain += text[i];
    }
    return plain;
}

std::string in_quotes(std::string_view text)
{
    std::string result;
    result.reserve(text.size() + 2);
    result += '"';
    for (const char c : text) {
        if (!is_plain_in_quotes(c)) result += '\\';
        result += c;
    }
    result += '"';
    return result;
}

} // namespace siplib
