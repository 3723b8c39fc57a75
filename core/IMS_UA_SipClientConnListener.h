// Queues each SIP response for the agent's main loop.
//
// Thread   called on the SIP library's threads.
// Memory   borrows the agent, which must outlive every callback.
#ifndef IMS_UA_SIPCLIENTCONNLISTENER_H_INCLUDED
#define IMS_UA_SIPCLIENTCONNLISTENER_H_INCLUDED

#include "include/imsua_export.h"
#include "siplib/SIPLIB.h"

class IMS_User_Agent;

class IMSUA_API IMS_UA_SipClientConnListener : public SIPLIB_SIPClientConnectionListener {
public:
    // `user_agent` may be null: then every callback only logs.
    explicit IMS_UA_SipClientConnListener(IMS_User_Agent* user_agent);

    // Hands `conn` to IMS_User_Agent::handle_notify_response. "Null user_agent" or "Null client
    // connection" at level 4 when there is nothing to hand over.
    void notifyResponse(SIPLIB_SIPClientConnection* conn) override;

private:
    IMS_User_Agent* user_agent_;
};

#endif
