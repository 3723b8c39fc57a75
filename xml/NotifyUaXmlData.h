// The registration status of one profile, as the registration user agent tells it. Body of the registration
// status NOTIFY. docs/documents/registration-status.md shows it.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields and the texts it encoded.
#ifndef NOTIFYUAXMLDATA_H_INCLUDED
#define NOTIFYUAXMLDATA_H_INCLUDED

#include "xml/XmlData.h"

// Fields are read and written directly by the owner.
class IMSUA_API NotifyUaXmlData : public XmlData {
public:
    std::string name; // of the profile
    std::string ip_address;
    std::string access_network;
    std::string reg_status;
    std::string spare_a; // the document neither reads nor writes the two
    std::string spare_b;

    // An empty document.
    NotifyUaXmlData();
    ~NotifyUaXmlData() override;

    // As XmlData.
    int parseXml() override;

    // As XmlData. reg_status is written before access_network.
    int encodeXml() override;
};

#endif
