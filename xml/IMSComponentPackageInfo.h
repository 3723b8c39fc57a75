// The name of a component package. Body of the REGISTER that announces one.
// docs/documents/component-package.md shows it.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its field and the texts it encoded.
#ifndef IMSCOMPONENTPACKAGEINFO_H_INCLUDED
#define IMSCOMPONENTPACKAGEINFO_H_INCLUDED

#include "xml/XmlData.h"

// The field is read and written directly by the owner.
class IMSUA_API IMSComponentPackageInfo : public XmlData {
public:
    std::string package_info;

    // An empty document.
    IMSComponentPackageInfo();
    ~IMSComponentPackageInfo() override;

    // As XmlData.
    int parseXml() override;

    // As XmlData.
    int encodeXml() override;
};

#endif
