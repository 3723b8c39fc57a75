#include "baseuafw/IMS_utility.h"

#include "baseuafw/IMS_log.h"

#include <new>
#include <utility>

namespace {

// The pieces are collected aside, so that `text` may be one of the caller's old tokens.
std::vector<std::string> split(const std::string& text, const std::string& delimiters)
{
    std::vector<std::string> pieces;
    if (text.empty()) return pieces;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = text.find_first_of(delimiters, begin);
        if (end == std::string::npos) break;
        pieces.emplace_back(text, begin, end - begin);
        begin = end + 1;
    }
    pieces.emplace_back(text, begin);
    return pieces;
}

} // namespace

void IMS_utility::tokenize(const std::string& text, std::vector<std::string>& tokens,
                           const std::string& delimiters)
{
    try {
        tokens = split(text, delimiters);
    } catch (const std::bad_alloc&) {
        tokens.clear();
        IMS_log::loginfo(3, "tokenize", "out of memory");
    }
}

std::string IMS_utility::itostring(int value)
{
    return std::to_string(value);
}

void IMS_utility::skipspaces(std::string& text)
{
    static constexpr char blanks[] = " \t\r\n";
    const std::size_t last = text.find_last_not_of(blanks);
    text.erase(last == std::string::npos ? 0 : last + 1);
    text.erase(0, text.find_first_not_of(blanks));
}
