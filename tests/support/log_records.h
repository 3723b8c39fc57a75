// Captures every log record of the process while in scope, through the log's own sink.
#ifndef TESTS_SUPPORT_LOG_RECORDS_H_INCLUDED
#define TESTS_SUPPORT_LOG_RECORDS_H_INCLUDED

#include "baseuafw/baseuafw.h"

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

struct LogRecord {
    int level;
    std::string function;
    std::string text;
    bool operator==(const LogRecord& o) const
    {
        return level == o.level && function == o.function && text == o.text;
    }
};

inline std::ostream& operator<<(std::ostream& out, const LogRecord& r)
{
    return out << r.level << ' ' << r.function << ": \"" << r.text << '"';
}

class LogRecords {
public:
    LogRecords() { IMS_log::set_sink(&LogRecords::take, this); }
    ~LogRecords() { IMS_log::set_sink(nullptr, nullptr); }
    LogRecords(const LogRecords&) = delete;
    LogRecords& operator=(const LogRecords&) = delete;

    std::vector<LogRecord> all() const
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return records_;
    }
    // Only the records logged under `function`.
    std::vector<LogRecord> of(const std::string& function) const
    {
        std::vector<LogRecord> found;
        for (const auto& r : all())
            if (r.function == function) found.push_back(r);
        return found;
    }
    // Only the records at or below `level` (3 fatal, 4 failures, 5 traces).
    std::vector<LogRecord> up_to(int level) const
    {
        std::vector<LogRecord> found;
        for (const auto& r : all())
            if (r.level <= level) found.push_back(r);
        return found;
    }
    bool has(int level, const std::string& function, const std::string& text) const
    {
        for (const auto& r : all())
            if (r == LogRecord{level, function, text}) return true;
        return false;
    }
    void clear()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        records_.clear();
    }

private:
    static void take(void* ctx, int level, const char* function, const char* text)
    {
        auto* self = static_cast<LogRecords*>(ctx);
        std::lock_guard<std::mutex> guard(self->mutex_);
        self->records_.push_back({level, function, text});
    }
    mutable std::mutex mutex_;
    std::vector<LogRecord> records_;
};

#endif
