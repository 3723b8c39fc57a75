// SUBSCRIBE to the package "kiv-link-avail-event": link availability.
//
// Thread, Memory   as IMS_Message.
#ifndef IMS_SUBSDALINKAVAILEV_H_INCLUDED
#define IMS_SUBSDALINKAVAILEV_H_INCLUDED

#include "messages/IMS_Subscribe.h"

// The one SUBSCRIBE that carries Kiv-Profile-ID.
class IMSUA_API IMS_SubsDALinkAvailEv : public IMS_Subscribe {
public:
    // Expires is 0 until set_expires says otherwise; no route; Kiv-Profile-ID is `profile`, also when
    // negative.
    IMS_SubsDALinkAvailEv(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                          const char* contact, int profile);
    IMS_SubsDALinkAvailEv(SIPLIB_SIPClientConnection* conn, std::string from, std::string to,
                          std::string contact, int profile);
    ~IMS_SubsDALinkAvailEv() override;
};

#endif
