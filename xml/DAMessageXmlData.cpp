#include "xml/DAMessageXmlData.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"
#include "xml/proxy_list.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::guarded;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

namespace {

constexpr char BETWEEN_PROXIES = ',';

xmlDocPtr discovery(const DAMessageXmlData& d)
{
    const std::string listed = imsua::xml::proxies_to_text(d.proxy_list, BETWEEN_PROXIES);
    const std::string& proxies = d.ip_address.empty() ? listed : d.ip_address;
    const Element tree[] = {
        {1, "profile-info"},
        {2, "name", d.name},
        {2, "kiv-profile-id", d.profile_id},
        {2, "link-reference", d.link_reference},
        {2, "action", d.action},
        {2, "napi-profile-name", d.napi_profile_name},
        {2, "proxy"},
        {3, "disc-pref", d.disc_pref},
        {3, "dns-realm", d.dns_realm},
        {3, "dns-services", d.dns_services},
        {3, "ip-address", proxies, Element::UNLESS_EMPTY},
    };
    return build("link-info", tree);
}

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
    if (text.read(fields) != 0) return -1;
    return ip_address.empty() ? 0 : imsua::xml::append_proxies(ip_address, BETWEEN_PROXIES, proxy_list);
}

int DAMessageXmlData::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    if (guarded("encodeXml", [&] { return publish(discovery(*this)); }) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size =%d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}

void DAMessageXmlData::parse_proxy_list(const std::string& text)
{
    imsua::xml::append_proxies(text, BETWEEN_PROXIES, proxy_list);
}
