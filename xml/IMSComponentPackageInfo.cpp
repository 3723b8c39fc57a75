#include "xml/IMSComponentPackageInfo.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

IMSComponentPackageInfo::IMSComponentPackageInfo() = default;

IMSComponentPackageInfo::~IMSComponentPackageInfo()
{
    release_encoded();
}

int IMSComponentPackageInfo::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    const Lookup fields[] = {{"//package-info", package_info}};
    return text.read(fields);
}

int IMSComponentPackageInfo::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    const Element tree[] = {{1, "package-info", package_info}};
    if (publish(build("module-info", tree)) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size = %d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}
