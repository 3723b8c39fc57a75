// The library's own log lines: level 4, under the operation's name, through the base library's log.
//
// Thread   any.
#ifndef SIPLIB_LOG_H_INCLUDED
#define SIPLIB_LOG_H_INCLUDED

namespace siplib {

void log_failure(const char* function, const char* format, ...) __attribute__((format(printf, 2, 3)));
void log_trace(const char* function, const char* format, ...) __attribute__((format(printf, 2, 3)));

} // namespace siplib

#endif
