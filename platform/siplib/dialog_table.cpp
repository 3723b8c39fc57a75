#include "siplib/dialog_table.h"

#include <algorithm>

namespace siplib {
namespace {

std::string joined(const DialogKey& key)
{
    std::string text;
    text.reserve(key.call_id.size() + key.local_tag.size() + key.remote_tag.size() + 2);
    text.append(key.call_id).append(1, '\n').append(key.local_tag).append(1, '\n').append(key.remote_tag);
    return text;
}

} // namespace

void DialogTable::add(const DialogKey& key, Dialog* dialog, Time expires)
{
    std::lock_guard<std::mutex> guard(mutex_);
    entries_[joined(key)] = {dialog, expires};
    earliest_ = std::min(earliest_, expires);
}

Dialog* DialogTable::find(const DialogKey& key) const
{
    std::lock_guard<std::mutex> guard(mutex_);
    const auto found = entries_.find(joined(key));
    return found == entries_.end() ? nullptr : found->second.dialog;
}

bool DialogTable::remove(const DialogKey& key)
{
    std::lock_guard<std::mutex> guard(mutex_);
    return entries_.erase(joined(key)) > 0;
}

void DialogTable::set_expiry(const DialogKey& key, Time expires)
{
    std::lock_guard<std::mutex> guard(mutex_);
    const auto found = entries_.find(joined(key));
    if (found == entries_.end()) return;
    found->second.expires = expires;
    earliest_ = std::min(earliest_, expires);
}

std::size_t DialogTable::size() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return entries_.size();
}

std::vector<Dialog*> DialogTable::take_expired(Time now)
{
    std::vector<Dialog*> expired;
    std::lock_guard<std::mutex> guard(mutex_);
    if (now < earliest_) return expired;
    earliest_ = Time::max();
    for (auto entry = entries_.begin(); entry != entries_.end();) {
        if (entry->second.expires <= now) {
            expired.push_back(entry->second.dialog);
            entry = entries_.erase(entry);
        } else {
            earliest_ = std::min(earliest_, entry->second.expires);
            ++entry;
        }
    }
    return expired;
}

} // namespace siplib
