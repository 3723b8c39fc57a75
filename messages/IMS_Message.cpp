#include "messages/IMS_Message.h"

#include "baseuafw/baseuafw.h"
#include "include/text.h"
#include "include/while_memory_lasts.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

using imsua::shown;
using imsua::text;

namespace {

// Numbers that the two lines of the route step carry.
enum : int { ROUTE_NOT_CREATED = 118, ROUTE_IS_SET = 130 };

bool given(const char* value)
{
    return value && *value;
}

// A text that a connection wrote ends inside its buffer, whatever the connection did.
void terminate_inside(char* buf, int capacity)
{
    if (!std::memchr(buf, 0, static_cast<std::size_t>(capacity))) buf[capacity - 1] = 0;
}

// The SIP library's addresses take and give strings.
template <typename Work>
void while_memory_lasts(const char* operation, Work work)
{
    if (!imsua::while_memory_lasts(work)) IMS_log::loginfo(3, operation, "out of memory");
}

ImsServerAddress next_hop(int port, const std::string& host, const std::string& transport)
{
    ImsServerAddress hop;
    hop.port = static_cast<std::uint16_t>(port);
    host.copy(hop.host, sizeof hop.host - 1); // the record starts zero-filled
    hop.flag = 1;
    hop.transport = transport;
    return hop;
}

} // namespace

IMS_Message::IMS_Message(SIPLIB_SIPClientConnection* conn, const char* method, const char* from,
                         const char* to, const char* contact, const char* route)
    : connection(conn)
{
    start_request(method, from, to, contact, route);
}

IMS_Message::IMS_Message(SIPLIB_SIPClientConnection* conn, const char* method, const std::string& from,
                         const std::string& to, const std::string& contact, const std::string& route)
    : connection(conn)
{
    start_request(method, from.c_str(), to.c_str(), contact.c_str(), route.c_str());
}

IMS_Message::IMS_Message(SIPLIB_SIPConnection* conn) : connection(conn) {}

IMS_Message::~IMS_Message() = default;

void IMS_Message::start_request(const char* method, const char* from, const char* to, const char* contact,
                                const char* route)
{
    if (!connection) return;
    init_request(method);
    set_addr_header("From", from, nullptr, nullptr);
    set_addr_header("To", to, nullptr, nullptr);
    if (given(contact)) set_addr_header("Contact", contact, nullptr, nullptr);
    if (given(route)) while_memory_lasts("IMS_Message", [&] { set_route(route); });
}

void IMS_Message::set_route(const char* route)
{
    std::unique_ptr<SIPLIB_SIPAddress> address(SIPLIB_SIPAddress::createSIPAddressObject("Route", route));
    if (!address) {
        IMS_log::loginfo(4, "IMS_Message", "%d: SIPLIB_SIPAddress object is not created", ROUTE_NOT_CREATED);
        return;
    }
    int port = 0;
    std::string host;
    std::string transport;
    if (address->getPort(port) != SIPLIB_OK) port = 0;
    if (address->getHost(host) != SIPLIB_OK) host.clear();
    if (address->getParameter("transport", transport) != SIPLIB_OK) transport.clear();
    IMS_log::loginfo(5, "IMS_Message", "%d: calling setImsServerAddress:%s  and port:%d tranposrt %s   ",
                     ROUTE_IS_SET, host.c_str(), port, transport.c_str());
    connection->setImsServerAddress(next_hop(port, host, transport));
}

bool IMS_Message::connected(const char* operation) const
{
    if (!connection) IMS_log::loginfo(4, operation, "failed: Connection is null");
    return connection != nullptr;
}

bool IMS_Message::send()
{
    if (!connected("send")) return false;
    const int status = connection->send();
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "send", "failed: status=%d", status);
        return false;
    }
    IMS_log::loginfo(5, "send", "ok");
    return true;
}

bool IMS_Message::receive()
{
    if (!connected("receive")) return false;
    const int status = connection->receive();
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "receive", "failed: status=%d", status);
        return false;
    }
    IMS_log::loginfo(5, "receive", "ok");
    return true;
}

bool IMS_Message::get_header(const char* tag, char* buf, int len)
{
    if (!connected("get_header")) return false;
    const bool has_room = buf && len > 0;
    if (has_room) std::memset(buf, 0, static_cast<std::size_t>(len));
    int length = len;
    const int status = connection->getHeader(tag, buf, length);
    if (has_room) buf[len - 1] = 0;
    const char* value = has_room || !buf ? buf : "";
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "get_header", "failed: tag=%s val=%s len=%d status=%d", shown(tag), shown(value),
                         len, status);
        return false;
    }
    IMS_log::loginfo(5, "get_header", "tag=%s val=%s len=%d", shown(tag), shown(value), length);
    return true;
}

bool IMS_Message::set_header(const char* tag, const char* val)
{
    if (!connected("set_header")) return false;
    const int status = connection->setHeader(tag, val);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "set_header", "failed: tag=%s val=%s status=%d", shown(tag), shown(val), status);
        return false;
    }
    IMS_log::loginfo(5, "set_header", "tag=%s val=%s", shown(tag), shown(val));
    return true;
}

