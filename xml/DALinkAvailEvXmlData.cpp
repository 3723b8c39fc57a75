#include "xml/DALinkAvailEvXmlData.h"

#include "baseuafw/baseuafw.h"
#include "xml/fields.h"

using imsua::xml::build;
using imsua::xml::Element;
using imsua::xml::Lookup;
using imsua::xml::ParsedText;

namespace {

xmlDocPtr radio_form(const DALinkAvailEvXmlData& d)
{
    const Element tree[] = {
        {1, "network"},
        {2, "access-network", d.access_network},
        {2, "3GPP"},
        {3, "access-type", d.threegpp.access_type},
        {3, "hplmn", d.threegpp.hplmn},
        {3, "utran-cell-id-3gpp", d.threegpp.utran_cell_id},
    };
    return build("link-info", tree);
}

xmlDocPtr ieee_form(const DALinkAvailEvXmlData& d)
{
    const Element tree[] = {
        {1, "network"},       {2, "access-network", d.access_network},
        {2, "IEEE"},          {3, "access-type", d.ieee.access_type},
        {3, "AP", d.ieee.ap},
    };
    return build("link-info", tree);
}

} // namespace

DALinkAvailEvXmlData::DALinkAvailEvXmlData() = default;

DALinkAvailEvXmlData::~DALinkAvailEvXmlData()
{
    release_encoded();
}

int DALinkAvailEvXmlData::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    const Lookup fields[] = {
        {"//access-network", access_network},
        {"//access-type", threegpp.access_type},
        {"//hplmn", threegpp.hplmn},
        {"//utran-cell-id-3gpp", threegpp.utran_cell_id},
        {"//AP", ieee.ap},
    };
    return text.read(fields);
}

int DALinkAvailEvXmlData::encodeXml()
{
    XmlSection section(XmlSection::Kind::work);
    if (publish(access_network == "3GPP" ? radio_form(*this) : ieee_form(*this)) != 0) return -1;
    IMS_log::loginfo(5, "encodeXml", "Buff ptr: %d %p", buffer_length,
                     static_cast<const void*>(encoded_buffer));
    return 0;
}
