// What an application asks of the registration user agent, or how that ended.
// docs/documents/application-request.md shows it.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields and the texts it encoded.
#ifndef APPTOREGUAXMLDATA_H_INCLUDED
#define APPTOREGUAXMLDATA_H_INCLUDED

#include "xml/XmlData.h"

// Fields are read and written directly by the owner.
class IMSUA_API AppToRegUaXmlData : public XmlData {
public:
    std::string request_type;
    std::string error;
    std::string diagnostic;

    // An empty document.
    AppToRegUaXmlData();
    ~AppToRegUaXmlData() override;

    // As XmlData. The root is not looked at: it is named as that of the registration status, and the message
    // that carries a body tells which of the two it is.
    int parseXml() override;

    // As XmlData.
    int encodeXml() override;
};

#endif
