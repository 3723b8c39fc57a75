#include "core/IMS_Tapi_ifc.h"

#include "core/IMS_User_Agent.h"
#include "core/mapped_records.h"
#include "core/queue_payload.h"
#include "include/shared_value.h"
#include "include/tapi_wire.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr const char* receiving = "handle_tapi_message";
constexpr const char* mapping = "handle_tapi_event";

// `len` bytes: the `available` ones at `bytes` as far as needed, then zeros. Null when there is no memory.
unsigned char* copy_body(const unsigned char* bytes, std::size_t available, std::size_t len)
{
    auto* const body = static_cast<unsigned char*>(std::malloc(len));
    if (!body) return nullptr;
    const std::size_t present = std::min(available, len);
    std::memcpy(body, bytes, present);
    if (present < len) std::memset(body + present, 0, len - present);
    return body;
}

// The message at the start of `available` bytes, 16 at least, in blocks of its own. Null, logged, when there
// is no memory.
TAC_MSG_S* copy_message(const unsigned char* bytes, std::size_t available)
{
    auto* const message = static_cast<TAC_MSG_S*>(std::malloc(sizeof(TAC_MSG_S)));
    if (!message) {
        IMS_log::loginfo(3, receiving, "cannot allocate memory for tapi message !");
        return nullptr;
    }
    *message = imsua::unpack_tapi_header(bytes);
    if (message->body_len == 0) return message;
    message->body = copy_body(bytes + TAC_MSG_WIRE_SIZE, available - TAC_MSG_WIRE_SIZE, message->body_len);
    if (message->body) return message;
    IMS_log::loginfo(4, receiving, "cannot allocate memory for tapi message body!");
    std::free(message);
    return nullptr;
}

void free_message(TAC_MSG_S* message)
{
    imsua::release_refused_payload(MSG_TYPE_TAPI_RAW, message);
}

void log_match(const TAC_MSG_S* msg)
{
    IMS_log::loginfo(5, mapping, "handle_tapi_event: found match - TapiMsgID=%d\n", msg->msg_id);
}

// A matching row without an action is not skipped, and there is nothing to call: the walk stays on it.
[[noreturn]] void stay_on_row(const TAC_MSG_S* msg)
{
    constexpr timespec pause = {0, 100 * 1000 * 1000};
    for (;;) {
        ::nanosleep(&pause, nullptr);
        log_match(msg);
    }
}

void* map_message(const TAPI_EVENT_ACTION_TABLE_T* row, TAC_MSG_S* msg)
{
    IMS_log::loginfo(5, mapping, "In handle_tapi_event\n");
    if (!row || !msg) return nullptr;
    for (; row->tapi_msg_id != TAPI_TABLE_END; ++row) {
        if (row->tapi_msg_id != msg->msg_id) continue;
        log_match(msg);
        if (!row->action) stay_on_row(msg);
        IMS_log::loginfo(5, mapping, "handle_tapi_event: found match and function\n");
        return row->action(msg);
    }
    return nullptr;
}

void log_record(const void* record)
{
    std::uint32_t number = 0;
    std::memcpy(&number, record, sizeof number); // the first field of a type of the daemon's own
    IMS_log::loginfo(5, receiving, "handle_tapi_message: IMSMsgID=%d\n", static_cast<int>(number));
}

void send_to_agent(IMS_User_Agent* ua, MSG_TYPE kind, void* message)
{
    if (IMS_log::is_written(5)) IMS_log::loginfo(5, receiving, "handle_tapi_message: Msg Sent to UA\n");
    ua->fill_queue_and_send_signal(kind, message);
}

} // namespace

IMS_Tapi_ifc::IMS_Tapi_ifc(IMS_User_Agent* ua) : ua_(ua), tapi_map_ptr(nullptr) {}

IMS_Tapi_ifc::~IMS_Tapi_ifc() = default;

int IMS_Tapi_ifc::create_listener()
{
    return 0;
}

void IMS_Tapi_ifc::initialize_event_tbl(const TAPI_EVENT_ACTION_TABLE_T* table)
{
    imsua::store_shared(tapi_map_ptr, table);
}

void IMS_Tapi_ifc::handle_tapi_message(unsigned char* buf, int len)
{
    IMS_log::loginfo(5, receiving, "In handle_tapi_message\n");
    if (!buf || len < TAC_MSG_WIRE_SIZE) {
        IMS_log::loginfo(4, receiving, "Incomplete bytes for TAPI message");
        return;
    }
    // One table for the whole batch: what is queued with kind 10 is always a record.
    const TAPI_EVENT_ACTION_TABLE_T* const table = imsua::load_shared(tapi_map_ptr);
    imsua::MappedHold latest; // what a message that maps to nothing queues again
    const unsigned char* next = buf;
    for (int remaining = len; remaining >= TAC_MSG_WIRE_SIZE;) {
        TAC_MSG_S* const message = copy_message(next, static_cast<std::size_t>(remaining));
        if (!message) return;
        const int size = TAC_MSG_WIRE_SIZE + message->body_len;
        next += std::min(size, remaining);
        remaining -= size; // negative when the body was cut
        if (IMS_log::is_written(5))
            IMS_log::loginfo(5, receiving, "handle_tapi_message: len remaining: %d, sizeof(TAC_MSG_S): %d",
                             remaining, static_cast<int>(TAC_MSG_WIRE_SIZE));
        if (!table)
            queue_raw(message);
        else if (!queue_mapped(message, table, latest))
            return;
    }
}

void IMS_Tapi_ifc::queue_raw(TAC_MSG_S* message)
{
    if (IMS_log::is_written(5))
        IMS_log::loginfo(5, receiving, "handle_tapi_message: Msg to be sent = tapi_message\n");
    if (ua_)
        send_to_agent(ua_, MSG_TYPE_TAPI_RAW, message);
    else
        free_message(message);
}

// False, logged, when there is no memory.
bool IMS_Tapi_ifc::queue_mapped(TAC_MSG_S* message, const TAPI_EVENT_ACTION_TABLE_T* table,
                                imsua::MappedHold& latest)
{
    IMS_log::loginfo(
        5, receiving,
        "handle_tapi_message: tapi_map_ptr is not NULL - forwarding event to derive IFC class\n");
    IMS_log::loginfo(5, receiving, "handle_tapi_message: TapiMsgID=%d\n", message->msg_id);
    void* const record = map_message(table, message);
    if (record) log_record(record);
    free_message(message);
    if (record && !latest.take(record)) {
        IMS_log::loginfo(3, receiving, "cannot allocate memory for tapi message !");
        return false;
    }
    // Another thread may have dispatched the record of an earlier message by now: only its address is used.
    if (latest.record() && ua_) send_to_agent(ua_, MSG_TYPE_TAPI_MAPPED, latest.record());
    return true;
}

void* IMS_Tapi_ifc::handle_tapi_event(TAC_MSG_S* msg)
{
    return map_message(imsua::load_shared(tapi_map_ptr), msg);
}
