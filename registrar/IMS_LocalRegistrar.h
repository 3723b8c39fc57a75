// Fills in the REGISTER that a user agent sends to the registrar on the same device, 127.0.0.1:5060. The body
// is the user agent's description: its methods, its content type, and a User-agent line made of product,
// software version and MAC address (docs/registrar.md).
//
// Thread   the main thread, like all XML work and configuration reads.
// Memory   no state. Connection and document are borrowed.
// Errors   none is told: every operation completes with what it could get; what was missing is logged. When
//          memory runs out, an operation ends where it is, with a level-3 line, and nothing throws.
#ifndef IMS_LOCALREGISTRAR_H_INCLUDED
#define IMS_LOCALREGISTRAR_H_INCLUDED

#include "include/imsua_export.h"
#include "siplib/SIPLIB.h"

#include <string>

class RegUaXmlData;

// Class-level operations only.
class IMSUA_API IMS_LocalRegistrar {
public:
    // Sets, on a connection whose REGISTER was started with initRequest, in this order: From, To,
    // Content-Type, the next hop, Expires, Authorization (unless it is empty), Contact, and the body. Sending
    // is the caller's.
    //
    // address        an address with or without brackets; Contact is this text as it stands, From and To are
    //                "sip:" + its user + "@" + its host, whatever of these it has.
    // profile_name   the name in the description.
    // expires        seconds; 0 ends the registration. A negative number is written as it is.
    // authorization  credentials, sent as they stand.
    // document       encoded by the caller before, and still the caller's: the connection copies the body. A
    //                name other than `profile_name` in it is logged at level 4 and left. Null: a description
    //                is made as build_register_xml makes it.
    //
    // A null connection: nothing but the "From header: ..." line.
    static void setup_message(SIPLIB_SIPClientConnection* connection, std::string address,
                              std::string profile_name, int expires, std::string authorization,
                              RegUaXmlData* document);

    // Fills in name, methods, content type and the User-agent header line, leaves the other fields as they
    // are, and encodes the document. Null: nothing happens.
    static void build_register_xml(RegUaXmlData* document, std::string profile_name);

    // "Kivo/SIP/1.0-<version> SN/<MAC>". The version is what /etc/ap_version.txt holds, at most 48 bytes up
    // to the first zero byte, line feed included; "R12_K_03.07.2AB" when it cannot be read or is empty. The
    // MAC is that of the interface named by //napi-profile-name in the document "config". May wait for the
    // framework daemon.
    static std::string form_user_agent_header();

    // Twelve hexadecimal digits, upper case, into `out`: the hardware address of the interface, or
    // "000000000000". At most `size` bytes, the terminating zero included; nothing is written when `out` is
    // null or `size` is not positive. Of `interface_name` the first 15 characters count. Result: that of
    // closing the socket.
    static int get_mac_address(const char* interface_name, char* out, int size);

    // Makes 127.0.0.1:5060 the next hop of the connection, whatever proxy is configured. Null: nothing
    // happens.
    static void set_ims_server_ip_address_and_port(SIPLIB_SIPConnection* connection);
};

#endif
