#include "messages/IMS_SubsReg.h"

IMS_SubsReg::IMS_SubsReg(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                         const char* contact)
    : IMS_Subscribe(conn, from, to, contact, "kiv-reg-event-info", 0, nullptr, -1)
{
}

IMS_SubsReg::IMS_SubsReg(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                         const std::string& contact)
    : IMS_SubsReg(conn, from.c_str(), to.c_str(), contact.c_str())
{
}

IMS_SubsReg::~IMS_SubsReg() = default;
