// SUBSCRIBE to the package "kiv-link-event": link events.
//
// Thread, Memory   as IMS_Message.
#ifndef IMS_SUBSDALINKEV_H_INCLUDED
#define IMS_SUBSDALINKEV_H_INCLUDED

#include "messages/IMS_Subscribe.h"

// A SUBSCRIBE without Kiv-Profile-ID, although the NOTIFYs it brings carry one.
class IMSUA_API IMS_SubsDALinkEv : public IMS_Subscribe {
public:
    // Expires is 0 until set_expires says otherwise; no route, no profile.
    IMS_SubsDALinkEv(SIPLIB_SIPClientConnection* conn, const char* from, const char* to, const char* contact);
    IMS_SubsDALinkEv(SIPLIB_SIPClientConnection* conn, std::string from, std::string to, std::string contact);
    ~IMS_SubsDALinkEv() override;
};

#endif
