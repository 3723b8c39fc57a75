#include "messages/IMS_DAMessage.h"

#include "messages/message_body.h"

IMS_DAMessage::IMS_DAMessage(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                             DAMessageXmlData* document)
    : IMS_MessageMsg(conn, from, to, "application/xml", document)
{
}

IMS_DAMessage::IMS_DAMessage(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                             DAMessageXmlData* document)
    : IMS_DAMessage(conn, from.c_str(), to.c_str(), document)
{
}

IMS_DAMessage::IMS_DAMessage(SIPLIB_SIPConnection* conn) : IMS_MessageMsg(conn)
{
    imsua::read_body<DAMessageXmlData>(*this);
}

IMS_DAMessage::~IMS_DAMessage() = default;
