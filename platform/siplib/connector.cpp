#include "siplib/connector.h"

#include "siplib/client_connection.h"
#include "siplib/header_check.h"
#include "siplib/log.h"
#include "siplib/notifier.h"
#include "siplib/sip_text.h"
#include "siplib/stack.h"

#include <algorithm>
#include <string_view>

namespace siplib {
namespace {

const char* shown(const char* text)
{
    return text ? text : "(null)";
}

// "sip:<digits>": a request for a port rather than an address. A number with more digits than a port has
// is one too, and then fails.
bool is_port_request(std::string_view uri, long& port)
{
    uri = trimmed(uri);
    if (!same_word(uri.substr(0, 4), "sip:") || uri.size() < 5) return false;
    const std::string_view digits = uri.substr(4);
    if (!std::all_of(digits.begin(), digits.end(), is_digit)) return false;
    if (!read_number(digits, 65535, port)) port = -1;
    return true;
}

SIPLIB_SIPObject* open_notifier(long port)
{
    Stack* stack = Stack::running_or_started();
    if (!stack) return nullptr;
    if (port < 0) {
        log_failure("open", "there is no such port");
        return nullptr;
    }
    Notifier* notifier = stack->take_notifier();
    if (!notifier) {
        log_failure("open", "no notifier left");
        return nullptr;
    }
    int opened = 0;
    notifier->open();
    if (stack->backend().open_port(notifier, static_cast<int>(port), opened) != SIPLIB_OK) {
        notifier->abandon();
        return nullptr;
    }
    notifier->opened_at(opened);
    return notifier;
}

SIPLIB_SIPObject* open_client(ClientConnection::Opening opening)
{
    Stack* stack = Stack::running_or_started();
    if (!stack) return nullptr;
    ClientConnection* connection = stack->take_client();
    if (!connection) {
        log_failure("open", "no connection left: all are in use");
        return nullptr;
    }
    if (!connection->open(std::move(opening))) {
        stack->clients().give_back(connection);
        return nullptr;
    }
    return connection;
}

bool readable(const char* text, const char* what, Uri& uri)
{
    if (text && read_uri(text, uri)) return true;
    log_failure("open", "unusable %s: %.200s", what, shown(text));
    return false;
}

// A header value with a URI in it, good to become From or To.
bool usable_value(const char* value, const char* header)
{
    Uri uri;
    if (value && !has_control(value) && read_uri(uri_in(value), uri) && header_parses(header, value))
        return true;
    log_failure("open", "unusable %s: %.200s", header, shown(value));
    return false;
}

} // namespace

SIPLIB_SIPObject* open_uri(const char* desturi, const char* srcuri)
{
    long port = 0;
    if (desturi && !srcuri && is_port_request(desturi, port)) return open_notifier(port);
    Uri destination;
    Uri source;
    if (!readable(desturi, "destination", destination) || (srcuri && !readable(srcuri, "source", source)))
        return nullptr;
    ClientConnection::Opening opening;
    opening.request_uri = destination.text;
    return open_client(std::move(opening));
}

SIPLIB_SIPObject* open_address(const char* type, const char* destip, int destport, const char* srcip, int)
{
    const std::string_view transport = type ? type : "";
    const bool tcp = same_word(transport, "tcp");
    if ((!tcp && !transport.empty() && !same_word(transport, "udp")) || !destip || destport > 65535) {
        log_failure("open", "unusable type or address: %.20s %.100s %d", shown(type), shown(destip),
                    destport);
        return nullptr;
    }
    const bool is_reference =
        std::string_view(destip).find(':') != std::string_view::npos && destip[0] != '[';
    std::string text = "sip:";
    text.append(is_reference ? "[" : "").append(destip).append(is_reference ? "]" : "");
    text.append(":").append(std::to_string(destport > 0 ? destport : 5060));
    if (!transport.empty()) text.append(tcp ? ";transport=tcp" : ";transport=udp");
    Uri destination;
    if (!readable(text.c_str(), "address", destination) || (srcip && has_control(srcip))) return nullptr;
    ClientConnection::Opening opening;
    opening.request_uri = destination.text;
    return open_client(std::move(opening));
}

SIPLIB_SIPObject* open_to_from(const char* to, const char* from, const char* srcuri)
{
    Uri source;
    if (!usable_value(to, "To") || !usable_value(from, "From")) return nullptr;
    if (srcuri && *srcuri && !readable(srcuri, "source", source)) return nullptr;
    ClientConnection::Opening opening;
    opening.request_uri = uri_in(to);
    opening.to = to;
    opening.from = from;
    if (!source.text.empty()) opening.contact.append("<").append(source.text).append(">");
    return open_client(std::move(opening));
}

} // namespace siplib
