#include "siplib/request_text.h"

#include "siplib/random_text.h"

#include <arpa/inet.h>
#include <cstring>
#include <netdb.h>

namespace siplib {
namespace {

constexpr std::size_t via_allowance = 256; // what the stack adds on top: Via with branch and rport

void add_from_tag(Message& message)
{
    const std::string_view from = message.find("From");
    if (!tag_in(from).empty()) return;
    const std::string tag = random_text(16);
    std::string tagged;
    tagged.reserve(from.size() + 5 + tag.size());
    tagged.append(from).append(";tag=").append(tag);
    message.set("From", tagged);
}

int add_cseq(Message& message, const std::string& method, CSeqTable& cseqs)
{
    const std::string_view set = message.find("CSeq");
    if (set.data() == nullptr) {
        const std::uint32_t number = cseqs.next(key_of_own_request(message));
        message.add("CSeq", std::to_string(number) + " " + method);
        return SIPLIB_OK;
    }
    const auto blank = set.find_first_of(" \t");
    long number = 0;
    if (blank == std::string_view::npos || !read_number(set.substr(0, blank), 0x7fffffff, number) ||
        trimmed(set.substr(blank)) != method)
        return SIPLIB_ERR_SYNTAX;
    cseqs.note(key_of_own_request(message), static_cast<std::uint32_t>(number));
    return SIPLIB_OK;
}

bool content_length_is_right(const Message& message)
{
    const std::string_view set = message.find("Content-Length");
    long length = 0;
    return set.data() == nullptr || (read_number(set, 0x7fffffff, length) &&
                                     static_cast<std::size_t>(length) == message.body().size());
}

void write_request(const Message& message, const std::string& method, const std::string& uri,
                   std::string& text)
{
    text.reserve(text.size() + message.wire_size() + method.size() + uri.size() + 64);
    text.append(method).append(" ").append(uri).append(" SIP/2.0\r\n");
    message.append_fields_to(text);
    text.append("Content-Length: ").append(std::to_string(message.body().size())).append("\r\n\r\n");
    text.append(message.body());
}

bool is_numeric(const std::string& host)
{
    unsigned char bytes[sizeof(in6_addr)];
    return inet_pton(AF_INET, host.c_str(), bytes) == 1 || inet_pton(AF_INET6, host.c_str(), bytes) == 1;
}

bool look_up(const std::string& host, std::string& address)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0) return false;
    char text[NI_MAXHOST] = "";
    const bool ok =
        getnameinfo(found->ai_addr, found->ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0;
    freeaddrinfo(found);
    if (ok) address = text;
    return ok;
}

// Which host, port and transport the request goes to, before names are looked up.
int choose_hop(const Message& message, const std::string& request_uri, const NextHop& hop, Target& target,
               std::string_view& transport)
{
    Uri uri;
    const bool readable = read_uri(request_uri, uri);
    const std::string_view route = message.find("Route");
    if (!route.empty() && hop.host.empty() && !read_uri(uri_in(route.substr(0, route.find(','))), uri))
        return SIPLIB_ERR_SYNTAX;
    if (!hop.host.empty()) {
        target.host = hop.host;
        target.port = hop.port;
        transport = !hop.transport.empty() ? hop.transport : uri.transport;
        return SIPLIB_OK;
    }
    if (!readable && route.empty()) return SIPLIB_ERR_SYNTAX;
    if (!same_word(uri.scheme, "sip")) return SIPLIB_ERR_TRANSPORT; // sips needs TLS, tel needs a next hop
    target.host = uri.host;
    target.port = uri.port ? uri.port : 5060;
    transport = uri.transport;
    return SIPLIB_OK;
}

} // namespace

DialogKey key_of_own_request(const Message& message)
{
    return {message.find("Call-ID"), tag_in(message.find("From")), tag_in(message.find("To"))};
}

bool is_addressed(const Message& message, const std::string& uri)
{
    return !uri.empty() && !message.find("From").empty() && !message.find("To").empty();
}

int complete_request(Message& message, const std::string& method, const std::string& uri, CSeqTable& cseqs,
                     std::string& text)
{
    if (!is_addressed(message, uri)) return SIPLIB_ERR_STATE;
    if (!content_length_is_right(message)) return SIPLIB_ERR_SYNTAX;
    add_from_tag(message);
    if (!message.has("Call-ID")) message.add("Call-ID", random_text(32));
    if (const int status = add_cseq(message, method, cseqs)) return status;
    if (!message.has("Max-Forwards")) message.add("Max-Forwards", "70");
    const std::size_t before = text.size();
    write_request(message, method, uri, text);
    return text.size() - before + via_allowance > max_message_size ? SIPLIB_ERR_ARGUMENT : SIPLIB_OK;
}

int find_target(const Message& message, const std::string& uri, const NextHop& hop, Target& target)
{
    std::string_view transport;
    if (const int status = choose_hop(message, uri, hop, target, transport)) return status;
    target.tcp = same_word(transport, "tcp");
    if (!target.tcp && !transport.empty() && !same_word(transport, "udp")) return SIPLIB_ERR_TRANSPORT;
    if (!is_numeric(target.host)) {
        const std::string name = target.host;
        if (!look_up(name, target.host)) return SIPLIB_ERR_TRANSPORT;
    }
    const bool v6 = target.host.find(':') != std::string::npos;
    target.route.clear();
    target.route.append(v6 ? "sip:[" : "sip:").append(target.host).append(v6 ? "]:" : ":");
    target.route.append(std::to_string(target.port)).append(target.tcp ? ";transport=tcp" : ";transport=udp");
    return SIPLIB_OK;
}

} // namespace siplib
