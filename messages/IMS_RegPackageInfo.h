// REGISTER that names a component package.
//
// Thread, Memory   as IMS_reg_message. `body` of a received one is an IMSComponentPackageInfo, or null.
#ifndef IMS_REGPACKAGEINFO_H_INCLUDED
#define IMS_REGPACKAGEINFO_H_INCLUDED

#include "messages/IMS_reg_message.h"
#include "xml/IMSComponentPackageInfo.h"

// A REGISTER whose document is an IMSComponentPackageInfo.
class IMSUA_API IMS_RegPackageInfo : public IMS_reg_message {
public:
    // Starts the request, with Content-Type application/xml. `body` is borrowed.
    IMS_RegPackageInfo(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                       const char* contact, IMSComponentPackageInfo* body);
    IMS_RegPackageInfo(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                       const std::string& contact, IMSComponentPackageInfo* body);
    // Reads and parses the body of a received REGISTER: at most 1024 bytes, the rest is cut off (and the text
    // then fails to parse). An empty body leaves `body` null; one that cannot be parsed leaves an empty
    // document.
    explicit IMS_RegPackageInfo(SIPLIB_SIPConnection* conn);
    ~IMS_RegPackageInfo() override;
};

#endif
