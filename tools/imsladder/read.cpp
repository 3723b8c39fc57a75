#include "tools/imsladder/read.h"

#include <nlohmann/json.hpp>

namespace imsladder {
namespace {

using Json = nlohmann::json;

// The code points of a JSON string as bytes, as the record's writer put them there. One above 255 is not the
// writer's and becomes a question mark.
std::string bytes_of(const std::string& utf8)
{
    std::string bytes;
    bytes.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        if (lead < 0x80) {
            bytes += utf8[i];
        } else if (lead < 0xE0 && i + 1 < utf8.size()) {
            const unsigned point = (lead & 0x1Fu) << 6 | (static_cast<unsigned char>(utf8[++i]) & 0x3Fu);
            bytes += point < 256 ? static_cast<char>(point) : '?';
        } else {
            bytes += '?';
            i += lead < 0xF0 ? 2 : 3;
        }
    }
    return bytes;
}

bool take_text(const Json& object, const char* name, std::string& out, std::string& why)
{
    const auto found = object.find(name);
    if (found == object.end() || !found->is_string()) {
        why = std::string("no text \"") + name + '"';
        return false;
    }
    out = bytes_of(found->get_ref<const std::string&>());
    return true;
}

bool take_number(const Json& object, const char* name, std::int64_t& out, std::string& why)
{
    const auto found = object.find(name);
    const bool fits = found != object.end() && found->is_number_integer() &&
                      (!found->is_number_unsigned() || found->get<std::uint64_t>() <= INT64_MAX);
    if (!fits || found->get<std::int64_t>() < 0) {
        why = std::string("no number \"") + name + '"';
        return false;
    }
    out = found->get<std::int64_t>();
    return true;
}

bool take_direction(const Json& object, bool& sent, std::string& why)
{
    std::string direction;
    if (!take_text(object, "direction", direction, why)) return false;
    sent = direction == "sent";
    if (sent || direction == "received") return true;
    why = "\"direction\" is neither \"sent\" nor \"received\"";
    return false;
}

} // namespace

bool parse_line(std::string_view line, Record& record, std::string& why)
{
    const Json object = Json::parse(line, nullptr, false);
    if (!object.is_object()) {
        why = object.is_discarded() ? "not JSON" : "not a JSON object";
        return false;
    }
    Record read;
    std::string message;
    const bool good =
        take_number(object, "time", read.time, why) && take_text(object, "program", read.program, why) &&
        take_number(object, "pid", read.pid, why) && take_direction(object, read.sent, why) &&
        take_text(object, "transport", read.transport, why) && take_text(object, "local", read.local, why) &&
        take_text(object, "peer", read.peer, why) && take_text(object, "message", message, why);
    if (!good) return false;
    read.summary = summarize(message);
    record = std::move(read);
    return true;
}

BadLines read_records(std::istream& in, std::vector<Record>& records)
{
    BadLines bad;
    std::string line;
    for (std::size_t number = 1; std::getline(in, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        Record record;
        std::string why;
        if (parse_line(line, record, why)) {
            records.push_back(std::move(record));
        } else if (++bad.count == 1) {
            bad.first_line = number;
            bad.why = why;
        }
    }
    return bad;
}

} // namespace imsladder
