#include "siplib/field_access.h"

#include "siplib/SIPLIB_Stack.h"
#include "siplib/header_check.h"
#include "siplib/log.h"
#include "siplib/plain_value.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace siplib {
namespace {

std::atomic<unsigned> cut_bodies{0};

// As much of `value` as fits, and a zero.
int copy_text(std::string_view value, char* buf, int& len)
{
    const std::size_t room = static_cast<std::size_t>(len) - 1;
    const std::size_t size = std::min(room, value.size());
    if (size > 0) std::memcpy(buf, value.data(), size);
    buf[size] = '\0';
    len = static_cast<int>(size);
    return size < value.size() ? SIPLIB_ERR_TRUNCATED : SIPLIB_OK;
}

} // namespace

int copy_header(const Message& message, const char* name, char* buf, int& len)
{
    if (!buf || len <= 0) return SIPLIB_ERR_ARGUMENT;
    buf[0] = '\0';
    if (!name || !*name) return SIPLIB_ERR_ARGUMENT;
    const std::string_view value = message.find(name);
    if (value.data() == nullptr) {
        len = 0;
        return SIPLIB_ERR_NOT_FOUND;
    }
    return copy_text(value, buf, len);
}

int copy_body(const Message& message, std::string_view method, char* buf, int& len)
{
    if (!buf || len <= 0) return SIPLIB_ERR_ARGUMENT;
    const std::string_view body = message.body();
    const int capacity = len;
    const std::size_t size = std::min(static_cast<std::size_t>(capacity), body.size());
    if (size > 0) std::memcpy(buf, body.data(), size);
    len = static_cast<int>(size);
    if (size == body.size()) return SIPLIB_OK;
    cut_bodies.fetch_add(1, std::memory_order_relaxed);
    log_failure("getBody", "the body of %.*s has %u bytes and was cut to the reader's %d",
                static_cast<int>(method.size()), method.data(), static_cast<unsigned>(body.size()), capacity);
    return SIPLIB_ERR_TRUNCATED;
}

int copy_method(std::string_view method, char* buf, int capacity)
{
    if (!buf || capacity <= 0) return SIPLIB_ERR_ARGUMENT;
    buf[0] = '\0';
    if (method.size() >= static_cast<std::size_t>(capacity)) return SIPLIB_ERR_TRUNCATED;
    int room = capacity;
    return copy_text(method, buf, room);
}

std::string_view method_of(const Message& message)
{
    std::string_view line = message.start_line();
    if (line.substr(0, 8) != "SIP/2.0 ") return line.substr(0, line.find(' '));
    const std::string_view cseq = message.find("CSeq");
    const auto blank = cseq.find_first_of(" \t");
    return blank == std::string_view::npos ? std::string_view() : trimmed(cseq.substr(blank));
}

int put_header(Message& message, const char* name, const char* value, bool more)
{
    if (!name || !value || !is_token(name)) return SIPLIB_ERR_ARGUMENT;
    const std::string_view text(value);
    if (text.size() > max_message_size || has_control(text)) return SIPLIB_ERR_ARGUMENT;
    if (message.wire_size() + text.size() + std::strlen(name) > max_message_size) return SIPLIB_ERR_ARGUMENT;
    if (more && is_single_header(name) && message.has(name)) return SIPLIB_ERR_SYNTAX;
    if (!is_plain_value(name, text) && !header_parses(name, value)) return SIPLIB_ERR_SYNTAX;
    if (more)
        message.add(name, text);
    else
        message.set(name, text);
    return SIPLIB_OK;
}

int remove_header(Message& message, const char* name)
{
    if (!name || !*name) return SIPLIB_ERR_ARGUMENT;
    return message.remove(name) > 0 ? SIPLIB_OK : SIPLIB_ERR_NOT_FOUND;
}

int put_body(Message& message, const char* data, int len)
{
    if (len < 0 || (!data && len > 0) || static_cast<std::size_t>(len) > max_message_size)
        return SIPLIB_ERR_ARGUMENT;
    message.set_body(len == 0 ? std::string_view() : std::string_view(data, static_cast<std::size_t>(len)));
    return SIPLIB_OK;
}

int check_method(const char* name)
{
    if (!name || std::strlen(name) >= SIPLIB_METHOD_SIZE || !is_token(name)) return SIPLIB_ERR_ARGUMENT;
    return SIPLIB_OK;
}

} // namespace siplib

unsigned SIPLIB_SIPCutBodies()
{
    return siplib::cut_bodies.load(std::memory_order_relaxed);
}
