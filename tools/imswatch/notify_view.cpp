#include "tools/imswatch/notify_view.h"

#include "daemons/common/header_value.h"

#include <nlohmann/json.hpp>
#include <strings.h>

namespace {

using Json = nlohmann::ordered_json;

std::optional<std::uint32_t> seconds_of(const Header_value& header, const char* name)
{
    const std::string* text = header.parameter(name);
    std::uint32_t seconds = 0;
    if (text == nullptr || !parse_seconds(*text, seconds)) return std::nullopt;
    return seconds;
}

std::string lower(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

std::string state_text(const Subscriber::Notified& s)
{
    std::string text = s.state;
    if (!s.reason.empty()) text += " (" + s.reason + ")";
    if (s.expires) text += " for " + std::to_string(*s.expires) + " s";
    return text;
}

void add(std::string& line, const char* name, const std::string& value)
{
    if (!value.empty()) line += std::string("  ") + name + (name[0] != '\0' ? " " : "") + value;
}

std::string access_text(const Notify_view& v)
{
    if (v.network.empty()) return "none";
    return v.network + (v.access_type.empty() ? "" : " " + v.access_type) +
           (v.access_point.empty() ? "" : " over " + v.access_point);
}

void add_body(std::string& line, const Notify_view& v)
{
    switch (v.kind) {
    case Notify_view::Body::none: line += "  no document"; break;
    case Notify_view::Body::unknown: add(line, "document:", v.raw); break;
    case Notify_view::Body::access: add(line, "access", access_text(v)); break;
    case Notify_view::Body::link:
        add(line, "", (v.name.empty() ? "(no link)" : v.name) + " is " + v.status + ", " + v.cause);
        add(line, "ip", v.ip_address);
        add(line, "mac", v.mac);
        add(line, "access", access_text(v));
        add(line, "profile", v.profile_name);
        break;
    }
}

Json access_json(const Notify_view& v)
{
    return Json{{"network", v.network}, {"type", v.access_type}, {"point", v.access_point}};
}

std::string dump(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

bool parse_subscription_state(const std::string& header, Subscriber::Notified& out)
{
    Header_value parsed;
    if (!parse_header_value(header, parsed)) return false;
    const std::string* reason = parsed.parameter("reason");
    out.state = lower(parsed.value);
    out.reason = reason != nullptr ? lower(*reason) : "";
    out.expires = seconds_of(parsed, "expires");
    out.retry_after = seconds_of(parsed, "retry-after");
    return true;
}

std::string print_text(const Notify_view& view, const std::string& time)
{
    std::string line = time + "  " + view.package + "  " + state_text(view.subscription);
    add_body(line, view);
    return line;
}

std::string print_json(const Notify_view& v, const std::string& time)
{
    Json json{{"type", "notify"}, {"time", time}, {"package", v.package}, {"state", v.subscription.state}};
    if (v.subscription.expires) json["expires"] = *v.subscription.expires;
    if (!v.subscription.reason.empty()) json["reason"] = v.subscription.reason;
    if (v.subscription.retry_after) json["retry_after"] = *v.subscription.retry_after;
    if (!v.profile_header.empty()) json["profile_header"] = v.profile_header;
    if (v.kind == Notify_view::Body::link) {
        json["profile"] = Json{{"id", v.profile_id}, {"name", v.profile_name}};
        json["link"] = Json{{"reference", v.reference}, {"name", v.name},     {"mac", v.mac},
                            {"ip", v.ip_address},       {"status", v.status}, {"cause", v.cause}};
    }
    if (v.kind == Notify_view::Body::link || v.kind == Notify_view::Body::access)
        json["access"] = access_json(v);
    if (v.kind == Notify_view::Body::unknown) json["body"] = v.raw;
    return dump(json);
}

std::string print_text(const std::string& what, const std::string& detail, const std::string& time)
{
    return time + "  " + what + ": " + detail;
}

std::string print_json(const std::string& what, const std::string& detail, const std::string& time)
{
    return dump(Json{{"type", what}, {"time", time}, {"detail", detail}});
}
