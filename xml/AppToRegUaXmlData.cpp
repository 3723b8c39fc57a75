#include "xml/AppToRegUaXmlData.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

AppToRegUaXmlData::AppToRegUaXmlData() = default;

AppToRegUaXmlData::~AppToRegUaXmlData()
{
    release_encoded();
}

int AppToRegUaXmlData::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    IMS_log::loginfo(5, "parseXml", "doc=%p", static_cast<const void*>(text.tree()));
    const Lookup fields[] = {
        {"//request-type", request_type},
        {"//error", error},
        {"//diagnostic", diagnostic},
    };
    return text.read(fields);
}

int AppToRegUaXmlData::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    const Element tree[] = {
        {1, "request-type", request_type},
        {1, "error", error},
        {1, "diagnostic", diagnostic},
    };
    if (publish(build("eventinfo", tree)) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size = %d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}
