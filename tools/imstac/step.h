// What a controller does, one step after the other: send, expect, send raw bytes, close, pause.
//
// Memory   plain values.
#ifndef IMSTAC_STEP_H_INCLUDED
#define IMSTAC_STEP_H_INCLUDED

#include "tools/imstac/wire.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace imstac {

using Clock = std::chrono::steady_clock;
using Time = Clock::time_point;
using Duration = Clock::duration;

enum class Verb { send, expect, raw, close, pause };

// The message by which the agent answers one that was sent: the next of this id on this channel.
struct Answer {
    Channel channel = Channel::sync;
    std::uint16_t id = 0;
};

// What an expected message must be; what is not set may be anything.
struct Pattern {
    bool closed = false; // not a message: the end of the channel
    std::optional<std::uint16_t> id;
    std::optional<std::uint32_t> ref;
    std::optional<std::uint8_t> type;
    std::optional<std::string> body;

    bool fits(const Message& message) const;
};

struct Step {
    Verb verb = Verb::send;
    Channel channel = Channel::sync;
    Message message;              // send
    std::optional<Answer> answer; // send: what to wait for
    Pattern pattern;              // expect
    std::string bytes;            // raw
    std::uint32_t times = 1;      // send, expect; the reference rises by one each time
    std::optional<Duration> time; // pause: how long; expect: at most
    Duration at{0};               // send, raw, close: not before this time since the start
    std::string source;           // where it was written, "demo.tac:7", for messages to people
};
using Steps = std::vector<Step>;

// The answer that the protocol gives a message: a request on the synchronous channel is answered there by
// the same id, socket-init (0x8101) on the asynchronous one wherever it is sent, an event not at all.
std::optional<Answer> usual_answer(Channel channel, std::uint16_t id);

// The step as it would stand in a script, a long body cut: "send sync 0x1001 ref=7 hex=0102".
std::string shown(const Step& step);

// "name:7": where a line of a file stands.
std::string place_of(const std::string& name, std::size_t line);

} // namespace imstac

#endif
