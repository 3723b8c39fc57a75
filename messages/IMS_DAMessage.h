// MESSAGE of proxy discovery: how the proxy of a profile is to be found, or which proxies were found.
//
// Thread, Memory   as IMS_MessageMsg. `body` of a received one is a DAMessageXmlData, or null.
#ifndef IMS_DAMESSAGE_H_INCLUDED
#define IMS_DAMESSAGE_H_INCLUDED

#include "messages/IMS_MessageMsg.h"
#include "xml/DAMessageXmlData.h"

// A MESSAGE whose document is a DAMessageXmlData.
class IMSUA_API IMS_DAMessage : public IMS_MessageMsg {
public:
    // Starts the request, with Content-Type application/xml. `body` is borrowed.
    IMS_DAMessage(SIPLIB_SIPClientConnection* conn, const char* from, const char* to, DAMessageXmlData* body);
    IMS_DAMessage(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                  DAMessageXmlData* body);
    // Reads and parses the body of a received MESSAGE: at most 1024 bytes, the rest is cut off (and the text
    // then fails to parse). An empty body leaves `body` null; one that cannot be parsed leaves an empty
    // document.
    explicit IMS_DAMessage(SIPLIB_SIPConnection* conn);
    ~IMS_DAMessage() override;
};

#endif
