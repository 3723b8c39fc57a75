// The connection to the framework daemon.
#include "core/IMS_User_Agent.h"
#include "include/shared_value.h"

namespace {

void log_framework_pointers(const char* function)
{
    const void* connector = imsua::load_shared(IMS_User_Agent::__ua_fwk_connector);
    const void* intf = imsua::load_shared(IMS_User_Agent::__ua_fwk_intf);
    IMS_log::loginfo(5, function, "__ua_fwk_connector =%p __ua_fwk_intf=%p", connector, intf);
}

} // namespace

int IMS_User_Agent::open_framework_sockets()
{
    log_framework_pointers("open_framework_sockets");
    return IMS_fwk_util::open_framework_sockets(&__ua_fwk_connector, &__ua_fwk_intf, __ua_arg_fwksyncport,
                                                __ua_arg_fwkasyncport, &__ua_sock);
}

int IMS_User_Agent::close_framework_sockets()
{
    log_framework_pointers("close_framework_sockets");
    return IMS_fwk_util::close_framework_sockets(&__ua_fwk_connector, &__ua_fwk_intf);
}

void IMS_User_Agent::wait_for_framework_init()
{
    IMS_log::loginfo(5, "wait_for_framework_init", "waiting for sync from framework");
    SIP_IMS_cfg_intf* const intf = imsua::load_shared(__ua_fwk_intf);
    if (intf) intf->wait_for_sync();
    IMS_log::loginfo(5, "wait_for_framework_init", "resuming normal operations");
}
