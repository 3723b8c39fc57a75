#include "siplib/sofia/request_message.h"

#include "siplib/message_record.h"
#include "siplib/sip_text.h"
#include "siplib/sofia/raw_message.h"

#include <cstring>
#include <sofia-sip/msg_header.h>
#include <sofia-sip/msg_parser.h>
#include <sofia-sip/sip_hclasses.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/su_alloc.h>
#include <utility>

namespace siplib::sofia {
namespace {

// What a client transaction of another method than INVITE reads of its request.
struct ReadHeader {
    std::string_view name;
    msg_hclass_t* header;
};
const ReadHeader read_by_stack[] = {
    {"From", sip_from_class},
    {"To", sip_to_class},
    {"Call-ID", sip_call_id_class},
    {"CSeq", sip_cseq_class},
    {"Max-Forwards", sip_max_forwards_class},
    {"Route", sip_route_class},
    {"Content-Length", sip_content_length_class},
};

// Bytes for the headers that are parsed and for what the transaction adds to a NOTIFY: its Via takes 1024.
constexpr std::size_t room_for_headers = 2560;

const ReadHeader* read_header(std::string_view name)
{
    for (const ReadHeader& row : read_by_stack)
        if (same_word(row.name, name)) return &row;
    return nullptr;
}

// INVITE: the stack's own ACK and CANCEL take more headers from it. A Via of the caller's, and a header in
// compact form: rare, and the stack's parser knows all about them.
bool is_plain_method(std::string_view method)
{
    return method != "INVITE" && method != "ACK" && method != "CANCEL";
}

bool is_plain_name(std::string_view name)
{
    return name.size() > 1 && !same_word(name, "Via");
}

class RequestWriter {
public:
    explicit RequestWriter(std::string_view text)
        : size_(text.size()), msg_(msg_create(sip_default_mclass(), 0)), home_(msg_home(msg_))
    {
        if (!msg_) return;
        su_home_preload(home_, 1, static_cast<isize_t>(size_ + room_for_headers));
        auto* copy = static_cast<char*>(su_alloc(home_, static_cast<isize_t>(size_)));
        if (copy) rest_ = {static_cast<char*>(std::memcpy(copy, text.data(), size_)), size_};
    }
    ~RequestWriter()
    {
        if (msg_) msg_destroy(msg_);
    }
    RequestWriter(const RequestWriter&) = delete;
    RequestWriter& operator=(const RequestWriter&) = delete;

    bool write() { return !rest_.empty() && add_request_line() && add_headers() && add_body(); }
    msg_t* release() { return std::exchange(msg_, nullptr); }

private:
    bool add_request_line();
    bool add_headers();
    bool add_header(std::string_view line);
    bool add_body();
    bool add_read(const ReadHeader& row, std::string_view line, std::string_view value);
    bool add_parsed(msg_hclass_t* header, std::string_view line, std::string_view value);
    bool add_party(msg_hclass_t* header, std::string_view line, std::string_view value);
    bool add_unread();
    bool add(msg_header_t* header, std::string_view text);
    std::string_view next_line();

