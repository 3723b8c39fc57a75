// Telephony messages going out: events on the asynchronous connection, responses on the synchronous one.
#include "core/IMS_User_Agent.h"
#include "include/shared_value.h"
#include "include/tapi_wire.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

[[noreturn]] void fail_for_memory(const char* function)
{
    IMS_log::loginfo(3, function, "Unable to allocate memory for TAPI message");
    IMS_daemon::fatal_exit(1);
}

// The bytes of one message on their way out.
class Outgoing {
public:
    // `len` bytes of body follow the header, zeros when `body` is null. No memory, or a size beyond int:
    // logged, exit status 1.
    Outgoing(const char* function, const TAC_MSG_S& header, std::uint32_t slot, const void* body,
             unsigned int len)
        : function_(function)
    {
        if (len <= INT_MAX - TAC_MSG_WIRE_SIZE)
            bytes_ = static_cast<unsigned char*>(std::malloc(wire_size(len)));
        if (!bytes_) fail_for_memory(function);
        size_ = static_cast<int>(wire_size(len));
        imsua::pack_tapi_header(header, slot, bytes_);
        if (body && len != 0)
            std::memcpy(bytes_ + TAC_MSG_WIRE_SIZE, body, len);
        else
            std::memset(bytes_ + TAC_MSG_WIRE_SIZE, 0, len);
    }
    ~Outgoing() { std::free(bytes_); }
    Outgoing(const Outgoing&) = delete;
    Outgoing& operator=(const Outgoing&) = delete;

    int size() const { return size_; }

    // False, logged, when not all of it could be sent.
    bool send(int fd) const
    {
        if (IMS_User_Agent::__ua_sock._send(fd, bytes_, size_) >= 0) return true;
        IMS_log::loginfo(3, function_, "send failed");
        return false;
    }

    // A peer that waits for a response cannot go on without it: the process ends when it cannot be sent.
    void send_or_end(int fd)
    {
        if (send(fd)) return;
        std::free(bytes_);
        IMS_daemon::fatal_exit(1);
    }

private:
    static std::size_t wire_size(unsigned int len) { return std::size_t{len} + TAC_MSG_WIRE_SIZE; }

    const char* const function_;
    unsigned char* bytes_ = nullptr;
    int size_ = 0;
};

void log_response(const char* function, const Outgoing& message, const TAC_MSG_S& header)
{
    IMS_log::loginfo(5, function, "send sync message len=%d msg_id=%d", message.size(), header.msg_id);
}

} // namespace

void IMS_User_Agent::send_tapi_async_message(unsigned short msg_id, unsigned int len, unsigned char* body)
{
    constexpr const char* function = "send_tapi_async_message";
    TAC_MSG_S header = {};
    header.tac_type = 1;
    header.msg_id = msg_id;
    header.body_len = static_cast<std::uint16_t>(len & 0xffffu);
    const Outgoing message(function, header, len != 0 ? imsua::tapi_body_slot(body) : 0, body, len);
    const int fd = imsua::load_shared(__ua_tapi_asyncfd);
    IMS_log::loginfo(5, function, "send async message len=%d msg_id=%d async_fd=%d", message.size(), msg_id,
                     fd);
    message.send(fd);
}

void IMS_User_Agent::send_tapi_sync_resp_message(TAC_MSG_S* request, void* body, unsigned short len)
{
    constexpr const char* function = "send_tapi_sync_resp_message";
    if (!request) return;
    IMS_log::loginfo(5, function, "In %s data len = %d", function, len);
    TAC_MSG_S header = {};
    header.tac_ref = request->tac_ref;
    header.msg_id = request->msg_id;
    header.body_len = len;
    Outgoing message(function, header, 0, body, len);
    log_response(function, message, header);
    message.send_or_end(imsua::load_shared(__ua_tapi_syncfd));
}

void IMS_User_Agent::send_tapi_socket_init_resp(TAC_MSG_S* request)
{
    constexpr const char* function = "send_tapi_socket_init_resp";
    if (!request) return;
    IMS_log::loginfo(5, function, "In %s req msgId = %d", function, request->msg_id);
    const std::uint32_t success = 0;
    TAC_MSG_S header = {};
    header.msg_id = request->msg_id;
    header.body_len = sizeof success;
    Outgoing message(function, header, 0, &success, sizeof success);
    log_response(function, message, header);
    const bool is_asynchronous = request->msg_id == TAPI_SOCKET_INIT;
    message.send_or_end(imsua::load_shared(is_asynchronous ? __ua_tapi_asyncfd : __ua_tapi_syncfd));
}
