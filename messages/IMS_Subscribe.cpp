#include "messages/IMS_Subscribe.h"

#include "baseuafw/baseuafw.h"

IMS_Subscribe::IMS_Subscribe(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                             const char* contact, const char* event, int expires, const char* route,
                             int profile)
    : IMS_Message(conn, "SUBSCRIBE", from, to, contact, route)
{
    set_package(event, expires, profile);
}

IMS_Subscribe::IMS_Subscribe(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                             const std::string& contact, const char* event, int expires,
                             const std::string& route, int profile)
    : IMS_Message(conn, "SUBSCRIBE", from, to, contact, route)
{
    set_package(event, expires, profile);
}

IMS_Subscribe::IMS_Subscribe(SIPLIB_SIPConnection* conn) : IMS_Message(conn) {}

IMS_Subscribe::~IMS_Subscribe() = default;

void IMS_Subscribe::set_package(const char* event, int expires, int profile)
{
    set_event(event);
    set_expires(expires);
    if (is_method_name(event, "kiv-link-avail-event")) set_profile(profile);
}

void IMS_Subscribe::set_event(const char* event)
{
    if (connection) set_header("Event", event);
}

void IMS_Subscribe::set_expires(int expires)
{
    if (connection) set_header("Expires", IMS_utility::itostring(expires).c_str());
}

void IMS_Subscribe::set_profile(int profile)
{
    if (connection) set_header("Kiv-Profile-ID", IMS_utility::itostring(profile).c_str());
}
