#include "tools/imstac/print.h"

#include "tools/imstac/words.h"

#include <cstdio>
#include <ctime>

namespace imstac {
namespace {

constexpr std::size_t BYTES_A_LINE = 16;
constexpr const char* INDENT = "                             "; // as wide as a time stamp and its gap

std::string time_stamp(std::int64_t microseconds)
{
    const std::time_t seconds = microseconds / 1000000;
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char date[64];
    char text[96];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text, sizeof text, "%s.%06dZ", date, static_cast<int>(microseconds % 1000000));
    return text;
}

std::string printable(const std::string& bytes)
{
    std::string text;
    for (const char c : bytes)
        text += c >= 0x20 && c < 0x7F ? c : '.';
    return text;
}

std::string dump_line(const std::string& bytes, std::size_t at)
{
    const std::string part = bytes.substr(at, BYTES_A_LINE);
    char place[16];
    std::snprintf(place, sizeof place, "%04x ", static_cast<unsigned>(at));
    std::string text = INDENT + std::string(place);
    const std::string digits = hex_of(part);
    for (std::size_t digit = 0; digit < digits.size(); digit += 2)
        text.append(1, ' ').append(digits, digit, 2);
    text.append((BYTES_A_LINE - part.size()) * 3 + 2, ' ');
    return text + printable(part) + "\n";
}

std::string dump(const std::string& bytes)
{
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += BYTES_A_LINE)
        text += dump_line(bytes, at);
    return text;
}

std::string count_of_bytes(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

std::string print_message(const Message& message)
{
    return id_text(message.id) + "  ref " + std::to_string(message.ref) + "  type " +
           std::to_string(message.type) + "  " + count_of_bytes(message.body.size()) + "\n" +
           dump(message.body);
}

} // namespace

std::string print(const Happening& happening)
{
    char channel[16];
    std::snprintf(channel, sizeof channel, "%-5s %s ", name_of(happening.channel),
                  happening.is_sent ? "->" : "<-");
    const std::string begin = time_stamp(happening.time) + "  ";
    const std::string detail = happening.detail.empty() ? "" : ": " + printable(happening.detail);
    switch (happening.kind) {
    case Happening::Kind::message: return begin + channel + print_message(happening.message);
    case Happening::Kind::raw:
        return begin + channel + "raw  " + count_of_bytes(happening.detail.size()) + "\n" +
               dump(happening.detail);
    case Happening::Kind::closed: return begin + channel + "closed" + detail + "\n";
    case Happening::Kind::connected: return begin + "connected" + detail + "\n";
    case Happening::Kind::failed: break;
    }
    return begin + "failed" + detail + "\n";
}

} // namespace imstac
