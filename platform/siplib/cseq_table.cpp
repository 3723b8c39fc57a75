#include "siplib/cseq_table.h"

#include <algorithm>

namespace siplib {
namespace {

// A line feed occurs in none of the parts.
void join(const DialogKey& key, std::string_view remote_tag, std::string& text)
{
    text.assign(key.call_id).append(1, '\n').append(key.local_tag).append(1, '\n').append(remote_tag);
}

} // namespace

void CSeqTable::drop_oldest()
{
    const Entry& oldest = entries_.back();
    floor_ = std::max(floor_, oldest.number);
    index_.erase(oldest.key);
    entries_.pop_back();
}

CSeqTable::Entry& CSeqTable::touch(const DialogKey& key)
{
    join(key, key.remote_tag, joined_);
    const auto found = index_.find(joined_);
    if (found != index_.end()) {
        entries_.splice(entries_.begin(), entries_, found->second);
        return entries_.front();
    }
    std::uint32_t number = floor_;
    if (!key.remote_tag.empty()) {
        join(key, {}, joined_);
        const auto before = index_.find(joined_);
        if (before != index_.end()) number = std::max(number, before->second->number);
        join(key, key.remote_tag, joined_);
    }
    entries_.push_front({joined_, number});
    index_.emplace(entries_.front().key, entries_.begin());
    if (entries_.size() > capacity_) drop_oldest();
    return entries_.front();
}

std::uint32_t CSeqTable::next(const DialogKey& key)
{
    std::lock_guard<std::mutex> guard(mutex_);
    Entry& entry = touch(key);
    // Section 8.1.1.5: less than 2**31.
    entry.number = entry.number < 0x7ffffffeu ? entry.number + 1 : 1;
    return entry.number;
}

void CSeqTable::note(const DialogKey& key, std::uint32_t number)
{
    std::lock_guard<std::mutex> guard(mutex_);
    Entry& entry = touch(key);
    entry.number = std::max(entry.number, number);
}

} // namespace siplib
