// NOTIFY of the package "kiv-link-event": a link event for one profile.
//
// Thread, Memory   as IMS_Notify. `body` of a received one is a DALinkEvXmlData, or null.
#ifndef IMS_NOTIFYDALINKEV_H_INCLUDED
#define IMS_NOTIFYDALINKEV_H_INCLUDED

#include "messages/IMS_Notify.h"
#include "xml/DALinkEvXmlData.h"

// A NOTIFY whose document is a DALinkEvXmlData.
class IMSUA_API IMS_NotifyDALinkEv : public IMS_Notify {
public:
    // An active NOTIFY with Expires 1, Kiv-Profile-ID `profile` and Content-Type application/xml.
    IMS_NotifyDALinkEv(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                       const char* contact, DALinkEvXmlData* body, int profile);
    IMS_NotifyDALinkEv(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                       const std::string& contact, DALinkEvXmlData* body, int profile);
    // Reads and parses the body of a received NOTIFY: at most 1024 bytes, the rest is cut off (and the text
    // then fails to parse). An empty body leaves `body` null; one that cannot be parsed leaves an empty
    // document.
    explicit IMS_NotifyDALinkEv(SIPLIB_SIPConnection* conn);
    ~IMS_NotifyDALinkEv() override;
};

#endif
