// The link event: what a device's access link looks like now. Body of the "kiv-link-event" NOTIFY.
//
// One object sends one of two forms: the radio-coverage report when coverage.access_type is not empty, else
// the profile report. docs/documents/link-event.md shows both.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields and the texts it encoded.
#ifndef DALINKEVXMLDATA_H_INCLUDED
#define DALINKEVXMLDATA_H_INCLUDED

#include "include/ims_types.h"
#include "xml/XmlData.h"
#include "xml/link_records.h"

// Fields are read and written directly by the owner.
class IMSUA_API DALinkEvXmlData : public XmlData {
public:
    THREEGPP_INFO_T coverage; // the coverage form, and nothing but it, is sent when access_type is not empty
    std::string name;         // of the profile
    std::int32_t profile_id = 0;
    std::int32_t link_reference = 0;
    std::string access_network;
    IEEE_INFO_T ieee;
    LINK_DEVICE_T device;
    std::vector<IMS_DA_PROXY_INFO> proxy_list; // the proxies reachable over the link, in order

    // An empty document.
    DALinkEvXmlData();
    ~DALinkEvXmlData() override;

    // As XmlData. The first "access-type" of the text goes into coverage.access_type, also when it stands in
    // the IEEE part: a profile report that is read and written again comes out in the coverage form.
    // Proxies are appended to proxy_list.
    int parseXml() override;

    // As XmlData.
    int encodeXml() override;

    // Appends the proxies of "address:kind:port;address:kind:port" to proxy_list. An entry without exactly
    // three items is skipped with the level-4 line "Wrong number of elements in the proxy_list"; a port
    // without digits is 0. `text` may be a string of this document.
    void parse_proxy_list(const std::string& text);
};

#endif
