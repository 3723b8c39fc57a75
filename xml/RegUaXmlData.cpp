#include "xml/RegUaXmlData.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

RegUaXmlData::RegUaXmlData() = default;

RegUaXmlData::~RegUaXmlData()
{
    release_encoded();
}

int RegUaXmlData::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    std::string header;
    const Lookup fields[] = {
        {"//aor", aor},
        {"//name", name},
        {"//methods", methods},
        {"//content-type", content_type},
        {"//events", events},
        {"//ua-section-in-network-profile", ua_section},
        {"//sip-headers", header},
    };
    text.read(fields);
    std::vector<std::string> parts;
    IMS_utility::tokenize(header, parts, ":");
    if (parts.size() == 2) {
        header_name = parts[0];
        header_value = parts[1];
    }
    return 0;
}

int RegUaXmlData::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    const std::string header = header_name + ": " + header_value;
    const Element tree[] = {
        {1, "profile-info"},
        {2, "name", name},
        {1, "aor", aor},
        {2, "request-routing-support"},
        {3, "methods", methods},
        {3, "content-type", content_type},
        {3, "events", events},
        {2, "ua-specific-parameters"},
        {3, "sip-headers"},
        {4, "header", header},
        {3, "ua-section-in-network-profile", ua_section},
    };
    if (publish(build("ua-info", tree)) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size=%d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}
