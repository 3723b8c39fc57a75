// Proxy discovery for one profile: how a proxy is to be found, or which were found. Body of the MESSAGE
// between a discovery agent and those who ask it. docs/documents/proxy-discovery.md shows it.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields and the texts it encoded.
#ifndef DAMESSAGEXMLDATA_H_INCLUDED
#define DAMESSAGEXMLDATA_H_INCLUDED

#include "include/ims_types.h"
#include "xml/XmlData.h"

// Fields are read and written directly by the owner.
class IMSUA_API DAMessageXmlData : public XmlData {
public:
    std::string name; // of the profile
    std::int32_t profile_id = 0;
    std::int32_t link_reference = 0;
    std::string action;
    std::string napi_profile_name; // of the access point
    std::string disc_pref;         // how the proxy is to be found
    std::string dns_realm;
    std::string dns_services;
    std::string ip_address;                    // the proxies as text; sent when not empty
    std::vector<IMS_DA_PROXY_INFO> proxy_list; // the proxies in order; sent when ip_address is empty

    // An empty document.
    DAMessageXmlData();
    ~DAMessageXmlData() override;

    // As XmlData. The proxies are held twice afterwards: as text in ip_address, and appended to proxy_list.
    int parseXml() override;

    // As XmlData. The element "ip-address" is written only when there is a proxy, in either form.
    int encodeXml() override;

    // Appends the proxies of "address:kind:port,address:kind:port" to proxy_list. An entry without exactly
    // three items is skipped with the level-4 line "Wrong number of elements in the proxy_list"; a port
    // without digits is 0. `text` may be a string of this document.
    void parse_proxy_list(const std::string& text);
};

#endif
