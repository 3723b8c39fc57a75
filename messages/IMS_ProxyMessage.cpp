#include "messages/IMS_ProxyMessage.h"

#include "messages/message_body.h"

IMS_ProxyMessage::IMS_ProxyMessage(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                                   IMSSetRouteXml* document)
    : IMS_MessageMsg(conn, from, to, "application/xml", document)
{
}

IMS_ProxyMessage::IMS_ProxyMessage(SIPLIB_SIPClientConnection* conn, const std::string& from,
                                   const std::string& to, IMSSetRouteXml* document)
    : IMS_ProxyMessage(conn, from.c_str(), to.c_str(), document)
{
}

IMS_ProxyMessage::IMS_ProxyMessage(SIPLIB_SIPConnection* conn) : IMS_MessageMsg(conn)
{
    imsua::read_body<IMSSetRouteXml>(*this);
}

IMS_ProxyMessage::~IMS_ProxyMessage() = default;
