#include "registrar/IMS_LocalRegistrar.h"

#include "baseuafw/baseuafw.h"
#include "include/while_memory_lasts.h"
#include "registrar/user_agent_header.h"
#include "subscriptions/IMS_address.h"
#include "xml/RegUaXmlData.h"

#include <cstdio>
#include <cstring>

namespace {

const char* const registrar_address = "127.0.0.1";
constexpr int registrar_port = 5060;
const char* const methods = "INVITE,UPDATE,CANCEL,REFER,ACK,NOTIFY,BYE,PRACK,MESSAGE";
const char* const body_type = "application/xml";
const char* const version_file = "/etc/ap_version.txt";

void set_body(SIPLIB_SIPClientConnection& connection, const RegUaXmlData& document)
{
    connection.setBody(document.buffer, document.buffer_length);
}

void set_expires(SIPLIB_SIPClientConnection& connection, int expires)
{
    char text[255];
    std::snprintf(text, sizeof text, "%d", expires);
    connection.setHeader("Expires", text);
}

// "sip:user@host", which says nothing of port, parameters or display name.
std::string registering_user(const std::string& address)
{
    const std::string user = IMS_address::get_element("user", "From", address);
    const std::string host = IMS_address::get_element("host", "From", address);
    return "sip:" + user + "@" + host;
}

void set_headers(SIPLIB_SIPClientConnection& connection, const std::string& from, const std::string& address,
                 int expires, const std::string& authorization)
{
    connection.setHeader("From", from.c_str());
    connection.setHeader("To", from.c_str());
    connection.setHeader("Content-Type", body_type);
    IMS_LocalRegistrar::set_ims_server_ip_address_and_port(&connection);
    set_expires(connection, expires);
    if (!authorization.empty()) connection.setHeader("Authorization", authorization.c_str());
    connection.setHeader("Contact", address.c_str());
}

// The caller's description, as it was encoded.
void send_description(SIPLIB_SIPClientConnection& connection, const RegUaXmlData& document,
                      const std::string& profile_name)
{
    if (document.name != profile_name)
        IMS_log::loginfo(4, "setup_message",
                         "profile name %s passed in parameter does not match that in xml body",
                         profile_name.c_str());
    set_body(connection, document);
}

void send_own_description(SIPLIB_SIPClientConnection& connection, const std::string& profile_name)
{
    RegUaXmlData description;
    IMS_LocalRegistrar::build_register_xml(&description, profile_name);
    set_body(connection, description);
}

// What the operations do, up to the point where memory runs out.
template <typename Work>
void while_memory_lasts(const char* operation, Work work)
{
    if (!imsua::while_memory_lasts(work)) IMS_log::loginfo(3, operation, "out of memory");
}

} // namespace

void IMS_LocalRegistrar::setup_message(SIPLIB_SIPClientConnection* connection, std::string address,
                                       std::string profile_name, int expires, std::string authorization,
                                       RegUaXmlData* document)
{
    while_memory_lasts("setup_message", [&] {
        const std::string from = registering_user(address);
        IMS_log::loginfo(5, "setup_message", "From header: %s", from.c_str());
        if (!connection) return;
        set_headers(*connection, from, address, expires, authorization);
        if (document)
            send_description(*connection, *document, profile_name);
        else
            send_own_description(*connection, profile_name);
    });
}

void IMS_LocalRegistrar::build_register_xml(RegUaXmlData* document, std::string profile_name)
{
    if (!document) return;
    while_memory_lasts("build_register_xml", [&] {
        document->name = profile_name;
        document->methods = methods;
        document->content_type = body_type;
        document->header_name = "User-agent";
        document->header_value = form_user_agent_header();
        document->encodeXml();
    });
}

std::string IMS_LocalRegistrar::form_user_agent_header()
{
    std::string value;
    while_memory_lasts("form_user_agent_header", [&] { value = imsua::user_agent_header(version_file); });
    return value;
}

void IMS_LocalRegistrar::set_ims_server_ip_address_and_port(SIPLIB_SIPConnection* connection)
{
    if (!connection) return;
    ServerAddressRecord registrar; // zero-filled
    registrar.port = registrar_port;
    std::memcpy(registrar.host, registrar_address, std::strlen(registrar_address));
    registrar.flag = 1;
    connection->setImsServerAddress(registrar);
}
