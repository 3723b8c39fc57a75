// The record that a mapping table makes of each telephony message, for an agent without records of its own:
// the event, the body, and what an answer needs.
//
//     constexpr TAPI_EVENT_ACTION_TABLE_T requests[] = {
//         {0x1001, imsua::tapi_event<REGISTER>}, {TAPI_TABLE_END, nullptr}};
//
//     std::uint32_t on_register(void* data) // a handler of event REGISTER
//     {
//         imsua::tapi_answer(*agent, data, "ok");
//         ...
//
// Thread   tapi_event runs on the external-interface thread; the others are for the main thread.
// Memory   records and bodies are malloc blocks; the main loop frees both after the handlers.
// Errors   no memory is logged at level 3 and ends the process with status 1.
#ifndef IMSUA_TAPI_REQUEST_H_INCLUDED
#define IMSUA_TAPI_REQUEST_H_INCLUDED

#include "core/IMS_User_Agent.h"
#include "include/ims_types.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace imsua {

struct Tapi_request {
    IMS_MAPPED_MSG_S head; // msg_number is the event; the body is the record's
    TAC_MSG_S message;     // id, reference and type as they came; without a body

    // What the controller sent after the header; valid as long as the record.
    std::string_view body() const { return {static_cast<const char*>(head.body), head.body_len}; }
};

// An action of a mapping table: the Tapi_request of event number `event`, which takes the message's body.
template <auto event>
void* tapi_event(TAC_MSG_S* message)
{
    static_assert(event != 0 && static_cast<std::uint32_t>(event) != IMS_TABLE_END,
                  "0 is no event and 255 ends tables");
    auto* const request = static_cast<Tapi_request*>(std::malloc(sizeof(Tapi_request)));
    if (!request) {
        IMS_log::loginfo(3, "tapi_event", "cannot allocate memory for tapi request!");
        IMS_daemon::fatal_exit(1);
    }
    request->head = {static_cast<std::uint32_t>(event), message->body_len, 0, 0, message->body};
    message->body = nullptr;
    request->message = *message;
    return request;
}

// The request that a handler of such an event was called with.
inline Tapi_request& tapi_request(void* data)
{
    return *static_cast<Tapi_request*>(data);
}

// Answers the request behind `data` on the synchronous connection, as send_tapi_sync_resp_message does. A
// body is cut at 65535 bytes, the most that its header can tell.
inline void tapi_answer(IMS_User_Agent& agent, void* data, std::string_view body)
{
    const auto length = static_cast<unsigned short>(std::min<std::size_t>(body.size(), 65535));
    agent.send_tapi_sync_resp_message(&tapi_request(data).message, const_cast<char*>(body.data()), length);
}

// Sends an event that nobody asked for on the asynchronous connection, as send_tapi_async_message does. Cut
// likewise.
inline void tapi_tell(IMS_User_Agent& agent, std::uint16_t msg_id, std::string_view body)
{
    const auto length = static_cast<unsigned>(std::min<std::size_t>(body.size(), 65535));
    auto* const bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(body.data()));
    agent.send_tapi_async_message(msg_id, length, bytes);
}

} // namespace imsua

#endif
