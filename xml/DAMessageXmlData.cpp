#include "xml/DAMessageXmlData.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"
#include "xml/proxy_list.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

namespace {

constexpr char BETWEEN_PROXIES = ',';

} // namespace

DAMessageXmlData::DAMessageXmlData() = default;

DAMessageXmlData::~DAMessageXmlData()
{
    release_encoded();
}

int DAMessageXmlData::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    const Lookup fields[] = {
        {"//name", name},
        {"//kiv-profile-id", profile_id},
        {"//link-reference", link_reference},
        {"//napi-profile-name", napi_profile_name},
        {"//action", action},
        {"//disc-pref", disc_pref},
        {"//ip-address", ip_address},
        {"//dns-realm", dns_realm},
        {"//dns-services", dns_services},
    };
    text.read(fields);
    if (!ip_address.empty()) parse_proxy_list(ip_address);
    return 0;
}

int DAMessageXmlData::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    const std::string listed = imsua::xml::proxies_to_text(proxy_list, BETWEEN_PROXIES);
    const std::string& proxies = ip_address.empty() ? listed : ip_address;
    const Element tree[] = {
        {1, "profile-info"},
        {2, "name", name},
        {2, "kiv-profile-id", profile_id},
        {2, "link-reference", link_reference},
        {2, "action", action},
        {2, "napi-profile-name", napi_profile_name},
        {2, "proxy"},
        {3, "disc-pref", disc_pref},
        {3, "dns-realm", dns_realm},
        {3, "dns-services", dns_services},
        {3, "ip-address", proxies, Element::UNLESS_EMPTY},
    };
    if (publish(build("link-info", tree)) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size =%d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}

void DAMessageXmlData::parse_proxy_list(const std::string& text)
{
    imsua::xml::append_proxies(text, BETWEEN_PROXIES, proxy_list);
}
