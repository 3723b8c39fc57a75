// NOTIFY of the package "kiv-reg-event-info": how the registration stands. One notifier tells the status of a
// profile; a subscriber reads either the state document of an IMS core or a user agent's description.
//
// Thread, Memory   as IMS_Notify. `body` of a received one is a RegXmlData or a RegUaXmlData, or null.
#ifndef IMS_NOTIFYREG_H_INCLUDED
#define IMS_NOTIFYREG_H_INCLUDED

#include "messages/IMS_Notify.h"
#include "xml/NotifyUaXmlData.h"
#include "xml/RegUaXmlData.h"
#include "xml/RegXmlData.h"

// A NOTIFY about registrations.
class IMSUA_API IMS_NotifyReg : public IMS_Notify {
public:
    // An active NOTIFY with Expires 0 and Content-Type application/reginfo+xml.
    IMS_NotifyReg(SIPLIB_SIPClientConnection* conn, const char* from, const char* to, const char* contact,
                  NotifyUaXmlData* body);
    IMS_NotifyReg(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                  const std::string& contact, NotifyUaXmlData* body);
    // Reads and parses the body of a received NOTIFY: at most 1024 bytes, the rest is cut off (and the text
    // then fails to parse). `reg_state` true: as RegXmlData with an empty match_uri, so that the first
    // contact of each registration is the one reported; false: as RegUaXmlData. An empty body leaves `body`
    // null; one that cannot be parsed leaves an empty document.
    IMS_NotifyReg(SIPLIB_SIPConnection* conn, bool reg_state);
    ~IMS_NotifyReg() override;
};

#endif
