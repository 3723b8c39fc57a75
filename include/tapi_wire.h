// A telephony message's header as bytes on the wire, for both ends of the telephony socket.
//
// On the wire it is always TAC_MSG_WIRE_SIZE (16) bytes in the host's byte order: the first 12 are TAC_MSG_S
// as it stands in memory, on every host; the last four are a slot without meaning, which receivers ignore.
// body_len bytes of body follow it. docs/telephony.md tells the protocol.
#ifndef IMSUA_TAPI_WIRE_H_INCLUDED
#define IMSUA_TAPI_WIRE_H_INCLUDED

#include "include/ims_types.h"

#include <cstdint>
#include <cstring>

namespace imsua {

// The header that the 16 bytes at `wire` hold; any alignment. `body` is null, whatever stands in the slot:
// the peer's bytes never become a pointer.
inline TAC_MSG_S unpack_tapi_header(const void* wire)
{
    TAC_MSG_S header = {};
    std::memcpy(&header, wire, TAC_MSG_WIRE_COMMON);
    return header;
}

// Writes the 16 bytes of `header` to `wire`; any alignment. `slot` fills the last four; `header.body` is not
// looked at.
inline void pack_tapi_header(const TAC_MSG_S& header, std::uint32_t slot, void* wire)
{
    std::memcpy(wire, &header, TAC_MSG_WIRE_COMMON);
    std::memcpy(static_cast<unsigned char*>(wire) + TAC_MSG_WIRE_COMMON, &slot, sizeof slot);
}

// What an asynchronous message shows in its slot: the low 32 bits of its body's address, 0 for null.
inline std::uint32_t tapi_body_slot(const void* body)
{
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(body) & 0xffffffffu);
}

static_assert(TAC_MSG_WIRE_COMMON + sizeof(std::uint32_t) == TAC_MSG_WIRE_SIZE, "header and slot");

} // namespace imsua

#endif
