// What a user agent says of itself: its address of record, what it takes, the header it wants to see. Body of
// the REGISTER to the local registrar, and of the registration NOTIFY that is no registration state.
// docs/documents/ua-info.md shows it.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields and the texts it encoded.
#ifndef REGUAXMLDATA_H_INCLUDED
#define REGUAXMLDATA_H_INCLUDED

#include "xml/XmlData.h"

// Fields are read and written directly by the owner.
class IMSUA_API RegUaXmlData : public XmlData {
public:
    std::string aor;
    std::string name; // of the profile
    std::string methods;
    std::string content_type;
    std::string events;
    std::string header_name;               // the one header under "sip-headers": its name
    std::string header_value;              // and its value
    std::string ua_section;                // which section of the network profile is the user agent's
    std::vector<std::string> spare_list_a; // the document neither reads nor writes the two
    std::vector<std::string> spare_list_b;

    // An empty document.
    RegUaXmlData();
    ~RegUaXmlData() override;

    // As XmlData. The header is read from the own text of "sip-headers", as peers send it, and only when that
    // has exactly one colon; a blank behind the colon stays at the head of header_value. With any other text
    // the two header fields are as before.
    int parseXml() override;

    // As XmlData. The header is written one level deeper than it is read, in "header" inside "sip-headers":
    // a document that reads what this one wrote gets everything but the header.
    int encodeXml() override;
};

#endif
