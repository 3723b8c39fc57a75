// Link availability: which access network is there, and its details. Body of the "kiv-link-avail-event"
// NOTIFY. docs/documents/link-availability.md shows it.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields and the texts it encoded.
#ifndef DALINKAVAILEVXMLDATA_H_INCLUDED
#define DALINKAVAILEVXMLDATA_H_INCLUDED

#include "xml/XmlData.h"
#include "xml/link_records.h"

// Fields are read and written directly by the owner.
class IMSUA_API DALinkAvailEvXmlData : public XmlData {
public:
    std::string access_network; // exactly "3GPP" sends the radio details, anything else the IEEE ones
    THREEGPP_INFO_T threegpp;
    IEEE_INFO_T ieee;

    // An empty document.
    DALinkAvailEvXmlData();
    ~DALinkAvailEvXmlData() override;

    // As XmlData. The first "access-type" goes into threegpp.access_type, also when it stands in the IEEE
    // part; ieee.access_type is never read. A text with the element "3GPP" is not well-formed XML (a name
    // cannot start with a digit) and gives -1.
    int parseXml() override;

    // As XmlData. With access_network "3GPP" the text holds an element "3GPP", which no XML parser reads
    // back; that is the form on the wire.
    int encodeXml() override;
};

#endif
