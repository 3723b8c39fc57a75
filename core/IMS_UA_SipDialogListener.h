// Accepts each SIP request inside a dialog and queues it like any other request.
//
// Thread   called on the SIP library's threads.
// Memory   borrows the agent, which must outlive every callback.
#ifndef IMS_UA_SIPDIALOGLISTENER_H_INCLUDED
#define IMS_UA_SIPDIALOGLISTENER_H_INCLUDED

#include "include/imsua_export.h"
#include "siplib/SIPLIB.h"

class IMS_User_Agent;

class IMSUA_API IMS_UA_SipDialogListener : public SIPLIB_SIPDialogListener {
public:
    // `user_agent` may be null: then requests are accepted, logged and dropped.
    explicit IMS_UA_SipDialogListener(IMS_User_Agent* user_agent);

    // As IMS_UA_SipServerConnListener::notifyRequest, but takes the request that belongs to `dialog`.
    void notifyRequest(SIPLIB_SIPNotifier* notifier, SIPLIB_SIPDialog* dialog) override;

private:
    IMS_User_Agent* user_agent_;
};

#endif
