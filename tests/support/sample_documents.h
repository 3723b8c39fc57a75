// One filled example of each document, for the tests and the benchmarks. docs/documents/examples/ shows what
// they are written as.
#ifndef TESTS_SUPPORT_SAMPLE_DOCUMENTS_H_INCLUDED
#define TESTS_SUPPORT_SAMPLE_DOCUMENTS_H_INCLUDED

#include "include/imsua.h"

namespace samples {

inline std::vector<IMS_DA_PROXY_INFO> two_proxies()
{
    return {{"192.0.2.1", 5060, "pcscf"}, {"proxy.example.com", 5061, "backup"}};
}

// The profile form: every field set but for the coverage record.
inline void fill(DALinkEvXmlData& d)
{
    d.name = "internet";
    d.profile_id = 3;
    d.link_reference = 17;
    d.access_network = "IEEE";
    d.ieee = {"IEEE-802.11g", "00:11:22:33:44:55"};
    d.device = {"wlan0", "02:00:00:00:00:01", "192.0.2.7", "up", "carrier"};
    d.proxy_list = two_proxies();
}

inline void fill_coverage(DALinkEvXmlData& d)
{
    d.coverage = {"3GPP-UTRAN-FDD", "26201", "C1A2"};
}

// Both records; `network` decides which of them is written.
inline void fill(DALinkAvailEvXmlData& d, const char* network = "IEEE")
{
    d.access_network = network;
    d.threegpp = {"3GPP-UTRAN-FDD", "26201", "C1A2"};
    d.ieee = {"IEEE-802.11g", "00:11:22:33:44:55"};
}

// The proxies that were found, as a list.
inline void fill(DAMessageXmlData& d)
{
    d.name = "internet";
    d.profile_id = 3;
    d.link_reference = 17;
    d.action = "found";
    d.napi_profile_name = "ap1";
    d.disc_pref = "dns";
    d.dns_realm = "home.example";
    d.dns_services = "SIP+D2U";
    d.proxy_list = two_proxies();
}

inline void fill(IMSSetRouteXml& d)
{
    d.profile_id = "3";
    d.action = "set";
    d.name = "wlan0";
    d.ip_address = "192.0.2.1";
    d.ue_sip_port = "5062";
}

inline void fill(IMSComponentPackageInfo& d)
{
    d.package_info = "presence-agent-2";
}

inline void fill(RegUaXmlData& d)
{
    d.aor = "sip:alice@home.example";
    d.name = "internet";
    d.methods = "INVITE,MESSAGE";
    d.content_type = "application/sdp";
    d.events = "presence";
    d.header_name = "Accept-Contact";
    d.header_value = "*";
    d.ua_section = "voice";
}

inline void fill(NotifyUaXmlData& d)
{
    d.name = "internet";
    d.ip_address = "192.0.2.7";
    d.access_network = "IEEE";
    d.reg_status = "registered";
}

inline void fill(AppToRegUaXmlData& d)
{
    d.request_type = "register";
    d.error = "403";
    d.diagnostic = "not allowed";
}

} // namespace samples

#endif
