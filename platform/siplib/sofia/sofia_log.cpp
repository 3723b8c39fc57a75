#include "siplib/sofia/sofia_log.h"

#include "siplib/log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <sofia-sip/su_log.h>
#include <string>

extern "C" {
extern su_log_t nta_log[];
extern su_log_t tport_log[];
}

namespace siplib::sofia {
namespace {

constexpr std::size_t longest_line = 1000;

struct Lines {
    std::mutex mutex;
    std::string begun; // Sofia prints a line in pieces
    bool traces = false;
};
Lines& lines()
{
    static Lines* never_destroyed = new Lines;
    return *never_destroyed;
}

void log_line(const std::string& line, bool trace)
{
    if (trace)
        log_trace("sofia", "%s", line.c_str());
    else
        log_failure("sofia", "%s", line.c_str());
}

__attribute__((format(printf, 2, 0))) void take_piece(void*, const char* format, va_list args)
{
    char piece[longest_line];
    std::vsnprintf(piece, sizeof piece, format, args);
    Lines& all = lines();
    std::unique_lock<std::mutex> lock(all.mutex);
    all.begun += piece;
    while (true) {
        const auto end = all.begun.find('\n');
        if (end == std::string::npos && all.begun.size() < longest_line) return;
        const std::string line = all.begun.substr(0, end);
        all.begun.erase(0, end == std::string::npos ? end : end + 1);
        const bool trace = all.traces;
        lock.unlock(); // the log's sink is somebody else's code
        if (!line.empty()) log_line(line, trace);
        lock.lock();
    }
}

// Sofia's levels: 0 fatal, 1 critical, 3 warnings, 5 progress, 7 detail, 9 everything.
unsigned level_for(unsigned char mask)
{
    if (mask & 1) return 9;
    if (mask & 32) return 7;
    if (mask & 2) return 5;
    if (mask & 4) return 3;
    return mask & (8 | 16) ? 1 : 0;
}

} // namespace

void redirect_log(unsigned char mask)
{
    const unsigned level = level_for(mask);
    {
        std::lock_guard<std::mutex> guard(lines().mutex);
        lines().traces = level > 3;
    }
    for (su_log_t* log : {static_cast<su_log_t*>(su_log_default), static_cast<su_log_t*>(nta_log),
                          static_cast<su_log_t*>(tport_log)}) {
        su_log_redirect(log, take_piece, nullptr);
        su_log_set_level(log, level);
    }
}

} // namespace siplib::sofia
