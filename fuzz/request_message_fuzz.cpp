// A request of ours on its way into the stack, whose Call-ID, tags and URIs came from a peer's SUBSCRIBE.
#include "siplib/sofia/request_message.h"

#include <cstdint>
#include <cstdlib>
#include <sofia-sip/msg_addr.h>
#include <sofia-sip/sip_header.h>
#include <string>

namespace {

void demand(bool condition)
{
    if (!condition) std::abort();
}

std::string on_the_wire(msg_t* msg)
{
    std::string text;
    if (msg_prepare(msg) < 0) return text;
    msg_iovec_t pieces[64];
    const auto count = static_cast<std::size_t>(msg_iovec(msg, pieces, 64));
    for (std::size_t i = 0; i < count && i < 64; ++i)
        text.append(static_cast<const char*>(pieces[i].mv_base), pieces[i].mv_len);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 20000) return 0;
    const std::string text(reinterpret_cast<const char*>(data), size);
    msg_t* msg = siplib::sofia::request_message(text);
    if (!msg) return 0;
    const sip_t* sip = sip_object(msg);
    demand(sip && (sip->sip_request || sip->sip_status));
    // Lines that nobody has read have no name: then it was not the stack's parser that made the message.
    const sip_unknown_t* unread = sip->sip_unknown;
    if (unread && *unread->un_name == '\0') demand(on_the_wire(msg) == text);
    msg_destroy(msg);
    return 0;
}
