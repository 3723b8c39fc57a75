#include "messages/IMS_MessageMsg.h"

#include "messages/message_body.h"

IMS_MessageMsg::IMS_MessageMsg(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                               const char* content_type, XmlData* document)
    : IMS_Message(conn, "MESSAGE", from, to, nullptr, nullptr), body(document), is_outgoing(true)
{
    if (connection) set_header("Content-Type", content_type);
}

IMS_MessageMsg::IMS_MessageMsg(SIPLIB_SIPConnection* conn)
    : IMS_Message(conn), body(nullptr), is_outgoing(false)
{
}

IMS_MessageMsg::~IMS_MessageMsg()
{
    if (!is_outgoing) delete body;
}

bool IMS_MessageMsg::send()
{
    if (is_outgoing && !imsua::put_body(*this, body)) return false;
    return IMS_Message::send();
}

void IMS_MessageMsg::parse()
{
    imsua::parse_body(body);
}
