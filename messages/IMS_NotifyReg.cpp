#include "messages/IMS_NotifyReg.h"

#include "messages/message_body.h"

IMS_NotifyReg::IMS_NotifyReg(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                             const char* contact, NotifyUaXmlData* document)
    : IMS_Notify(conn, from, to, contact, "kiv-reg-event-info", "application/reginfo+xml", document, "active",
                 0, -1)
{
}

IMS_NotifyReg::IMS_NotifyReg(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                             const std::string& contact, NotifyUaXmlData* document)
    : IMS_NotifyReg(conn, from.c_str(), to.c_str(), contact.c_str(), document)
{
}

IMS_NotifyReg::IMS_NotifyReg(SIPLIB_SIPConnection* conn, bool reg_state) : IMS_Notify(conn)
{
    if (reg_state)
        imsua::read_body<RegXmlData>(*this); // a new one has an empty match_uri
    else
        imsua::read_body<RegUaXmlData>(*this);
}

IMS_NotifyReg::~IMS_NotifyReg() = default;
