#include "core/queue_payload.h"

#include "core/mapped_records.h"

#include <cstdlib>

namespace imsua {

namespace {

void release_raw(TAC_MSG_S* message)
{
    if (message->body_len != 0) std::free(message->body);
    std::free(message);
}

} // namespace

bool hold_payload(MSG_TYPE kind, void* data)
{
    return kind != MSG_TYPE_TAPI_MAPPED || hold_mapped(data);
}

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
    case MSG_TYPE_TAPI_MAPPED: drop_mapped(data); break;
    case MSG_TYPE_FWK: std::free(data); break;
    default: break;
    }
}

} // namespace imsua
