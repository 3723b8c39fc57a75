#include "tools/imstac/step.h"

#include "tools/imstac/words.h"

namespace imstac {
namespace {

constexpr std::size_t SHOWN_BYTES = 32;

template <typename Value>
bool agrees(const std::optional<Value>& wanted, const Value& value)
{
    return !wanted || *wanted == value;
}

std::string shown_body(const std::string& body)
{
    if (body.size() <= SHOWN_BYTES) return " hex=" + hex_of(body);
    return " hex=" + hex_of(body.substr(0, SHOWN_BYTES)) + "... (" + std::to_string(body.size()) + " bytes)";
}

std::string shown_message(const Message& message)
{
    std::string text = " " + id_text(message.id);
    if (message.ref != 0) text += " ref=" + std::to_string(message.ref);
    if (message.type != 0) text += " type=" + std::to_string(message.type);
    return message.body.empty() ? text : text + shown_body(message.body);
}

std::string shown_pattern(const Pattern& pattern)
{
    if (pattern.closed) return " closed";
    std::string text = " " + (pattern.id ? id_text(*pattern.id) : "any");
    if (pattern.ref) text += " ref=" + std::to_string(*pattern.ref);
    if (pattern.type) text += " type=" + std::to_string(*pattern.type);
    return pattern.body ? text + shown_body(*pattern.body) : text;
}

} // namespace

bool Pattern::fits(const Message& message) const
{
    return !closed && agrees(id, message.id) && agrees(ref, message.ref) && agrees(type, message.type) &&
           agrees(body, message.body);
}

std::optional<Answer> usual_answer(Channel channel, std::uint16_t id)
{
    if (id == TAPI_SOCKET_INIT) return Answer{Channel::async, id};
    if (channel == Channel::sync) return Answer{Channel::sync, id};
    return std::nullopt;
}

std::string shown(const Step& step)
{
    const std::string channel = name_of(step.channel);
    switch (step.verb) {
    case Verb::send: return "send " + channel + shown_message(step.message);
    case Verb::expect: return "expect " + channel + shown_pattern(step.pattern);
    case Verb::raw: return "raw " + channel + " " + hex_of(step.bytes.substr(0, SHOWN_BYTES));
    case Verb::close: return "close " + channel;
    case Verb::pause: break;
    }
    return "pause " + time_text(step.time.value_or(Duration(0)));
}

std::string place_of(const std::string& name, std::size_t line)
{
    return name + ":" + std::to_string(line);
}

} // namespace imstac
