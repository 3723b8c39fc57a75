// Who takes part: the processes that recorded, and the addresses that only others know.
//
// Thread   one at a time.
// Memory   values only.
// Errors   none.
#ifndef IMSLADDER_PARTICIPANTS_H_INCLUDED
#define IMSLADDER_PARTICIPANTS_H_INCLUDED

#include "tools/imsladder/merge.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace imsladder {

class Participants {
public:
    // One for each process in `records`, which are in the order of time.
    explicit Participants(const std::vector<Record>& records);

    // The process that wrote `record`, one of those given to the constructor.
    std::size_t of(const Record& record) const { return processes_.at(process(record)); }

    // Who used `address` at `time`: the process that recorded under it closest to that time, else the address
    // itself, which is added when it is new.
    std::size_t at(const std::string& address, std::int64_t time);

    const std::vector<Participant>& all() const { return all_; }

private:
    using Process = std::pair<std::string, std::int64_t>;
    struct Use { // of an address, by a process
        std::int64_t first, last;
        std::size_t count;
    };
    static Process process(const Record& record) { return {record.program, record.pid}; }
    void add_processes(const std::vector<Record>& records);
    void name_processes();

    std::vector<Participant> all_;
    std::map<Process, std::size_t> processes_;
    std::map<std::string, std::size_t> strangers_;
    std::map<std::string, std::map<std::size_t, Use>> uses_; // by address, then by participant
};

} // namespace imsladder

#endif
