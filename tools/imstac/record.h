// What went over the channels, as lines of JSON: what --json prints, --record writes and --replay reads. The
// members are described in docs/tools/imstac.md.
//
// Thread   any; nothing is shared.
// Errors   false, and `why` says what is wrong with which line.
#ifndef IMSTAC_RECORD_H_INCLUDED
#define IMSTAC_RECORD_H_INCLUDED

#include "tools/imstac/step.h"

#include <cstdint>
#include <istream>
#include <string>

namespace imstac {

// One thing that happened. `time` is in microseconds since 1970-01-01 00:00 UTC.
struct Happening {
    enum class Kind { message, raw, connected, closed, failed };
    Kind kind = Kind::message;
    std::int64_t time = 0;
    bool is_sent = false; // message, raw, closed: by us, or by the agent
    Channel channel = Channel::async;
    Message message;              // message
    std::optional<Answer> answer; // message that was sent
    std::string detail;           // raw: the bytes; closed by the agent: an unfinished message; else words
};

// The line, with its line feed.
std::string json_line(const Happening& happening);

// Reads one such line; false with `why`, `happening` then has no meaning.
bool parse_json_line(const std::string& line, Happening& happening, std::string& why);

// Appends the steps that send a record's messages again, each at its time since the first. With `check` what
// was received becomes expected, at its place in the order. False at the first line that is not of a record.
bool parse_record(std::istream& in, const std::string& name, bool check, Steps& steps, std::string& why);

} // namespace imstac

#endif
