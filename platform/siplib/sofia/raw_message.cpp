#include "siplib/sofia/raw_message.h"

#include "siplib/message_record.h"

#include <sofia-sip/msg_header.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/su_alloc.h>

namespace siplib::sofia {
namespace {

// A header that was changed after parsing has lost its text.
void append_encoded(std::string& text, const msg_header_t* header)
{
    char line[1024];
    const issize_t size = msg_header_e(line, sizeof line, header, 0);
    if (size > 0 && static_cast<std::size_t>(size) < sizeof line)
        text.append(line, static_cast<std::size_t>(size));
}

} // namespace

RawMessage raw_message(const sip_t* sip)
{
    RawMessage raw;
    read_raw_message(sip, raw);
    return raw;
}

void read_raw_message(const sip_t* sip, RawMessage& raw)
{
    raw.text.clear();
    raw.text.reserve(512);
    const auto* first = sip->sip_request ? reinterpret_cast<const msg_header_t*>(sip->sip_request)
                                         : reinterpret_cast<const msg_header_t*>(sip->sip_status);
    const auto* body = reinterpret_cast<const msg_header_t*>(sip->sip_payload);
    bool body_found = false;
    for (const msg_header_t* header = first; header; header = header->sh_succ) {
        const msg_common_t* common = header->sh_common;
        if (header == body) {
            raw.body_at = raw.text.size();
            body_found = true;
        }
        // Elements of a comma list after the first have no text of their own: a length of 0.
        if (common->h_data)
            raw.text.append(static_cast<const char*>(common->h_data), common->h_len);
        else
            append_encoded(raw.text, header);
    }
    if (!body_found) raw.body_at = raw.text.size();
}

bool is_cut_short(const sip_t* sip)
{
    if (!sip->sip_content_length) return false;
    std::size_t held = 0;
    for (const sip_payload_t* part = sip->sip_payload; part; part = part->pl_next)
        held += part->pl_common->h_len;
    return held < sip->sip_content_length->l_length;
}

msg_t* message_of(std::string_view text)
{
    // Headers that keep their text are not written anew when they go out. But then a message goes out in
    // several pieces, of which the stack's dump shows the first.
    const int flags = MessageRecord::enabled() ? 0 : MSG_DO_EXTRACT_COPY;
    msg_t* msg = msg_make(sip_default_mclass(), flags, text.data(), static_cast<ssize_t>(text.size()));
    const sip_t* sip = msg ? sip_object(msg) : nullptr;
    if (sip && (sip->sip_request || sip->sip_status)) return msg;
    if (msg) msg_destroy(msg);
    return nullptr;
}

} // namespace siplib::sofia
