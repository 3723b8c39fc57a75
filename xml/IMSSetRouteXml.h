// Which proxy a device of a profile is to use. Body of the MESSAGE that sets a route.
// docs/documents/route.md shows it.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields and the texts it encoded.
#ifndef IMSSETROUTEXML_H_INCLUDED
#define IMSSETROUTEXML_H_INCLUDED

#include "xml/XmlData.h"

// Fields are read and written directly by the owner. All are texts, the number and the port included.
class IMSUA_API IMSSetRouteXml : public XmlData {
public:
    std::string profile_id;
    std::string action;
    std::string name;        // of the device
    std::string ip_address;  // of the proxy
    std::string ue_sip_port; // the device's own

    // An empty document.
    IMSSetRouteXml();
    ~IMSSetRouteXml() override;

    // As XmlData.
    int parseXml() override;

    // As XmlData.
    int encodeXml() override;
};

#endif
