// How a record looks as a line of text.
#ifndef BASEUAFW_LOG_LINE_H_INCLUDED
#define BASEUAFW_LOG_LINE_H_INCLUDED

#include <cstddef>

namespace baseuafw {

// What of a record becomes a line; the texts are borrowed and not null.
struct LogLine {
    const char* program;
    int level;
    const char* function;
    const char* text;
};

// Writes "<program>[<level>] <function>: <text>" and one line feed into `out`, which holds `capacity` bytes,
// 2 or more; no terminating zero. A longer line is cut and still ends in its line feed. One line feed at the
// end of the text is dropped; control characters except the tab are written as \n, \r or \xNN. Returns the
// number of bytes written. Async-signal-safe.
std::size_t format_log_line(char* out, std::size_t capacity, const LogLine& line);

} // namespace baseuafw

#endif
