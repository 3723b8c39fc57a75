// The external-interface thread: watches the telephony sockets and the framework's asynchronous socket, and
// turns what arrives into queue elements.
#include "core/IMS_Tapi_ifc.h"
#include "core/IMS_User_Agent.h"
#include "include/shared_value.h"
#include "include/text.h"
#include "include/while_memory_lasts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pthread.h>

namespace {

constexpr const char* waiting = "wait_for_ext_message";
constexpr int read_size = 1023; // and a terminating zero

// The framework's asynchronous socket, -1 without one. It changes when the connection was lost and came back.
int framework_descriptor()
{
    const SIP_IMS_cfg_intf_IMS_socket* const connector =
        imsua::load_shared(IMS_User_Agent::__ua_fwk_connector);
    return connector ? connector->get_descriptor() : -1;
}

// Nearly everything that the thread does is a cancellation point, and it must not end with a lock held or a
// message half built.
void only_cancelled_between_rounds()
{
    ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
}

bool is_telephony(int fd)
{
    return fd == imsua::load_shared(IMS_User_Agent::__ua_tapi_asyncfd) ||
           fd == imsua::load_shared(IMS_User_Agent::__ua_tapi_syncfd);
}

// The number stays taken when the peer goes: senders that still use it must not reach somebody else's file.
void take_connection(int fd, int& descriptor, const char* name)
{
    IMS_User_Agent::__ua_sock._pin(fd);
    imsua::store_shared(descriptor, fd);
    IMS_log::loginfo(5, "accept_incoming_connection", "%s=%d", name, fd);
}

int open_telephony_socket()
{
    int fd = -1;
    imsua::while_memory_lasts([&fd] {
        const std::string name = std::string(imsua::text(IMS_daemon::__d_progname)) + ".sock";
        fd = IMS_User_Agent::__ua_sock._socket(name.c_str(), "unix", "stream");
    });
    return fd;
}

} // namespace

int IMS_User_Agent::create_all_external_descriptors()
{
    const int fd = open_telephony_socket();
    imsua::store_shared(__ua_tapi_listenfd, fd);
    if (fd < 0) return 0;
    IMS_log::loginfo(5, "create_all_external_descriptors", "calling create_external_interface_thread");
    return create_external_interface_thread();
}

int IMS_User_Agent::create_external_interface_thread()
{
    constexpr const char* function = "create_external_interface_thread";
    if (ext_thread_->create_thread(&wrap_ext_thread, this) == 0) {
        IMS_log::loginfo(5, function, "External thread created");
        return 1;
    }
    IMS_log::loginfo(3, function, "External thread could not be created");
    return 0;
}

void* IMS_User_Agent::wrap_ext_thread(void* ua)
{
    if (!ua) return nullptr;
    only_cancelled_between_rounds();
    const int listener = imsua::load_shared(__ua_tapi_listenfd);
    if (listener >= 0) {
        __ua_sock._listen(listener, 2);
        __ua_sock._set(listener, "r");
    }
    const int framework = framework_descriptor();
    if (framework >= 0) __ua_sock._set(framework, "r");
    static_cast<IMS_User_Agent*>(ua)->wait_for_ext_message();
}

void IMS_User_Agent::wait_for_ext_message()
{
    only_cancelled_between_rounds();
    std::vector<int> readable;
    for (;;) {
        if (__ua_sock._select("rw", readable) >= 0)
            for (const int fd : readable)
                serve_descriptor(fd);
        ::pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
        ext_thread_->testCancel();
        only_cancelled_between_rounds();
    }
}

void IMS_User_Agent::serve_descriptor(int fd)
{
    if (fd == imsua::load_shared(__ua_tapi_listenfd)) {
        accept_incoming_connection(fd);
        return;
    }
    std::array<unsigned char, read_size + 1> buffer{};
    const int n = __ua_sock._recvfrom(fd, buffer.data(), read_size);
    if (n > 0) {
        buffer[static_cast<std::size_t>(n)] = 0;
        IMS_log::loginfo(5, waiting, "received %d bytes", n);
        handle_received(fd, buffer.data(), n);
    } else if (n == 0) {
        IMS_log::loginfo(4, waiting, "peer closed connection");
        __ua_sock._close(fd);
    } else
        IMS_log::loginfo(5, waiting, "recv error %d", errno);
}

// One read is one batch: nothing is kept for the next one. Bytes on any other descriptor are dropped.
void IMS_User_Agent::handle_received(int fd, unsigned char* bytes, int count)
{
    if (fd == framework_descriptor()) {
        IMS_log::loginfo(5, waiting, "wait_for_ext_message: calling handle_fwk_message....\n");
        handle_fwk_message(fd, bytes, count);
        return;
    }
    IMS_Tapi_ifc* const ifc = imsua::load_shared(tapi_ifc_);
    if (!ifc || !is_telephony(fd)) return;
    IMS_log::loginfo(5, waiting, "wait_for_ext_message: calling handle_tapi_message....\n");
    ifc->handle_tapi_message(bytes, count);
}

void IMS_User_Agent::accept_incoming_connection(int listenfd)
{
    const int fd = __ua_sock._accept(listenfd);
    if (fd < 0) {
        IMS_log::loginfo(3, "accept_incoming_connection", "accept failed");
        fatal_exit(1);
    }
    if (imsua::load_shared(__ua_tapi_asyncfd) < 0)
        take_connection(fd, __ua_tapi_asyncfd, "__ua_tapi_asyncfd");
    else if (imsua::load_shared(__ua_tapi_syncfd) < 0)
        take_connection(fd, __ua_tapi_syncfd, "__ua_tapi_syncfd");
    __ua_sock._set(fd, "r");
}

void IMS_User_Agent::handle_fwk_message(int&, unsigned char* buf, int& len)
{
    const int size = buf ? std::max(len, 0) : 0;
    std::printf("Received Framework message len=%d\n", size);
    auto* const text = static_cast<char*>(std::malloc(static_cast<std::size_t>(size) + 1));
    if (!text) {
        IMS_log::loginfo(3, "handle_fwk_message", "cannot allocate memory for framework message!");
        return;
    }
    if (size != 0) std::memcpy(text, buf, static_cast<std::size_t>(size));
    text[size] = '\0';
    std::printf("Received Framework message=%s", text);
    std::fflush(stdout);
    fill_queue_and_send_signal(MSG_TYPE_FWK, text);
}

void IMS_User_Agent::parse_prov_msg(const char* text, std::vector<std::string>& lines)
{
    const bool whole = imsua::while_memory_lasts([text, &lines] {
        IMS_utility::tokenize(imsua::text(text), lines, "\n");
        if (!lines.empty()) lines.erase(lines.begin());
    });
    if (whole) return;
    IMS_log::loginfo(3, "parse_prov_msg", "out of memory");
    lines.clear();
}
