// Accepts each SIP request outside a dialog and queues it for the agent's main loop.
//
// Thread   called on the SIP library's threads.
// Memory   borrows the agent, which must outlive every callback.
#ifndef IMS_UA_SIPSERVERCONNLISTENER_H_INCLUDED
#define IMS_UA_SIPSERVERCONNLISTENER_H_INCLUDED

#include "include/imsua_export.h"
#include "siplib/SIPLIB.h"

class IMS_User_Agent;

class IMSUA_API IMS_UA_SipServerConnListener : public SIPLIB_SIPServerConnectionListener {
public:
    // `user_agent` may be null: then requests are accepted, logged and dropped.
    explicit IMS_UA_SipServerConnListener(IMS_User_Agent* user_agent);

    // Takes the pending request from `notifier` and hands it to IMS_User_Agent::handle_notify_request.
    // At level 4: "Null SIPNotifier" (nothing is accepted), "Null user_agent" or "Null server connection"
    // (after accepting).
    void notifyRequest(SIPLIB_SIPNotifier* notifier) override;

private:
    IMS_User_Agent* user_agent_;
};

#endif
