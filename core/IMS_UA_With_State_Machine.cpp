#include "core/IMS_UA_With_State_Machine.h"

#include <chrono>
#include <thread>

namespace {

constexpr unsigned short VALID_EVERYWHERE = 0; // the state whose rows every state falls back to

// A null list is not skipped: a table without it is broken, and acting on half of it would be worse than
// standing still. Looking again sleeps in between, so that the process stays killable and idle.
const IMS_STATE_TBL_T* wait_for_list(const IMS_STATE_TBL_T* const* entry)
{
    while (!*entry)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return *entry;
}

// The first row for `event` in the list that `entry` points at, or null.
const IMS_STATE_TBL_T* find_in(const IMS_STATE_TBL_T* const* entry, std::uint32_t event)
{
    const IMS_STATE_TBL_T* row = wait_for_list(entry);
    for (; row->event != IMS_TABLE_END; ++row)
        if (row->event == event) return row;
    return nullptr;
}

// The first row for `event` in `state`'s own list or, when that has none, in the one that is valid
// everywhere.
const IMS_STATE_TBL_T* find_row(const IMS_STATE_TBL_T* const* lists, unsigned short state,
                                std::uint32_t event)
{
    const IMS_STATE_TBL_T* const row = find_in(&lists[state], event);
    return row ? row : find_in(&lists[VALID_EVERYWHERE], event);
}

} // namespace

IMS_UA_With_State_Machine::IMS_UA_With_State_Machine()
    : state_tbl_(nullptr), current_state_(0), state_count_(0)
{
}

IMS_UA_With_State_Machine::~IMS_UA_With_State_Machine() = default;

void IMS_UA_With_State_Machine::initialize_state_tbl(const IMS_STATE_TBL_T* const* lists,
                                                     unsigned short initial_state, unsigned short state_count)
{
    state_tbl_ = lists;
    current_state_ = initial_state;
    state_count_ = state_count;
}

void IMS_UA_With_State_Machine::initialize_state_tbl(const IMS_STATE_TBL_T* lists,
                                                     unsigned short initial_state, unsigned short state_count)
{
    initialize_state_tbl(reinterpret_cast<const IMS_STATE_TBL_T* const*>(lists), initial_state, state_count);
}

unsigned short IMS_UA_With_State_Machine::handle_event(unsigned int event_id, void* data)
{
    unsigned short handled = 0;
    std::uint32_t event = event_id;
    while (event != 0 && state_tbl_ && current_state_ < state_count_) {
        const IMS_STATE_TBL_T* const row = find_row(state_tbl_, current_state_, event);
        event = 0;
        if (!row) break;
        if (row->handler) {
            handled = 1;
            event = row->handler(data);
        }
        if (row->next_state != 0) current_state_ = row->next_state; // the handler saw the old one
    }
    IMS_log::loginfo(5, "handle_event", "handle_event : msg_id=%d curr_state=%d", static_cast<int>(event_id),
                     current_state_);
    return handled;
}
