#include "core/IMS_UA_With_Event_Tbl.h"

namespace {

// The first row for `event`, or null.
const IMS_EVENT_TABLE_T* find_row(const IMS_EVENT_TABLE_T* row, std::uint32_t event)
{
    for (; row->event != IMS_TABLE_END; ++row)
        if (row->event == event) return row;
    return nullptr;
}

} // namespace

IMS_UA_With_Event_Tbl::IMS_UA_With_Event_Tbl() : event_tbl_(nullptr) {}
IMS_UA_With_Event_Tbl::~IMS_UA_With_Event_Tbl() = default;

void IMS_UA_With_Event_Tbl::initialize_event_tbl(const IMS_EVENT_TABLE_T* table)
{
    event_tbl_ = table;
}

unsigned short IMS_UA_With_Event_Tbl::handle_event(unsigned int event_id, void* data)
{
    unsigned short handled = 0;
    const IMS_EVENT_TABLE_T* const row = event_tbl_ ? find_row(event_tbl_, event_id) : nullptr;
    if (row && row->handler) {
        handled = 1;
        row->handler(data);
    }
    IMS_log::loginfo(5, "handle_event", "handle_event : msg_id=%d", static_cast<int>(event_id));
    return handled;
}
