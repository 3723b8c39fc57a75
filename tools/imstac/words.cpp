#include "tools/imstac/words.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace imstac {
namespace {

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

int digit_of(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 16;
}

// The character behind a backslash at `at`, which then stands on its last character.
bool take_escape(const std::string& line, std::size_t& at, std::string& word)
{
    if (++at >= line.size()) return false;
    const char c = line[at];
    if (c == 'x') {
        if (at + 2 >= line.size()) return false;
        const int high = digit_of(line[at + 1]);
        const int low = digit_of(line[at + 2]);
        if (high > 15 || low > 15) return false;
        word += static_cast<char>(high * 16 + low);
        at += 2;
        return true;
    }
    const std::string names = "nrt\"\\";
    const auto found = names.find(c);
    if (found == std::string::npos) return false;
    word += "\n\r\t\"\\"[found];
    return true;
}

// From the opening quote at `at` to the closing one, on which `at` then stands.
bool take_quoted(const std::string& line, std::size_t& at, std::string& word, std::string& why)
{
    for (++at; at < line.size() && line[at] != '"'; ++at) {
        if (line[at] != '\\')
            word += line[at];
        else if (!take_escape(line, at, word)) {
            why = R"(after a backslash stands n, r, t, ", \ or x and two hexadecimal digits)";
            return false;
        }
    }
    if (at < line.size()) return true;
    why = "a quote does not end";
    return false;
}

} // namespace

bool split_words(const std::string& line, std::vector<std::string>& words, std::string& why)
{
    words.clear();
    for (std::size_t at = 0; at < line.size();) {
        if (is_blank(line[at])) {
            ++at;
            continue;
        }
        if (line[at] == '#') return true;
        std::string word;
        for (; at < line.size() && !is_blank(line[at]); ++at) {
            if (line[at] != '"')
                word += line[at];
            else if (!take_quoted(line, at, word, why))
                return false;
        }
        words.push_back(word);
    }
    return true;
}

bool parse_number(const std::string& text, std::uint64_t max, std::uint64_t& value)
{
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const unsigned base = hex ? 16 : 10;
    std::uint64_t sum = 0;
    for (std::size_t at = hex ? 2 : 0; at < text.size(); ++at) {
        const auto digit = static_cast<unsigned>(digit_of(text[at]));
        if (digit >= base) return false;
        sum = sum * base + digit;
        if (sum > max) return false;
    }
    if (text.empty()) return false;
    value = sum;
    return true;
}

bool parse_time(const std::string& text, std::chrono::steady_clock::duration& time)
{
    struct Unit {
        const char* name;
        double seconds;
    };
    constexpr std::array<Unit, 3> units{{{"us", 1e-6}, {"ms", 1e-3}, {"s", 1}}};
    const std::size_t end = text.find_first_not_of("0123456789.");
    if (end == std::string::npos || end == 0 || end > 12 || text.find_first_of("0123456789") >= end)
        return false;
    const std::string number = text.substr(0, end);
    if (number.find('.') != number.rfind('.')) return false;
    for (const Unit& unit : units) {
        if (text.compare(end, std::string::npos, unit.name) != 0) continue;
        const double seconds = std::strtod(number.c_str(), nullptr) * unit.seconds;
        if (seconds > 3600) return false;
        time = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
            std::chrono::duration<double>(seconds));
        return true;
    }
    return false;
}

bool parse_hex(const std::string& text, std::string& bytes)
{
    bytes.clear();
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (is_blank(text[at])) continue;
        const int high = digit_of(text[at]);
        const int low = ++at < text.size() ? digit_of(text[at]) : 16;
        if (high > 15 || low > 15) return false;
        bytes += static_cast<char>(high * 16 + low);
    }
    return true;
}

std::string hex_of(const std::string& bytes)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        text += digits[static_cast<unsigned char>(c) >> 4];
        text += digits[static_cast<unsigned char>(c) & 15];
    }
    return text;
}

std::string id_text(std::uint16_t id)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%04x", static_cast<unsigned>(id));
    return text;
}

std::string time_text(std::chrono::steady_clock::duration time)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g s", std::chrono::duration<double>(time).count());
    return text;
}

} // namespace imstac
