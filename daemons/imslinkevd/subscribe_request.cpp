#include "daemons/imslinkevd/subscribe_request.h"

#include "daemons/common/header_value.h"

#include <strings.h>

namespace {

struct Package_row {
    const char* name;
    Package package;
};
constexpr Package_row packages[] = {
    {"kiv-link-event", Package::link_event},
    {"kiv-link-avail-event", Package::link_availability},
};
static_assert(sizeof packages / sizeof packages[0] == PACKAGE_COUNT, "one row for each package");

constexpr const char* BODY_TYPE = "application/xml";

bool refuse(Subscribe_verdict& verdict, int code, const char* why)
{
    verdict.code = code;
    verdict.why = why;
    return false;
}

bool is_sip_uri(const std::string& uri)
{
    return uri.size() > 4 && ::strncasecmp(uri.c_str(), "sip:", 4) == 0;
}

bool read_dialog(const Subscribe_headers& headers, Subscribe_verdict& verdict)
{
    verdict.key.call_id = headers.call_id;
    verdict.key.remote_tag = tag_of(headers.from);
    verdict.key.local_tag = tag_of(headers.to);
    if (headers.call_id.empty()) return refuse(verdict, 400, "no Call-ID");
    if (uri_of(headers.from).empty() || verdict.key.remote_tag.empty())
        return refuse(verdict, 400, "no From tag");
    if (uri_of(headers.to).empty()) return refuse(verdict, 400, "broken To");
    const std::string number = headers.cseq.substr(0, headers.cseq.find(' '));
    if (!parse_seconds(number, verdict.dialog.remote_cseq)) return refuse(verdict, 400, "broken CSeq");
    verdict.dialog.to = headers.from;
    verdict.dialog.from = headers.to;
    return true;
}

bool read_contact(const Subscribe_headers& headers, Subscribe_verdict& verdict)
{
    const auto contacts = split_list(headers.contact);
    if (contacts.size() != 1) return refuse(verdict, 400, "not exactly one Contact");
    const std::string uri = uri_of(contacts[0]);
    if (!is_sip_uri(uri)) return refuse(verdict, 400, "Contact is no SIP URI");
    verdict.dialog.contact = "<" + uri + ">";
    return true;
}

bool read_event(const Subscribe_headers& headers, Subscribe_verdict& verdict)
{
    if (headers.event.empty()) return refuse(verdict, 489, "no Event");
    Header_value event;
    if (!parse_header_value(headers.event, event)) return refuse(verdict, 400, "broken Event");
    if (!find_package(event.value, verdict.key.package)) return refuse(verdict, 489, "package not served");
    const std::string* id = event.parameter("id");
    if (id != nullptr) verdict.key.event_id = *id;
    return true;
}

bool read_expires(const Subscribe_headers& headers, const Expires_limits& limits, Subscribe_verdict& verdict)
{
    std::uint32_t seconds = limits.usual;
    if (!headers.expires.empty() && !parse_seconds(headers.expires, seconds))
        return refuse(verdict, 400, "broken Expires");
    if (seconds != 0 && seconds < limits.least) return refuse(verdict, 423, "Expires too brief");
    verdict.expires = Seconds(seconds < limits.most ? seconds : limits.most);
    return true;
}

// A range with q=0 says "not this one" (RFC 3261 20.1); the ranges that cover the body's type count.
bool is_acceptable(const std::string& accept)
{
    if (accept.empty()) return true;
    for (const auto& element : split_list(accept)) {
        Header_value range;
        if (!parse_header_value(element, range)) continue;
        const std::string* q = range.parameter("q");
        if (q != nullptr && q->find_first_not_of("0.") == std::string::npos) continue;
        for (const char* covering : {BODY_TYPE, "application/*", "*/*"})
            if (::strcasecmp(range.value.c_str(), covering) == 0) return true;
    }
    return false;
}

} // namespace

bool find_package(const std::string& name, Package& out)
{
    for (const auto& row : packages)
        if (name == row.name) {
            out = row.package;
            return true;
        }
    return false;
}

const char* package_name(Package package)
{
    return packages[static_cast<int>(package)].name;
}

Subscribe_verdict judge_subscribe(const Subscribe_headers& headers, const Expires_limits& limits)
{
    Subscribe_verdict verdict;
    if (!read_dialog(headers, verdict)) return verdict;
    if (!headers.require.empty()) {
        refuse(verdict, 420, "extension required");
        return verdict;
    }
    if (!read_event(headers, verdict) || !read_contact(headers, verdict)) return verdict;
    if (!read_expires(headers, limits, verdict)) return verdict;
    if (!is_acceptable(headers.accept)) refuse(verdict, 406, "Accept without application/xml");
    return verdict;
}

std::optional<Refusal_header> refusal_header(int code, const Subscribe_headers& headers,
                                             const Expires_limits& limits)
{
    switch (code) {
    case 405: return Refusal_header{"Allow", "SUBSCRIBE, OPTIONS"};
    case 406: return Refusal_header{"Accept", BODY_TYPE};
    case 420: return Refusal_header{"Unsupported", headers.require};
    case 423: return Refusal_header{"Min-Expires", std::to_string(limits.least)};
    case 489: return Refusal_header{"Allow-Events", std::string(packages[0].name) + ", " + packages[1].name};
    case 500: return Refusal_header{"Retry-After", "1"};
    case 503: return Refusal_header{"Retry-After", "5"};
    default: return std::nullopt;
    }
}
