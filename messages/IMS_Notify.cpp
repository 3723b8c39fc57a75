#include "messages/IMS_Notify.h"

#include "baseuafw/baseuafw.h"
#include "messages/message_body.h"

IMS_Notify::IMS_Notify(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                       const char* contact, const char* event, const char* content_type, XmlData* document,
                       const char* subscription_state, int expires, int profile)
    : IMS_Message(conn, "NOTIFY", from, to, contact, nullptr), body(document), is_outgoing(true)
{
    if (!connection) return;
    set_header("Event", event);
    set_header("Expires", IMS_utility::itostring(expires).c_str());
    set_header("Subscription-State", subscription_state);
    if (is_method_name(event, "kiv-link-event"))
        set_header("Kiv-Profile-ID", IMS_utility::itostring(profile).c_str());
    set_header("Content-Type", content_type);
}

IMS_Notify::IMS_Notify(SIPLIB_SIPConnection* conn) : IMS_Message(conn), body(nullptr), is_outgoing(false) {}

IMS_Notify::~IMS_Notify()
{
    if (!is_outgoing) delete body;
}

bool IMS_Notify::send()
{
    if (is_outgoing && !imsua::put_body(*this, body)) return false;
    return IMS_Message::send();
}

void IMS_Notify::parse()
{
    imsua::parse_body(body);
}
