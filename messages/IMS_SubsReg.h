// SUBSCRIBE to the package "kiv-reg-event-info": registration state.
//
// Thread, Memory   as IMS_Message.
#ifndef IMS_SUBSREG_H_INCLUDED
#define IMS_SUBSREG_H_INCLUDED

#include "messages/IMS_Subscribe.h"

// A SUBSCRIBE to the registration state.
class IMSUA_API IMS_SubsReg : public IMS_Subscribe {
public:
    // Expires is 0 until set_expires says otherwise; no route, no profile.
    IMS_SubsReg(SIPLIB_SIPClientConnection* conn, const char* from, const char* to, const char* contact);
    IMS_SubsReg(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                const std::string& contact);
    ~IMS_SubsReg() override;
};

#endif
