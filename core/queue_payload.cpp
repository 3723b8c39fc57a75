#include "core/queue_payload.h"

#include <cstdlib>
#include <cstring>

namespace imsua {

namespace {

void release_raw(TAC_MSG_S* message)
{
    if (message->body_len != 0) std::free(message->body);
    std::free(message);
}

// The record is a type of the daemon's own that begins like IMS_MAPPED_MSG_S: its fields are read by their
// places, since it must not be looked at through another type.
void release_mapped(void* record)
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

void release_dispatched_payload(MSG_TYPE kind, void* data)
{
    if (kind == MSG_TYPE_DIALOG)
        std::free(data);
    else
        release_refused_payload(kind, data);
}

void release_refused_payload(MSG_TYPE kind, void* data)
{
    if (!data) return;
    switch (kind) {
    case MSG_TYPE_TAPI_RAW: release_raw(static_cast<TAC_MSG_S*>(data)); break;
    case MSG_TYPE_TAPI_MAPPED: release_mapped(data); break;
    case MSG_TYPE_FWK: std::free(data); break;
    default: break;
    }
}

} // namespace imsua
