#include "messages/IMS_NotifyDALinkAvailEv.h"

#include "messages/message_body.h"

IMS_NotifyDALinkAvailEv::IMS_NotifyDALinkAvailEv(SIPLIB_SIPClientConnection* conn, const char* from,
                                                 const char* to, const char* contact,
                                                 DALinkAvailEvXmlData* document)
    : IMS_Notify(conn, from, to, contact, "kiv-link-avail-event", "application/xml", document, "active", 0,
                 -1)
{
}

IMS_NotifyDALinkAvailEv::IMS_NotifyDALinkAvailEv(SIPLIB_SIPClientConnection* conn, const std::string& from,
                                                 const std::string& to, const std::string& contact,
                                                 DALinkAvailEvXmlData* document)
    : IMS_NotifyDALinkAvailEv(conn, from.c_str(), to.c_str(), contact.c_str(), document)
{
}

IMS_NotifyDALinkAvailEv::IMS_NotifyDALinkAvailEv(SIPLIB_SIPConnection* conn) : IMS_Notify(conn)
{
    imsua::read_body<DALinkAvailEvXmlData>(*this);
}

IMS_NotifyDALinkAvailEv::~IMS_NotifyDALinkAvailEv() = default;
