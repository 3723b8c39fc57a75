#include "tools/imswatch/received_notify.h"

#include "include/ims_types.h"
#include "messages/IMS_NotifyDALinkAvailEv.h"
#include "messages/IMS_NotifyDALinkEv.h"

#include <array>

namespace {

// The first access-type of a document is read into the radio record, whichever part it stands in.
bool read_link(SIPLIB_SIPConnection& connection, Notify_view& view)
{
    IMS_NotifyDALinkEv message(&connection);
    const auto* document = static_cast<const DALinkEvXmlData*>(message.body);
    if (document == nullptr || document->device.status.empty()) return false;
    view.kind = Notify_view::Body::link;
    view.profile_name = document->name;
    view.profile_id = document->profile_id;
    view.reference = document->link_reference;
    view.name = document->device.name;
    view.mac = document->device.ue_mac;
    view.ip_address = document->device.ip_address;
    view.status = document->device.status;
    view.cause = document->device.cause;
    view.network = document->access_network;
    view.access_type = document->coverage.access_type;
    view.access_point = document->ieee.ap;
    return true;
}

bool read_access(SIPLIB_SIPConnection& connection, const std::string& raw, Notify_view& view)
{
    if (raw.find("<access-network") == std::string::npos) return false;
    if (raw.find("<3GPP") != std::string::npos) return false; // no XML parser reads that element
    IMS_NotifyDALinkAvailEv message(&connection);
    const auto* document = static_cast<const DALinkAvailEvXmlData*>(message.body);
    if (document == nullptr) return false;
    view.kind = Notify_view::Body::access;
    view.network = document->access_network;
    view.access_type = document->threegpp.access_type;
    view.access_point = document->ieee.ap;
    return true;
}

std::string raw_body(SIPLIB_SIPConnection& connection)
{
    std::array<char, BODY_BUFFER_SIZE> body{};
    int length = static_cast<int>(body.size());
    const int status = connection.getBody(body.data(), length);
    if (status != SIPLIB_OK && status != SIPLIB_ERR_TRUNCATED) return {};
    return {body.data(), static_cast<std::size_t>(length)};
}

// One line for the terminal: what a peer sends must not move its cursor.
std::string printable(std::string text)
{
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = ' ';
    return text;
}

} // namespace

std::string header_of(SIPLIB_SIPConnection& connection, const char* name)
{
    std::array<char, 2048> value{};
    int length = static_cast<int>(value.size());
    return connection.getHeader(name, value.data(), length) == SIPLIB_OK ? value.data() : "";
}

bool read_notify(SIPLIB_SIPConnection& connection, Notify_view& view)
{
    if (!parse_subscription_state(header_of(connection, "Subscription-State"), view.subscription))
        return false;
    view.profile_header = header_of(connection, "Kiv-Profile-ID");
    const std::string raw = raw_body(connection);
    if (raw.empty()) return true;
    if (view.package == "kiv-link-event" && read_link(connection, view)) return true;
    if (view.package == "kiv-link-avail-event" && read_access(connection, raw, view)) return true;
    view.kind = Notify_view::Body::unknown;
    view.raw = printable(raw);
    return true;
}
