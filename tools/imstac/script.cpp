#include "tools/imstac/script.h"

#include "tools/imstac/words.h"

#include <array>

namespace imstac {
namespace {

using Words = std::vector<std::string>;

constexpr std::uint32_t TIMES_MAX = 10000000;

// Reads the value of one attribute into the step; false with `why` when it is wrong.
using Take = bool (*)(const std::string& value, Step& step, std::string& why);

bool take_channel(const std::string& text, Channel& channel)
{
    for (const Channel one : CHANNELS)
        if (text == name_of(one)) {
            channel = one;
            return true;
        }
    return false;
}

template <typename Integer>
bool take_number(const std::string& text, std::uint64_t max, Integer& out)
{
    std::uint64_t value = 0;
    if (!parse_number(text, max, value)) return false;
    out = static_cast<Integer>(value);
    return true;
}

bool take_ref(const std::string& value, Step& step, std::string& why)
{
    why = "ref is a number from 0 to 4294967295";
    std::uint32_t ref = 0;
    if (!take_number(value, UINT32_MAX, ref)) return false;
    step.message.ref = ref;
    step.pattern.ref = ref;
    return true;
}

bool take_type(const std::string& value, Step& step, std::string& why)
{
    why = "type is a number from 0 to 255";
    std::uint8_t type = 0;
    if (!take_number(value, UINT8_MAX, type)) return false;
    step.message.type = type;
    step.pattern.type = type;
    return true;
}

bool take_body(const std::string& body, Step& step, std::string& why)
{
    why = "a body has 65535 bytes at most";
    if (body.size() > BODY_MAX) return false;
    step.message.body = body;
    step.pattern.body = body;
    return true;
}

bool take_text(const std::string& value, Step& step, std::string& why)
{
    return take_body(value, step, why);
}

bool take_hex(const std::string& value, Step& step, std::string& why)
{
    why = "hex is pairs of hexadecimal digits";
    std::string body;
    return parse_hex(value, body) && take_body(body, step, why);
}

bool take_times(const std::string& value, Step& step, std::string& why)
{
    why = "times is a number from 1 to " + std::to_string(TIMES_MAX);
    return take_number(value, TIMES_MAX, step.times) && step.times > 0;
}

bool take_within(const std::string& value, Step& step, std::string& why)
{
    why = "within is a time such as 250ms or 2s, an hour at most";
    Duration time{};
    if (!parse_time(value, time)) return false;
    step.time = time;
    return true;
}

bool take_answer(const std::string& value, Step& step, std::string& why)
{
    why = "answer is none, async, sync, or one of the two with an id: async:0x2001";
    if (value == "none") {
        step.answer.reset();
        return true;
    }
    const std::size_t colon = value.find(':');
    Answer answer{Channel::sync, step.message.id};
    if (!take_channel(value.substr(0, colon), answer.channel)) return false;
    if (colon != std::string::npos && !take_number(value.substr(colon + 1), UINT16_MAX, answer.id))
        return false;
    step.answer = answer;
    return true;
}

struct Attribute {
    const char* name;
    bool for_send, for_expect;
    Take take;
};
constexpr std::array<Attribute, 7> ATTRIBUTES{{
    // name     send   expect
    {"ref", true, true, take_ref},
    {"type", true, true, take_type},
    {"hex", true, true, take_hex},
    {"text", true, true, take_text},
    {"times", true, true, take_times},
    {"answer", true, false, take_answer},
    {"within", false, true, take_within},
}};

const Attribute* find_attribute(const std::string& name, Verb verb)
{
    for (const Attribute& one : ATTRIBUTES)
        if (name == one.name && (verb == Verb::send ? one.for_send : one.for_expect)) return &one;
    return nullptr;
}

bool take_attributes(const Words& words, std::size_t from, Step& step, std::string& why)
{
    for (std::size_t at = from; at < words.size(); ++at) {
        const std::string& word = words[at];
        const std::size_t sign = word.find('=');
        const Attribute* const found = find_attribute(word.substr(0, sign), step.verb);
        if (sign == std::string::npos || found == nullptr) {
            why = "'" + word + "' is no attribute of " + words[0];
            return false;
        }
        if (!found->take(word.substr(sign + 1), step, why)) return false;
    }
    return true;
}

bool take_rest_of_send(const Words& words, Step& step, std::string& why)
{
    why = "after the channel stands a message id from 0 to 65535, such as 0x8101";
    if (words.size() < 3 || !take_number(words[2], UINT16_MAX, step.message.id)) return false;
    step.answer = usual_answer(step.channel, step.message.id);
    return take_attributes(words, 3, step, why);
}

bool take_rest_of_expect(const Words& words, Step& step, std::string& why)
{
    why = "after the channel stands a message id, 'any' or 'closed'";
    if (words.size() < 3) return false;
    std::uint16_t id = 0;
    if (words[2] == "closed")
        step.pattern.closed = true;
    else if (take_number(words[2], UINT16_MAX, id))
        step.pattern.id = id;
    else if (words[2] != "any")
        return false;
    if (!take_attributes(words, 3, step, why)) return false;
    const Pattern& p = step.pattern;
    why = "the end of a channel has no ref, type, body or times";
    return !p.closed || !(p.ref || p.type || p.body || step.times > 1);
}

bool take_rest_of_raw(const Words& words, Step& step, std::string& why)
{
    why = "after the channel stand the bytes, pairs of hexadecimal digits";
    std::string digits;
    for (std::size_t at = 2; at < words.size(); ++at)
        digits += words[at] + " ";
    return parse_hex(digits, step.bytes) && !step.bytes.empty();
}

bool take_rest_of_close(const Words& words, Step&, std::string& why)
{
    why = "nothing stands after the channel";
    return words.size() == 2;
}

bool take_pause(const Words& words, Step& step, std::string& why)
{
    why = "pause has one time, such as 250ms or 2s, an hour at most";
    Duration time{};
    if (words.size() != 2 || !parse_time(words[1], time)) return false;
    step.time = time;
    return true;
}

struct Statement {
    const char* name;
    Verb verb;
    bool has_channel;
    bool (*take_rest)(const Words& words, Step& step, std::string& why);
};
constexpr std::array<Statement, 5> STATEMENTS{{
    {"send", Verb::send, true, take_rest_of_send},
    {"expect", Verb::expect, true, take_rest_of_expect},
    {"raw", Verb::raw, true, take_rest_of_raw},
    {"close", Verb::close, true, take_rest_of_close},
    {"pause", Verb::pause, false, take_pause},
}};

bool parse_words(const Words& words, Step& step, std::string& why)
{
    for (const Statement& one : STATEMENTS) {
        if (words[0] != one.name) continue;
        step.verb = one.verb;
        if (one.has_channel && (words.size() < 2 || !take_channel(words[1], step.channel))) {
            why = "after " + words[0] + " stands a channel, async or sync";
            return false;
        }
        return one.take_rest(words, step, why);
    }
    why = "'" + words[0] + "' is none of send, expect, raw, close, pause";
    return false;
}

} // namespace

Parsed parse_step(const std::string& line, Step& step, std::string& why)
{
    Words words;
    if (!split_words(line, words, why)) return Parsed::wrong;
    if (words.empty()) return Parsed::nothing;
    step = Step();
    return parse_words(words, step, why) ? Parsed::step : Parsed::wrong;
}

bool parse_script(std::istream& in, const std::string& name, Steps& steps, std::string& why)
{
    std::string line;
    for (std::size_t number = 1; std::getline(in, line); ++number) {
        Step step;
        std::string wrong;
        const Parsed parsed = parse_step(line, step, wrong);
        const std::string place = place_of(name, number);
        if (parsed == Parsed::wrong) {
            why.assign(place).append(": ").append(wrong);
            return false;
        }
        if (parsed == Parsed::nothing) continue;
        step.source = place;
        steps.push_back(std::move(step));
    }
    return true;
}

} // namespace imstac
