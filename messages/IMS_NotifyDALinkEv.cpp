#include "messages/IMS_NotifyDALinkEv.h"

#include "messages/message_body.h"

IMS_NotifyDALinkEv::IMS_NotifyDALinkEv(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                                       const char* contact, DALinkEvXmlData* document, int profile)
    : IMS_Notify(conn, from, to, contact, "kiv-link-event", "application/xml", document, "active", 1, profile)
{
}

IMS_NotifyDALinkEv::IMS_NotifyDALinkEv(SIPLIB_SIPClientConnection* conn, const std::string& from,
                                       const std::string& to, const std::string& contact,
                                       DALinkEvXmlData* document, int profile)
    : IMS_NotifyDALinkEv(conn, from.c_str(), to.c_str(), contact.c_str(), document, profile)
{
}

IMS_NotifyDALinkEv::IMS_NotifyDALinkEv(SIPLIB_SIPConnection* conn) : IMS_Notify(conn)
{
    imsua::read_body<DALinkEvXmlData>(*this);
}

IMS_NotifyDALinkEv::~IMS_NotifyDALinkEv() = default;
