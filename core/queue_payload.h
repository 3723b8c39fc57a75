// Who frees what a queue element carries: the rules for each kind of message.
//
// Every payload that these functions free came from malloc or calloc. Null is allowed everywhere.
//
// Thread   any; the caller owns the payload.
#ifndef IMSUA_QUEUE_PAYLOAD_H_INCLUDED
#define IMSUA_QUEUE_PAYLOAD_H_INCLUDED

#include "include/ims_types.h"

namespace imsua {

// Before it is queued: a mapped record (kind 10) may be queued several times and is freed after its last
// release. False when there is no memory to count it; nothing has changed then.
bool hold_payload(MSG_TYPE kind, void* data);

// After dispatch: frees the payload of kinds 0, 9 (the record only), 10 and 11, in the state in which the
// handler left it; a mapped record, kind 10, only when nobody else holds it. Every other kind's data belongs
// to somebody else.
void release_dispatched_payload(MSG_TYPE kind, void* data);

// After a refused enqueue: as above, but the record of kind 9 stays the producer's.
void release_refused_payload(MSG_TYPE kind, void* data);

} // namespace imsua

#endif
