#include "xml/RegUaXmlData.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::guarded;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

namespace {

xmlDocPtr description(const RegUaXmlData& d)
{
    const std::string header = d.header_name + ": " + d.header_value;
    const Element tree[] = {
        {1, "profile-info"},
        {2, "name", d.name},
        {1, "aor", d.aor},
        {2, "request-routing-support"},
        {3, "methods", d.methods},
        {3, "content-type", d.content_type},
        {3, "events", d.events},
        {2, "ua-specific-parameters"},
        {3, "sip-headers"},
        {4, "header", header},
        {3, "ua-section-in-network-profile", d.ua_section},
    };
    return build("ua-info", tree);
}

} // namespace

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
    if (text.read(fields) != 0) return -1;
    std::vector<std::string> parts;
    IMS_utility::tokenize(header, parts, ":");
    if (parts.empty() && !header.empty()) return -1; // no memory, and logged
    if (parts.size() == 2) {
        header_name = std::move(parts[0]);
        header_value = std::move(parts[1]);
    }
    return 0;
}

int RegUaXmlData::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    if (guarded("encodeXml", [&] { return publish(description(*this)); }) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size=%d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}
