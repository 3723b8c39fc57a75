#include "baseuafw/fwk_session.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>

namespace {

using fwk::Session;

// Every session that was ever opened. Other threads may still hold a closed one's address, so none is
// deleted; the list is never destroyed either, since exit() may run beside them.
struct Sessions {
    std::mutex mutex;
    std::vector<Session*> all;
};

Sessions& sessions()
{
    static auto* const kept = new Sessions;
    return *kept;
}

// Null when `intf` is not one of ours: a mock, or nothing.
Session* session_of(const SIP_IMS_cfg_intf* intf)
{
    Sessions& kept = sessions();
    const std::lock_guard<std::mutex> guard(kept.mutex);
    const auto found = std::find_if(kept.all.begin(), kept.all.end(), [intf](const Session* s) {
        return static_cast<const SIP_IMS_cfg_intf*>(s) == intf;
    });
    return found == kept.all.end() ? nullptr : *found;
}

void keep(Session* session)
{
    Sessions& kept = sessions();
    const std::lock_guard<std::mutex> guard(kept.mutex);
    kept.all.push_back(session);
}

// Other threads read the two pointers without a lock.
template <typename T>
void publish(T** where, T* value)
{
    __atomic_store_n(where, value, __ATOMIC_RELEASE);
}

Session* open_session(int sync_port, int async_port, IMS_socket* sock)
{
    auto session = std::make_unique<Session>(sync_port, async_port, sock);
    if (!session->open()) return nullptr;
    keep(session.get());
    return session.release();
}

} // namespace

int IMS_fwk_util::open_framework_sockets(SIP_IMS_cfg_intf_IMS_socket** connector, SIP_IMS_cfg_intf** intf,
                                         const char* sync_port, const char* async_port, IMS_socket* sock)
{
    if (connector == nullptr || intf == nullptr) return 0;
    close_framework_sockets(connector, intf);
    const int sync = fwk::parse_port(sync_port);
    const int async = fwk::parse_port(async_port);
    if (sync == 0 || async == 0) return 0;
    try {
        Session* const session = open_session(sync, async, sock);
        if (session == nullptr) {
            IMS_log::loginfo(4, "fwk_session", "no framework daemon at ports %d and %d", sync, async);
            return 0;
        }
        publish<SIP_IMS_cfg_intf>(intf, session);
        publish<SIP_IMS_cfg_intf_IMS_socket>(connector, session);
        return 1;
    } catch (const std::bad_alloc&) {
        IMS_log::loginfo(3, "fwk_session", "out of memory");
        return 0;
    }
}

int IMS_fwk_util::close_framework_sockets(SIP_IMS_cfg_intf_IMS_socket** connector, SIP_IMS_cfg_intf** intf)
{
    if (connector == nullptr || intf == nullptr) return 0;
    const bool was_open = *connector != nullptr || *intf != nullptr;
    Session* const session = session_of(*intf);
    publish<SIP_IMS_cfg_intf_IMS_socket>(connector, nullptr);
    publish<SIP_IMS_cfg_intf>(intf, nullptr);
    if (session != nullptr) session->close();
    return was_open ? 1 : 0;
}
