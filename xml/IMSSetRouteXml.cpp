#include "xml/IMSSetRouteXml.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

IMSSetRouteXml::IMSSetRouteXml() = default;

IMSSetRouteXml::~IMSSetRouteXml()
{
    release_encoded();
}

int IMSSetRouteXml::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    const Lookup fields[] = {
        {"//kiv-profile-id", profile_id}, {"//action", action},
        {"//ip-address", ip_address},     {"//name", name},
        {"//ue-sip-port", ue_sip_port},
    };
    return text.read(fields);
}

int IMSSetRouteXml::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    const Element tree[] = {
        {1, "profile-info"},
        {2, "kiv-profile-id", profile_id},
        {1, "action", action},
        {1, "device"},
        {2, "name", name},
        {1, "proxy"},
        {2, "ip-address", ip_address},
        {1, "ue-sip-port", ue_sip_port},
    };
    if (publish(build("route-info", tree)) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size = %d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}
