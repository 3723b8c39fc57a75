#include "messages/IMS_RegPackageInfo.h"

#include "messages/message_body.h"

IMS_RegPackageInfo::IMS_RegPackageInfo(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                                       const char* contact, IMSComponentPackageInfo* document)
    : IMS_reg_message(conn, from, to, contact, "application/xml", document)
{
}

IMS_RegPackageInfo::IMS_RegPackageInfo(SIPLIB_SIPClientConnection* conn, const std::string& from,
                                       const std::string& to, const std::string& contact,
                                       IMSComponentPackageInfo* document)
    : IMS_RegPackageInfo(conn, from.c_str(), to.c_str(), contact.c_str(), document)
{
}

IMS_RegPackageInfo::IMS_RegPackageInfo(SIPLIB_SIPConnection* conn) : IMS_reg_message(conn)
{
    imsua::read_body<IMSComponentPackageInfo>(*this);
}

IMS_RegPackageInfo::~IMS_RegPackageInfo() = default;
