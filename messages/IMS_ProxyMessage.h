// MESSAGE that sets a route: through which proxy a profile reaches the network.
//
// Thread, Memory   as IMS_MessageMsg. `body` of a received one is an IMSSetRouteXml, or null.
#ifndef IMS_PROXYMESSAGE_H_INCLUDED
#define IMS_PROXYMESSAGE_H_INCLUDED

#include "messages/IMS_MessageMsg.h"
#include "xml/IMSSetRouteXml.h"

// A MESSAGE whose document is an IMSSetRouteXml.
class IMSUA_API IMS_ProxyMessage : public IMS_MessageMsg {
public:
    // Starts the request, with Content-Type application/xml. `body` is borrowed.
    IMS_ProxyMessage(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                     IMSSetRouteXml* body);
    IMS_ProxyMessage(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                     IMSSetRouteXml* body);
    // Reads and parses the body of a received MESSAGE: at most 1024 bytes, the rest is cut off (and the text
    // then fails to parse). An empty body leaves `body` null; one that cannot be parsed leaves an empty
    // document.
    explicit IMS_ProxyMessage(SIPLIB_SIPConnection* conn);
    ~IMS_ProxyMessage() override;
};

#endif