bool IMS_Message::add_header(const char* tag, const char* val)
{
    if (!connected("add_header")) return false;
    const int status = connection->addHeader(tag, val);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "add_header", "failed: tag=%s val=%s status=%d", shown(tag), shown(val), status);
        return false;
    }
    IMS_log::loginfo(5, "add_header", "tag=%s val=%s", shown(tag), shown(val));
    return true;
}

bool IMS_Message::remove_header(const char* tag)
{
    if (!connected("remove_header")) return false;
    const int status = connection->removeHeader(tag);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "remove_header", "failed: tag=%s status=%d", shown(tag), status);
        return false;
    }
    IMS_log::loginfo(5, "remove_header", "tag=%s", shown(tag));
    return true;
}

bool IMS_Message::get_body(char* buf, int& len)
{
    if (!connection) {
        IMS_log::loginfo(4, "get_body", "%s failed: Connection is null", "get_body");
        return false;
    }
    const int capacity = len;
    if (buf && capacity > 0) std::memset(buf, 0, static_cast<std::size_t>(capacity));
    const int status = connection->getBody(buf, len);
    len = std::min(len, capacity);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "get_body", "failed: len=%d status=%d", len, status);
        return false;
    }
    IMS_log::loginfo(5, "get_body", "len=%d", len);
    return true;
}

bool IMS_Message::set_body(const char* data, int len)
{
    if (!connected("set_body")) return false;
    const int status = connection->setBody(data, len);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "set_body", "failed: status=%d", status);
        return false;
    }
    IMS_log::loginfo(5, "set_body", "ok");
    return true;
}

int IMS_Message::get_response()
{
    if (!connected("get_response")) return 0;
    int code = 0;
    connection->getResponseCode(code);
    IMS_log::loginfo(5, "get_response", "respcode=%d", code);
    return code;
}

bool IMS_Message::init_response(int code)
{
    if (!connected("init_response")) return false;
    const int status = connection->initResponse(code);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "init_response", "failed: resp=%d status=%d", code, status);
        return false;
    }
    IMS_log::loginfo(5, "init_response", "ok resp=%d", code);
    return true;
}

bool IMS_Message::init_request(const char* method)
{
    if (!connected("init_request")) return false;
    const int status = connection->initRequest(method);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "init_request", "failed: request=%s status=%d", shown(method), status);
        return false;
    }
    IMS_log::loginfo(5, "init_request", "request=%s", shown(method));
    return true;
}

bool IMS_Message::is_method(const char* name)
{
    if (!connected("is_method")) return false;
    char method[SIPLIB_METHOD_SIZE] = {};
    connection->getMethod(method, sizeof method);
    terminate_inside(method, sizeof method);
    const bool same = is_method_name(method, name);
    if (same)
        IMS_log::loginfo(5, "is_method", "found %s", name);
    else
        IMS_log::loginfo(5, "is_method", "not found %s", shown(name));
    return same;
}

bool IMS_Message::get_method(char* buf)
{
    return get_method(buf, SIPLIB_METHOD_SIZE);
}

bool IMS_Message::get_method(char* buf, int capacity)
{
    if (!connected("get_method")) return false;
    const bool has_room = buf && capacity > 0;
    if (has_room) buf[0] = 0;
    const int status = connection->getMethod(buf, capacity);
    if (has_room) terminate_inside(buf, capacity);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "get_method", "failed: status=%d", status);
        return false;
    }
    IMS_log::loginfo(5, "get_method", "method=%s", has_room || !buf ? shown(buf) : "");
    return true;
}

bool IMS_Message::set_method(const char* name)
{
    if (!connected("set_method")) return false;
    const int status = connection->setMethod(name);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "set_method", "failed: status=%d", status);
        return false;
    }
    IMS_log::loginfo(5, "set_method", "method=%s", shown(name));
    return true;
}

bool IMS_Message::set_request_uri(const char* uri)
{
    if (!connected("set_request_uri")) return false;
    const int status = connection->setRequestURI(uri);
    if (status != SIPLIB_OK) {
        IMS_log::loginfo(4, "set_request_uri", "failed: request_uri=%s status=%d", shown(uri), status);
        return false;
    }
    IMS_log::loginfo(5, "set_request_uri", "request_uri=%s", shown(uri));
    return true;
}

bool IMS_Message::is_method_name(const char* a, const char* b)
{
    return a && b && std::strcmp(a, b) == 0;
}

void IMS_Message::set_addr_header(const char* tag, const char* addr, const char* param_name,
                                  const char* param_value)
{
    if (!connection) {
        set_header(tag, addr); // logs the one line that says so
        return;
    }
    while_memory_lasts("set_addr_header", [&] {
        const std::unique_ptr<SIPLIB_SIPAddress> address(
            SIPLIB_SIPAddress::createSIPAddressObject(text(tag), text(addr)));
        std::string value;
        if (address && param_name) address->setParameter(param_name, text(param_value));
        if (!address || address->toString(value) != SIPLIB_OK) {
            IMS_log::loginfo(4, "set_addr_header", "SIPLIB_SIPAddress object is not created");
            return;
        }
        set_header(tag, value.c_str());
    });
}
