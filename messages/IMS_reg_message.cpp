#include "messages/IMS_reg_message.h"

#include "messages/message_body.h"

IMS_reg_message::IMS_reg_message(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                                 const char* contact, const char* content_type, XmlData* document)
    : IMS_Message(conn, "REGISTER", from, to, contact, nullptr), body(document), is_outgoing(true)
{
    if (connection) set_header("Content-Type", content_type);
}

IMS_reg_message::IMS_reg_message(SIPLIB_SIPConnection* conn)
    : IMS_Message(conn), body(nullptr), is_outgoing(false)
{
}

IMS_reg_message::~IMS_reg_message()
{
    if (!is_outgoing) delete body;
}

bool IMS_reg_message::send()
{
    if (is_outgoing && !imsua::put_body(*this, body)) return false;
    return IMS_Message::send();
}

void IMS_reg_message::parse()
{
    imsua::parse_body(body);
}
