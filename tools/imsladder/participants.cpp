#include "tools/imsladder/participants.h"

#include <algorithm>

namespace imsladder {
namespace {

// 0 while the address was in use, else how long before or after.
std::int64_t distance(std::int64_t first, std::int64_t last, std::int64_t time)
{
    return std::max<std::int64_t>({first - time, time - last, 0});
}

} // namespace

Participants::Participants(const std::vector<Record>& records)
{
    add_processes(records);
    name_processes();
}

void Participants::add_processes(const std::vector<Record>& records)
{
    for (const Record& record : records) {
        const auto [found, fresh] = processes_.emplace(process(record), all_.size());
        if (fresh) all_.push_back({printable(record.program), "", record.pid, true});
        Use& use = uses_[record.local].emplace(found->second, Use{record.time, record.time, 0}).first->second;
        use.last = record.time;
        ++use.count;
    }
}

// The address used most, and the process where the name alone would not tell who it is.
void Participants::name_processes()
{
    std::vector<std::size_t> most(all_.size(), 0);
    for (const auto& [address, users] : uses_) {
        for (const auto& [who, use] : users) {
            if (use.count <= most[who]) continue;
            most[who] = use.count;
            all_[who].address = printable(address);
        }
    }
    std::map<std::string, int> names;
    for (const Participant& participant : all_)
        ++names[participant.name];
    for (Participant& participant : all_)
        if (names[participant.name] > 1) participant.name += " [" + std::to_string(participant.pid) + ']';
}

std::size_t Participants::at(const std::string& address, std::int64_t time)
{
    const auto users = uses_.find(address);
    if (users != uses_.end()) {
        const auto nearer = [time](const auto& a, const auto& b) {
            return distance(a.second.first, a.second.last, time) <
                   distance(b.second.first, b.second.last, time);
        };
        return std::min_element(users->second.begin(), users->second.end(), nearer)->first;
    }
    const auto [found, fresh] = strangers_.emplace(address, all_.size());
    if (fresh) all_.push_back({address.empty() ? "?" : printable(address), "", 0, false});
    return found->second;
}

} // namespace imsladder
