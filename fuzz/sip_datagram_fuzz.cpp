// A datagram as it comes from the network: Sofia-SIP's parser, our copy of what it accepted, our own reading
// of the copy, and the response that would be written.
#include "siplib/field_access.h"
#include "siplib/response_text.h"
#include "siplib/sofia/raw_message.h"
#include "siplib/sofia/wire_record.h"

#include <cstdint>
#include <cstdlib>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/sip_util.h>

namespace {

void demand(bool condition)
{
    if (!condition) std::abort();
}

void read_everything(const siplib::Message& message)
{
    char buf[64];
    for (std::size_t i = 0; i < message.count(); ++i) {
        demand(!message.name(i).empty());
        demand(message.find(message.name(i)).data() != nullptr);
        siplib::tag_in(message.value(i));
        siplib::Uri uri;
        siplib::read_uri(siplib::uri_in(message.value(i)), uri);
        int len = sizeof buf;
        siplib::copy_header(message, std::string(message.name(i)).c_str(), buf, len);
        demand(len >= 0 && len < static_cast<int>(sizeof buf) && buf[len] == '\0');
    }
    siplib::copy_method(siplib::method_of(message), buf, sizeof buf);
}

// What we answer must be a message for the parser that read the request.
void answer(const siplib::Message& request)
{
    siplib::Message response;
    response.set_body("body");
    const std::string text = siplib::response_text(request, response, 200, "tag");
    msg_t* parsed = siplib::sofia::message_of(text);
    demand(parsed != nullptr);
    msg_destroy(parsed);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 20000) return 0;
    const auto* bytes = reinterpret_cast<const char*>(data);
    siplib::sofia::SentBodies bodies;
    siplib::sofia::DumpReader reader(bodies);
    reader.read({bytes, size}, [](const siplib::sofia::DumpReader::Message&) {});
    msg_t* msg = msg_make(sip_default_mclass(), MSG_DO_EXTRACT_COPY, bytes, static_cast<ssize_t>(size));
    if (!msg) return 0;
    const sip_t* sip = sip_object(msg);
    if (sip && (sip->sip_request || sip->sip_status)) {
        siplib::RawMessage raw = siplib::sofia::raw_message(sip);
        demand(raw.body_at <= raw.text.size());
        siplib::Message message;
        if (message.parse(std::move(raw.text), raw.body_at)) {
            read_everything(message);
            // NTA hands on only what has passed this.
            if (sip->sip_request && !sip->sip_error && sip_sanity_check(sip) >= 0) answer(message);
        }
    }
    msg_destroy(msg);
    return 0;
}
