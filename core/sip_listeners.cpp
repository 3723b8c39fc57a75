// The three ways in which SIP traffic reaches the queue. No SIP work is done here beyond accepting.
#include "core/IMS_UA_SipClientConnListener.h"
#include "core/IMS_UA_SipDialogListener.h"
#include "core/IMS_UA_SipServerConnListener.h"
#include "core/IMS_User_Agent.h"

namespace {

// An accepted request that cannot be delivered is left to the SIP library, which ends its transaction.
void hand_over_request(IMS_User_Agent* user_agent, SIPLIB_SIPConnection* conn)
{
    if (!user_agent)
        IMS_log::loginfo(4, "notifyRequest", "Null user_agent");
    else if (!conn)
        IMS_log::loginfo(4, "notifyRequest", "Null server connection");
    else
        user_agent->handle_notify_request(conn);
}

} // namespace

IMS_UA_SipClientConnListener::IMS_UA_SipClientConnListener(IMS_User_Agent* user_agent)
    : user_agent_(user_agent)
{
}

void IMS_UA_SipClientConnListener::notifyResponse(SIPLIB_SIPClientConnection* conn)
{
    if (!user_agent_)
        IMS_log::loginfo(4, "notifyResponse", "Null user_agent");
    else if (!conn)
        IMS_log::loginfo(4, "notifyResponse", "Null client connection");
    else
        user_agent_->handle_notify_response(conn);
}

IMS_UA_SipServerConnListener::IMS_UA_SipServerConnListener(IMS_User_Agent* user_agent)
    : user_agent_(user_agent)
{
}

void IMS_UA_SipServerConnListener::notifyRequest(SIPLIB_SIPNotifier* notifier)
{
    if (!notifier) {
        IMS_log::loginfo(4, "notifyRequest", "Null SIPNotifier");
        return;
    }
    hand_over_request(user_agent_, notifier->acceptAndOpen());
}

IMS_UA_SipDialogListener::IMS_UA_SipDialogListener(IMS_User_Agent* user_agent) : user_agent_(user_agent) {}

void IMS_UA_SipDialogListener::notifyRequest(SIPLIB_SIPNotifier* notifier, SIPLIB_SIPDialog* dialog)
{
    if (!notifier) {
        IMS_log::loginfo(4, "notifyRequest", "Null SIPNotifier");
        return;
    }
    hand_over_request(user_agent_, notifier->acceptAndOpen(dialog));
}
