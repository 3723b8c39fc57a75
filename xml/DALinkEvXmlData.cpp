#include "xml/DALinkEvXmlData.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"
#include "xml/proxy_list.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::guarded;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

namespace {

constexpr char BETWEEN_PROXIES = ';';

xmlDocPtr coverage_form(const DALinkEvXmlData& d)
{
    const Element tree[] = {
        {1, "network-coverage"},
        {2, "_3gpp"},
        {3, "access-type", d.coverage.access_type},
        {3, "hplmn", d.coverage.hplmn},
        {3, "utran-cell-id-3gpp", d.coverage.utran_cell_id},
    };
    return build("link-info", tree);
}

xmlDocPtr profile_form(const DALinkEvXmlData& d)
{
    const std::string proxies = imsua::xml::proxies_to_text(d.proxy_list, BETWEEN_PROXIES);
    const Element tree[] = {
        {1, "profile-info"},
        {2, "name", d.name},
        {2, "kiv-profile-id", d.profile_id},
        {2, "link-reference", d.link_reference},
        {2, "network"},
        {3, "access-network", d.access_network},
        {3, "IEEE"},
        {4, "access-type", d.ieee.access_type},
        {4, "AP", d.ieee.ap},
        {3, "proxy-list", proxies},
        {2, "device"},
        {3, "name", d.device.name},
        {3, "ue-mac", d.device.ue_mac},
        {3, "ip-address", d.device.ip_address},
        {3, "status", d.device.status},
        {3, "cause", d.device.cause},
    };
    return build("link-info", tree);
}

} // namespace

DALinkEvXmlData::DALinkEvXmlData() = default;

DALinkEvXmlData::~DALinkEvXmlData()
{
    release_encoded();
}

int DALinkEvXmlData::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    std::string proxies;
    const Lookup fields[] = {
        {"//name", name},
        {"//kiv-profile-id", profile_id},
        {"//link-reference", link_reference},
        {"//access-network", access_network},
        {"//access-type", coverage.access_type},
        {"//hplmn", coverage.hplmn},
        {"//utran-cell-id-3gpp", coverage.utran_cell_id},
        {"//AP", ieee.ap},
        {"//device/name", device.name},
        {"//ue-mac", device.ue_mac},
        {"//ip-address", device.ip_address},
        {"//status", device.status},
        {"//cause", device.cause},
        {"//proxy-list", proxies},
    };
    if (text.read(fields) != 0) return -1;
    return proxies.empty() ? 0 : imsua::xml::append_proxies(proxies, BETWEEN_PROXIES, proxy_list);
}

int DALinkEvXmlData::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    const bool covers = !coverage.access_type.empty();
    const auto write = [&] { return publish(covers ? coverage_form(*this) : profile_form(*this)); };
    if (guarded("encodeXml", write) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff size = %d ptr: %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}

void DALinkEvXmlData::parse_proxy_list(const std::string& text)
{
    imsua::xml::append_proxies(text, BETWEEN_PROXIES, proxy_list);
}