    std::size_t size_;
    msg_t* msg_;
    su_home_t* home_;
    std::string_view rest_;   // what has no header yet
    std::string_view unread_; // lines before it that nobody parses
    unsigned seen_ = 0;       // headers that are there, a bit each
};

// With its end, CR and LF; empty when there is none.
std::string_view RequestWriter::next_line()
{
    const std::string_view line = rest_.substr(0, rest_.find('\n') + 1);
    if (line.size() < 2 || line[line.size() - 2] != '\r') return {};
    rest_.remove_prefix(line.size());
    return line;
}

bool RequestWriter::add(msg_header_t* header, std::string_view text)
{
    if (!header) return false;
    header->sh_data = text.data();
    header->sh_len = static_cast<usize_t>(text.size());
    // The first element of a list carries the line.
    for (msg_header_t* element = header->sh_next; element; element = element->sh_next)
        element->sh_data = text.data() + text.size();
    return msg_header_insert(msg_, msg_object(msg_), header) == 0;
}

bool RequestWriter::add_parsed(msg_hclass_t* header, std::string_view line, std::string_view value)
{
    const auto size = static_cast<isize_t>(value.size());
    msg_header_t* parsed = msg_header_alloc(home_, header, size + 1);
    if (!parsed) return false;
    char* copy = MSG_HEADER_DATA(parsed); // the parser cuts its text to pieces
    value.copy(copy, value.size());
    copy[value.size()] = '\0';
    return header->hc_parse(home_, parsed, copy, size) >= 0 && add(parsed, line);
}

bool RequestWriter::add_read(const ReadHeader& row, std::string_view line, std::string_view value)
{
    const unsigned bit = 1U << (&row - read_by_stack);
    const bool again = (seen_ & bit) != 0 && row.header != sip_route_class;
    seen_ |= bit;
    if (again) return false;
    const bool party = row.header == sip_from_class || row.header == sip_to_class;
    return party ? add_party(row.header, line, value) : add_parsed(row.header, line, value);
}

// Responses are matched by the tags of From and To; their addresses are nobody's business here.
bool RequestWriter::add_party(msg_hclass_t* header, std::string_view line, std::string_view value)
{
    const std::string_view tag = tag_in(value);
    msg_header_t* party = msg_header_alloc(home_, header, static_cast<isize_t>(tag.size() + 1));
    if (!party) return false;
    char* copy = MSG_HEADER_DATA(party);
    tag.copy(copy, tag.size());
    copy[tag.size()] = '\0';
    if (!tag.empty()) reinterpret_cast<sip_addr_t*>(party)->a_tag = copy;
    return add(party, line);
}

bool RequestWriter::add_unread()
{
    if (unread_.empty()) return true;
    msg_header_t* lines = msg_header_alloc(home_, sip_unknown_class, 0);
    if (!lines) return false;
    lines->sh_unknown->un_name = lines->sh_unknown->un_value = "";
    return add(lines, std::exchange(unread_, {}));
}

// The route says where the request goes: its URI is not looked at.
bool RequestWriter::add_request_line()
{
    const std::string_view line = next_line();
    const std::string_view method = line.substr(0, line.find(' '));
    constexpr std::string_view end = " SIP/2.0\r\n";
    if (!is_plain_method(method) || !is_token(method) || line.size() < method.size() + end.size() ||
        line.substr(line.size() - end.size()) != end)
        return false;
    msg_header_t* header =
        msg_header_alloc(home_, sip_request_class, static_cast<isize_t>(method.size() + 1));
    if (!header) return false;
    char* name = MSG_HEADER_DATA(header);
    name[method.copy(name, method.size())] = '\0';
    auto* request = reinterpret_cast<sip_request_t*>(header);
    request->rq_method = sip_method_code(name);
    request->rq_method_name = name;
    request->rq_version = sip_version_2_0;
    url_init(request->rq_url, url_sip);
    request->rq_url->url_host = "";
    return add(header, line) &&
           // Begins the chain in which headers leave; those that follow are appended.
           msg_serialize(msg_, msg_object(msg_)) >= 0;
}

bool RequestWriter::add_header(std::string_view line)
{
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) return false;
    const std::string_view name = line.substr(0, colon);
    if (!is_plain_name(name)) return false;
    if (const ReadHeader* row = read_header(name))
        return add_unread() && add_read(*row, line, trimmed(line.substr(colon + 1)));
    unread_ = unread_.empty() ? line : std::string_view(unread_.data(), unread_.size() + line.size());
    return true;
}

bool RequestWriter::add_headers()
{
    std::string_view line = next_line();
    for (; line.size() > 2; line = next_line())
        if (!add_header(line)) return false;
    const bool ended = line.size() == 2; // by the empty line
    return ended && add_unread() && add(msg_header_alloc(home_, sip_separator_class, 0), line);
}

bool RequestWriter::add_body()
{
    if (rest_.empty()) return true;
    msg_header_t* body = msg_header_alloc(home_, sip_payload_class, 0);
    if (!body) return false;
    body->sh_payload->pl_data = const_cast<char*>(rest_.data()); // in the message's own memory
    body->sh_payload->pl_len = static_cast<usize_t>(rest_.size());
    return add(body, rest_);
}

} // namespace

msg_t* request_message(std::string_view text)
{
    // A message in several pieces is recorded with its first piece only.
    if (MessageRecord::enabled()) return message_of(text);
    RequestWriter writer(text);
    return writer.write() ? writer.release() : message_of(text);
}

} // namespace siplib::sofia
