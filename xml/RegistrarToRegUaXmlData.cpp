#include "xml/RegistrarToRegUaXmlData.h"

#include "xml/fields.h"

using imsua::xml::Lookup;
using imsua::xml::ParsedText;

RegistrarToRegUaXmlData::RegistrarToRegUaXmlData() = default;

RegistrarToRegUaXmlData::~RegistrarToRegUaXmlData()
{
    release_encoded();
}

int RegistrarToRegUaXmlData::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length);
    if (!text) return -1;
    const Lookup fields[] = {
        {"//name", name},
        {"//kiv-profile-id", kiv_profile_id},
        {"//action", action},
        {"//napi-profile-name", napi_profile_name},
        {"//aor", aor},
        {"//reg-expiry", reg_expiry},
        {"//impi", impi},
        {"//impu", impu},
        {"//id", id},
        {"//registrar-address", registrar_address},
        {"//registrar-realm", registrar_realm},
        {"//domain-name", domain_name},
        {"//disc-pref", disc_pref},
        {"//dns-realm", dns_realm},
        {"//ip-address", ip_address},
        {"//ue-sip-port", ue_sip_port},
        {"//max-attempts", max_attempts},
        {"//interval", interval},
    };
    return text.read(fields);
}

int RegistrarToRegUaXmlData::encodeXml()
{
    return -1;
}
