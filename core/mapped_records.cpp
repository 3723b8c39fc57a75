#include "core/mapped_records.h"

#include "include/ims_types.h"
#include "include/no_destroy.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace imsua {

namespace {

struct Holds {
    void* record;
    unsigned count;
};

// As many as the queue has room for and a few more: searched from the newest, no tree is needed.
std::mutex lock;
NoDestroy<std::vector<Holds>> table;

__attribute__((constructor(101))) void construct_table()
{
    table.construct();
}

// The caller holds the lock. Null when nobody holds the record.
Holds* find(const void* record)
{
    auto& all = table.value;
    const auto found =
        std::find_if(all.rbegin(), all.rend(), [record](const Holds& row) { return row.record == record; });
    return found == all.rend() ? nullptr : &*found;
}

// True when that was the last hold.
bool release_hold(const void* record)
{
    const std::lock_guard<std::mutex> guard(lock);
    Holds* const held = find(record);
    if (!held) return true;
    if (--held->count != 0) return false;
    *held = table.value.back();
    table.value.pop_back();
    return true;
}

// The record is a type of the daemon's own that begins like IMS_MAPPED_MSG_S: its fields are read by their
// places, since it must not be looked at through another type.
void free_record(void* record)
{
    const char* const bytes = static_cast<const char*>(record);
    std::uint16_t body_len = 0;
    void* body = nullptr;
    std::memcpy(&body_len, bytes + offsetof(IMS_MAPPED_MSG_S, body_len), sizeof body_len);
    std::memcpy(&body, bytes + offsetof(IMS_MAPPED_MSG_S, body), sizeof body);
    if (body_len != 0) std::free(body);
    std::free(record);
}

} // namespace

bool hold_mapped(void* record)
{
    if (!record) return true;
    const std::lock_guard<std::mutex> guard(lock);
    if (Holds* const held = find(record)) {
        ++held->count;
        return true;
    }
    try {
        table.value.push_back({record, 1});
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void drop_mapped(void* record)
{
    if (record && release_hold(record)) free_record(record);
}

bool MappedHold::take(void* record)
{
    if (!hold_mapped(record)) {
        drop_mapped(record);
        return false;
    }
    drop_mapped(record_);
    record_ = record;
    return true;
}

} // namespace imsua
