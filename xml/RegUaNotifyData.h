// The values of a registration notification, each as the text of an element. Received, never sent.
// docs/documents/registration-values.md shows it. A reginfo document (RFC 3680) carries its values in
// attributes and in a namespace, so this class finds none of them there: RegXmlData reads those.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields.
#ifndef REGUANOTIFYDATA_H_INCLUDED
#define REGUANOTIFYDATA_H_INCLUDED

#include "xml/XmlData.h"

// Fields are read directly by the owner. The document neither reads nor writes the spares.
class IMSUA_API RegUaNotifyData : public XmlData {
public:
    std::string registration;
    std::string aor;
    std::string spare_a;
    std::string spare_b;
    std::string contact;
    std::string spare_c;
    std::string event;
    std::string state;
    std::string duration_registered;
    std::string uri;
    std::string xmlns;
    std::string version;
    std::string spare_d;

    // An empty document.
    RegUaNotifyData();
    ~RegUaNotifyData() override;

    // As XmlData, but a text with mild errors is read as far as libxml2 can recover it. Encoding is the
    // base's: -1.
    int parseXml() override;
};

#endif
