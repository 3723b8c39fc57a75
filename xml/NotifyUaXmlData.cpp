#include "xml/NotifyUaXmlData.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

NotifyUaXmlData::NotifyUaXmlData() = default;

NotifyUaXmlData::~NotifyUaXmlData()
{
    release_encoded();
}

int NotifyUaXmlData::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    IMS_log::loginfo(5, "parseXml", "doc=%p", static_cast<const void*>(text.tree()));
    const Lookup fields[] = {
        {"//name", name},
        {"//ip-address", ip_address},
        {"//reg-status", reg_status},
        {"//access-network", access_network},
    };
    return text.read(fields);
}

int NotifyUaXmlData::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    const Element tree[] = {
        {1, "profile-info"},
        {2, "name", name},
        {2, "ip-address", ip_address},
        {2, "reg-status", reg_status},
        {2, "access-network", access_network},
    };
    if (publish(build("eventinfo", tree)) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size = %d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}
