#include "tools/imstac/record.h"

#include "tools/imstac/words.h"

#include <array>
#include <nlohmann/json.hpp>

namespace imstac {
namespace {

using Json = nlohmann::ordered_json;
using Kind = Happening::Kind;

struct Kind_name {
    Kind kind;
    const char* name;
};
constexpr std::array<Kind_name, 5> KINDS{{{Kind::message, "message"},
                                          {Kind::raw, "raw"},
                                          {Kind::connected, "connected"},
                                          {Kind::closed, "closed"},
                                          {Kind::failed, "failed"}}};

const char* name_of(Kind kind)
{
    for (const Kind_name& one : KINDS)
        if (one.kind == kind) return one.name;
    return "";
}

Json message_object(const Happening& happening)
{
    const Message& message = happening.message;
    Json object = {
        {"id", message.id}, {"ref", message.ref}, {"type", message.type}, {"body", hex_of(message.body)}};
    if (!happening.answer) return object;
    object["answer"] = imstac::name_of(happening.answer->channel);
    object["answer_id"] = happening.answer->id;
    return object;
}

// ---- reading ----

bool get_number(const Json& object, const char* name, std::uint64_t max, std::uint64_t& value,
                std::string& why)
{
    const auto found = object.find(name);
    if (found != object.end() && found->is_number_unsigned() && found->get<std::uint64_t>() <= max) {
        value = found->get<std::uint64_t>();
        return true;
    }
    why = std::string("'") + name + "' is not a number up to " + std::to_string(max);
    return false;
}

bool get_text(const Json& object, const char* name, std::string& value, std::string& why)
{
    const auto found = object.find(name);
    if (found != object.end() && found->is_string()) {
        value = found->get<std::string>();
        return true;
    }
    why = std::string("'") + name + "' is not a text";
    return false;
}

bool get_hex(const Json& object, const char* name, std::string& bytes, std::string& why)
{
    std::string digits;
    if (!get_text(object, name, digits, why)) return false;
    if (parse_hex(digits, bytes) && bytes.size() <= BODY_MAX) return true;
    why = std::string("'") + name + "' is not hexadecimal digits of 65535 bytes at most";
    return false;
}

bool get_channel(const Json& object, const char* name, Channel& channel, std::string& why)
{
    std::string text;
    if (!get_text(object, name, text, why)) return false;
    for (const Channel one : CHANNELS)
        if (text == imstac::name_of(one)) {
            channel = one;
            return true;
        }
    why = std::string("'") + name + "' is neither \"async\" nor \"sync\"";
    return false;
}

bool get_direction(const Json& object, bool& is_sent, std::string& why)
{
    std::string text;
    if (!get_text(object, "direction", text, why)) return false;
    is_sent = text == "sent";
    why = "'direction' is neither \"sent\" nor \"received\"";
    return is_sent || text == "received";
}

bool get_kind(const Json& object, Kind& kind, std::string& why)
{
    std::string text;
    if (!get_text(object, "event", text, why)) return false;
    for (const Kind_name& one : KINDS)
        if (text == one.name) {
            kind = one.kind;
            return true;
        }
    why = "'event' is \"" + text.substr(0, 20) + "\"";
    return false;
}

bool get_answer(const Json& object, std::optional<Answer>& answer, std::string& why)
{
    answer.reset();
    if (!object.contains("answer")) return true;
    Answer read;
    std::uint64_t id = 0;
    if (!get_channel(object, "answer", read.channel, why) ||
        !get_number(object, "answer_id", UINT16_MAX, id, why))
        return false;
    read.id = static_cast<std::uint16_t>(id);
    answer = read;
    return true;
}

bool get_message(const Json& object, Happening& happening, std::string& why)
{
    std::uint64_t id = 0;
    std::uint64_t ref = 0;
    std::uint64_t type = 0;
    if (!get_number(object, "id", UINT16_MAX, id, why) || !get_number(object, "ref", UINT32_MAX, ref, why) ||
        !get_number(object, "type", UINT8_MAX, type, why) ||
        !get_hex(object, "body", happening.message.body, why) || !get_answer(object, happening.answer, why))
        return false;
    happening.message.id = static_cast<std::uint16_t>(id);
    happening.message.ref = static_cast<std::uint32_t>(ref);
    happening.message.type = static_cast<std::uint8_t>(type);
    return true;
}

bool get_happening(const Json& object, Happening& happening, std::string& why)
{
    std::uint64_t time = 0;
    if (!get_kind(object, happening.kind, why) || !get_number(object, "time", INT64_MAX / 1000, time, why))
        return false;
    happening.time = static_cast<std::int64_t>(time);
    if (happening.kind != Kind::message && happening.kind != Kind::raw && happening.kind != Kind::closed)
        return true;
    if (!get_channel(object, "channel", happening.channel, why) ||
        !get_direction(object, happening.is_sent, why))
        return false;
    if (happening.kind == Kind::closed) return true;
    if (happening.kind == Kind::raw) return get_hex(object, "bytes", happening.detail, why);
    return get_message(object, happening, why);
}

// ---- replaying ----

Step step_that_sends(const Happening& happening)
{
    Step step;
    step.channel = happening.channel;
    step.message = happening.message;
    step.answer = happening.answer;
    if (happening.kind == Kind::raw) step.verb = Verb::raw;
    if (happening.kind == Kind::closed) step.verb = Verb::close;
    step.bytes = happening.detail;
    return step;
}

Step step_that_expects(const Happening& happening)
{
    Step step;
    step.verb = Verb::expect;
    step.channel = happening.channel;
    step.pattern.closed = happening.kind == Kind::closed;
    if (step.pattern.closed) return step;
    step.pattern.id = happening.message.id;
    step.pattern.type = happening.message.type;
    step.pattern.ref = happening.message.ref;
    step.pattern.body = happening.message.body;
    return step;
}

bool is_replayed(const Happening& happening, bool check)
{
    const Kind kind = happening.kind;
    if (kind != Kind::message && kind != Kind::raw && kind != Kind::closed) return false;
    return happening.is_sent || (check && kind != Kind::raw);
}

} // namespace

std::string json_line(const Happening& happening)
{
    Json object = {{"time", happening.time}, {"event", name_of(happening.kind)}};
    const bool on_channel =
        happening.kind == Kind::message || happening.kind == Kind::raw || happening.kind == Kind::closed;
    if (on_channel) {
        object["channel"] = imstac::name_of(happening.channel);
        object["direction"] = happening.is_sent ? "sent" : "received";
    }
    if (happening.kind == Kind::message)
        object.update(message_object(happening));
    else if (happening.kind == Kind::raw)
        object["bytes"] = hex_of(happening.detail);
    else if (!happening.detail.empty())
        object["detail"] = happening.detail;
    // A detail may quote bytes that are not UTF-8.
    return object.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

bool parse_json_line(const std::string& line, Happening& happening, std::string& why)
{
    const Json object = Json::parse(line, nullptr, false);
    if (!object.is_object()) {
        why = object.is_discarded() ? "not JSON" : "not a JSON object";
        return false;
    }
    happening = Happening();
    return get_happening(object, happening, why);
}

bool parse_record(std::istream& in, const std::string& name, bool check, Steps& steps, std::string& why)
{
    std::string line;
    std::int64_t first = -1;
    for (std::size_t number = 1; std::getline(in, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        const std::string place = place_of(name, number);
        Happening happening;
        std::string wrong;
        if (!parse_json_line(line, happening, wrong)) {
            why.assign(place).append(": ").append(wrong);
            return false;
        }
        if (!is_replayed(happening, check)) continue;
        Step step = happening.is_sent ? step_that_sends(happening) : step_that_expects(happening);
        if (first < 0) first = happening.time;
        step.at = std::chrono::microseconds(happening.time > first ? happening.time - first : 0);
        step.source = place;
        steps.push_back(std::move(step));
    }
    return true;
}

} // namespace imstac
