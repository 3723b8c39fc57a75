// The queue's two ends: producers on any thread, the main loop on the main thread.
#include "core/IMS_User_Agent.h"
#include "core/queue_payload.h"

#include <cstdlib>

namespace {

// Dialog records with these results have no message waiting: nothing is received for them.
constexpr std::int32_t nothing_to_receive[] = {19, 31};

// What receive() must be called on before `element` is dispatched; null for nothing.
SIPLIB_SIPObject* object_to_receive(const _Q_ELEMENT_T* element)
{
    if (!element->data) return nullptr;
    if (element->msg_type == MSG_TYPE_SIP_RESPONSE) return static_cast<SIPLIB_SIPConnection*>(element->data);
    if (element->msg_type != MSG_TYPE_DIALOG) return nullptr;
    const auto* const record = static_cast<const DialogMessageRecord*>(element->data);
    for (const std::int32_t result : nothing_to_receive)
        if (record->result_code == result) return nullptr;
    return record->object;
}

// A telephony controller waits for an answer on the same device, and its next request follows at once. The
// next SIP message has a network to cross, and the SIP thread may need this core.
bool comes_from_this_device(MSG_TYPE kind)
{
    return kind == MSG_TYPE_TAPI_RAW || kind == MSG_TYPE_TAPI_MAPPED || kind == MSG_TYPE_FWK;
}

void release(_Q_ELEMENT_T* element)
{
    imsua::release_dispatched_payload(element->msg_type, element->data);
    std::free(element);
}

// The SIP library guarantees one successful receive for every notification, so a failure means that the
// process has lost track of its messages: it ends.
void receive_pending(_Q_ELEMENT_T* element)
{
    SIPLIB_SIPObject* const object = object_to_receive(element);
    const int status = object ? object->receive() : 0;
    if (status == 0) return;
    if (element->msg_type == MSG_TYPE_DIALOG)
        IMS_log::loginfo(3, "handle_message", "dialog receive failed status: %d", status);
    else
        IMS_log::loginfo(3, "handle_message", "client_connection receive failed status: %d", status);
    release(element);
    IMS_daemon::fatal_exit(1);
}

} // namespace

void IMS_User_Agent::fill_queue_and_send_signal(MSG_TYPE type, void* data)
{
    const bool held = imsua::hold_payload(type, data);
    auto* const element = held ? static_cast<_Q_ELEMENT_T*>(std::malloc(sizeof(_Q_ELEMENT_T))) : nullptr;
    if (!element) {
        IMS_log::loginfo(3, "fill_queue_and_send_signal", "Could not allocate memory for queue node!");
        imsua::release_refused_payload(type, data);
        fatal_exit(1);
    }
    element->msg_type = type;
    element->data = data;
    mutex_.lock();
    if (queue_.enqueue(element) == QUEUE_OK) {
        mutex_.signal();
    } else {
        imsua::release_refused_payload(type, data);
        std::free(element);
        IMS_log::loginfo(4, "fill_queue_and_send_signal", "Enqueue operation failed");
    }
    mutex_.unlock();
}

void IMS_User_Agent::handle_message()
{
    for (;;)
        process_one_message();
}

void IMS_User_Agent::process_one_message()
{
    _Q_ELEMENT_T* element = nullptr;
    if (more_expected_) before_sleeping_.look_into(queue_);
    mutex_.lock();
    // One wait, not a loop: a wake-up that finds nothing is reported, not hidden.
    if (queue_.isEmpty()) mutex_.wait();
    const int status = queue_.dequeue(&element);
    const bool emptied = queue_.isEmpty();
    mutex_.unlock();
    if (status != QUEUE_OK || !element) {
        IMS_log::loginfo(4, "handle_message", "Dequeue operation failed");
        return;
    }
    more_expected_ = emptied && comes_from_this_device(element->msg_type);
    receive_pending(element);
    const unsigned int event_id = get_event_id_from_message(element);
    const unsigned short recognition = handle_event(event_id, element->data);
    if (IMS_log::is_written(5))
        IMS_log::loginfo(5, "handle_message", "Message Recognition status=%d", recognition);
    release(element);
}

void IMS_User_Agent::drop_queued()
{
    mutex_.lock();
    while (!queue_.isEmpty()) {
        _Q_ELEMENT_T* element = nullptr;
        queue_.dequeue(&element);
        release(element);
    }
    mutex_.unlock();
}

void IMS_User_Agent::handle_notify_response(SIPLIB_SIPConnection* conn)
{
    fill_queue_and_send_signal(MSG_TYPE_SIP_RESPONSE, conn);
}

void IMS_User_Agent::handle_notify_request(SIPLIB_SIPConnection* conn)
{
    fill_queue_and_send_signal(MSG_TYPE_SIP_REQUEST, conn);
}

unsigned short IMS_User_Agent::handle_event(unsigned int, void*)
{
    return 0;
}

unsigned int IMS_User_Agent::get_event_id_from_message(void*)
{
    return 0;
}
