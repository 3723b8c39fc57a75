#include "core/IMS_UA_SipServerConnListener.h"
#include "core/IMS_User_Agent.h"
#include "include/shared_value.h"

#include <new>

IMS_User_Agent::IMS_User_Agent()
    : ext_thread_(new (std::nothrow) IMS_thread_utility(0)), tapi_ifc_(nullptr), server_listener_(nullptr)
{
    if (!ext_thread_) {
        IMS_log::loginfo(3, "IMS_User_Agent", "Could not create thread utility!");
        fatal_exit(-1);
    }
    IMS_thread_utility::keep(ext_thread_);
}

// Producers must be at rest before the mutex and the queue go: first the SIP library's threads, then the
// agent's own. Their order does not matter to each other.
IMS_User_Agent::~IMS_User_Agent()
{
    for (SIPLIB_SIPNotifier* notifier : notifiers_)
        notifier->setListener(nullptr); // waits for a callback that is running
    stop_thread();
    delete server_listener_;
}

void IMS_User_Agent::stop_thread()
{
    if (ext_thread_->is_this_thread()) return;
    ext_thread_->cancel_thread();
    if (!ext_thread_->is_running()) return;
    __ua_sock._wake(); // it may be blocked waiting for its descriptors
    ext_thread_->wait_until_ended();
}

void IMS_User_Agent::install_tapi_ifc(IMS_Tapi_ifc* ifc)
{
    imsua::store_shared(tapi_ifc_, ifc);
}

void IMS_User_Agent::handle_notify_tcp_request(SIPLIB_SIPConnection*) {}
void IMS_User_Agent::handle_notify_tcp_response(SIPLIB_SIPConnection*) {}
void IMS_User_Agent::handle_notify_tcp_incoming_conn(SIPLIB_SIPConnection*) {}
void IMS_User_Agent::handle_notify_tcp_conn_closed(SIPLIB_SIPConnection*) {}
void IMS_User_Agent::handle_notify_udp_message(SIPLIB_SIPConnection*) {}
