// A dialog (RFC 3261 section 12): made by a 2xx to SUBSCRIBE or INVITE, in either role.
//
// Thread, Memory, Errors   as SIPLIB_SIPObject.
#ifndef SIPLIB_SIPDIALOG_H_INCLUDED
#define SIPLIB_SIPDIALOG_H_INCLUDED

#include "siplib/SIPLIB_SIPObject.h"

// What a message inside a dialog says of itself; passed by value to notifyIncomingMessage.
struct SIPLIB_SipUaInfo {
    std::string method;
    std::string from, to, call_id;
    std::int32_t response_code = 0; // 0 for a request
};

// Told about what arrives inside a dialog. Never owned by the library.
class SIPLIB_API SIPLIB_SIPDialogListener {
public:
    virtual ~SIPLIB_SIPDialogListener() = default;

    // A message arrived inside the dialog; called before notifyRequest. The base ignores it.
    virtual void notifyIncomingMessage(SIPLIB_SipUaInfo) {}

    // A request waits: notifier->acceptAndOpen(dialog) yields it. *Thread* a library thread, no lock held.
    virtual void notifyRequest(SIPLIB_SIPNotifier*, SIPLIB_SIPDialog*) = 0;
};

class SIPLIB_API SIPLIB_SIPDialog : public SIPLIB_SIPObject {
public:
    // From now on requests inside the dialog are announced here, not to the notifier's own listener; null
    // gives them back to that one. Waits as SIPLIB_SIPNotifier::setListener does.
    virtual int setListener(SIPLIB_SIPDialogListener*) { return SIPLIB_ERR_UNSUPPORTED; }

    // A client connection with a request inside the dialog: From, To, Call-ID, Request-URI and Route come
    // from the dialog. null: closed dialog, bad method, or no connection left.
    virtual SIPLIB_SIPClientConnection* newRequest(const char* /*method*/) { return nullptr; }

    // The dialog's Call-ID. SIPLIB_ERR_STATE: closed, the text is left alone.
    virtual int getCallId(std::string&) { return SIPLIB_ERR_UNSUPPORTED; }

    SIPLIB_SIPDialog* asDialog() override { return this; }
};

#endif
