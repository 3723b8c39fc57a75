// NOTIFY of the package "kiv-link-avail-event": which access network is available.
//
// Thread, Memory   as IMS_Notify. `body` of a received one is a DALinkAvailEvXmlData, or null.
#ifndef IMS_NOTIFYDALINKAVAILEV_H_INCLUDED
#define IMS_NOTIFYDALINKAVAILEV_H_INCLUDED

#include "messages/IMS_Notify.h"
#include "xml/DALinkAvailEvXmlData.h"

// A NOTIFY whose document is a DALinkAvailEvXmlData.
class IMSUA_API IMS_NotifyDALinkAvailEv : public IMS_Notify {
public:
    // An active NOTIFY with Expires 0 and Content-Type application/xml.
    IMS_NotifyDALinkAvailEv(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                            const char* contact, DALinkAvailEvXmlData* body);
    IMS_NotifyDALinkAvailEv(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                            const std::string& contact, DALinkAvailEvXmlData* body);
    // Reads and parses the body of a received NOTIFY: at most 1024 bytes, the rest is cut off (and the text
    // then fails to parse). An empty body leaves `body` null; one that cannot be parsed, and that is every
    // one with the element "3GPP", leaves an empty document.
    explicit IMS_NotifyDALinkAvailEv(SIPLIB_SIPConnection* conn);
    ~IMS_NotifyDALinkAvailEv() override;
};

#endif
