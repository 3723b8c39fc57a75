// The configuration that the registrar side hands to the registration user agent. Received, never sent.
// docs/documents/registrar-configuration.md shows it.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields.
#ifndef REGISTRARTOREGUAXMLDATA_H_INCLUDED
#define REGISTRARTOREGUAXMLDATA_H_INCLUDED

#include "xml/XmlData.h"

// Fields are read directly by the owner. All are texts, numbers and ports included.
class IMSUA_API RegistrarToRegUaXmlData : public XmlData {
public:
    std::string name;
    std::string kiv_profile_id;
    std::string action;
    std::string napi_profile_name;
    std::string aor;
    std::string reg_expiry;
    std::string impi; // private identity
    std::string impu; // public identity
    std::string registrar_address;
    std::string registrar_realm;
    std::string domain_name;
    std::string disc_pref; // how the proxy is to be found
    std::string dns_realm;
    std::string ip_address;
    std::string ue_sip_port;
    std::string max_attempts;
    std::string interval;
    std::string id;

    // An empty document.
    RegistrarToRegUaXmlData();
    ~RegistrarToRegUaXmlData() override;

    // As XmlData. Elements count by name, wherever they stand; the first of each name fills its field.
    int parseXml() override;

    // Writes nothing and returns -1.
    int encodeXml() override;
};

#endif
