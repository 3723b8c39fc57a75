#include "siplib/log.h"

#include "baseuafw/baseuafw.h"

#include <cstdarg>
#include <cstdio>

namespace siplib {
namespace {

__attribute__((format(printf, 3, 0))) void log_line(int level, const char* function, const char* format,
                                                    va_list args)
{
    char text[1024];
    std::vsnprintf(text, sizeof text, format, args);
    IMS_log::loginfo(level, function, "%s", text);
}

} // namespace

void log_failure(const char* function, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    log_line(4, function, format, args);
    va_end(args);
}

void log_trace(const char* function, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    log_line(5, function, format, args);
    va_end(args);
}

} // namespace siplib
