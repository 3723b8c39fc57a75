// Values from the framework's configuration store, and the SIP stack's configuration made of them.
#include "core/IMS_User_Agent.h"
#include "include/shared_value.h"
#include "include/text.h"

#include <cstdio>

using imsua::text;

namespace {

const char* const sipstackinit = "sipstackinit";
const char* const defaults_section = "/sipstackinit/default/";

// Null while the framework is not connected: every access is then "not found".
SIP_IMS_cfg_intf* store()
{
    return imsua::load_shared(IMS_User_Agent::__ua_fwk_intf);
}

struct LevelWord {
    const char* word;
    unsigned char bits;
};

constexpr LevelWord level_words[] = {
    {"ALL", 63}, {"NONE", 0},  {"DEBUG", 1},  {"INFO", 2},
    {"WARN", 4}, {"ERROR", 8}, {"EXCEP", 16}, {"SYNC", 32},
};

struct IntKey {
    const char* name;
    int SIPLIB_StackCfg::*field;
};

constexpr IntKey limits[] = {
    {"maxCallDialogs", &SIPLIB_StackCfg::maxCallDialogs},
    {"maxRegClients", &SIPLIB_StackCfg::maxRegClients},
    {"maxSubscriptions", &SIPLIB_StackCfg::maxSubscriptions},
    {"maxTransactions", &SIPLIB_StackCfg::maxTransactions},
    {"maxTransmitters", &SIPLIB_StackCfg::maxTransmitters},
    {"maxNumOfPages", &SIPLIB_StackCfg::maxNumOfPages},
};

constexpr IntKey connections[] = {
    {"maxConnections", &SIPLIB_StackCfg::maxConnections},
};

constexpr IntKey timers[] = {
    {"T1", &SIPLIB_StackCfg::T1},
    {"T2", &SIPLIB_StackCfg::T2},
    {"T4", &SIPLIB_StackCfg::T4},
};

template <std::size_t N>
void fill_keys(SIPLIB_StackCfg& cfg, const std::string& section, const IntKey (&keys)[N])
{
    for (const IntKey& key : keys)
        IMS_User_Agent::fill_int32((section + key.name).c_str(), cfg.*key.field, sipstackinit);
}

template <std::size_t N>
void write_text(char (&field)[N], const char* value)
{
    std::snprintf(field, N, "%s", value);
}

void fill_defaults(SIPLIB_StackCfg& cfg)
{
    const std::string section = defaults_section;
    fill_keys(cfg, section, limits);
    write_text(cfg.localAddress, "127.0.0.1");
    fill_keys(cfg, section, connections);
    cfg.tcpFlag = 1;
    write_text(cfg.tcpLocalAddress, "127.0.0.1");
    cfg.tcpOption = 6;
    fill_keys(cfg, section, timers);
    IMS_User_Agent::fill_loglevel((section + "loglevel").c_str(), cfg.logMask);
}

} // namespace

int IMS_User_Agent::get_xml_parameter(const char* xpath, std::string& value, const std::string& document)
{
    return get_xml_parameter(std::string(text(xpath)), value, document);
}

int IMS_User_Agent::get_xml_parameter(const std::string& xpath, std::string& value,
                                      const std::string& document)
{
    SIP_IMS_cfg_intf* const intf = store();
    return intf ? intf->get_one(xpath, value, document) : 0;
}

int IMS_User_Agent::get_xml_parameters(std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs,
                                       const std::string& document)
{
    SIP_IMS_cfg_intf* const intf = store();
    return intf ? intf->get_many(pairs, document) : 0;
}

int IMS_User_Agent::set_xml_parameter(const char* xpath, const std::string& value,
                                      const std::string& document)
{
    return set_xml_parameter(std::string(text(xpath)), value, document);
}

int IMS_User_Agent::set_xml_parameter(const std::string& xpath, const std::string& value,
                                      const std::string& document)
{
    SIP_IMS_cfg_intf* const intf = store();
    return intf ? intf->set_one(xpath, value, document) : 0;
}

void IMS_User_Agent::fill_int32(const char* xpath, int& out, const std::string& document)
{
    std::string value;
    if (get_xml_parameter(xpath, value, document) && !value.empty()) out = imsua::IMS_atoi(value.c_str());
}

void IMS_User_Agent::fill_loglevel(const char* xpath, unsigned char& mask)
{
    std::string value;
    if (!get_xml_parameter(xpath, value, sipstackinit)) return;
    for (const LevelWord& level : level_words)
        if (value.find(level.word) != std::string::npos) mask = static_cast<unsigned char>(mask | level.bits);
}

void IMS_User_Agent::init_sipstack_info(SIPLIB_StackCfg& cfg, const char* profile)
{
    SIPLIB_SIPInitConfig(&cfg);
    fill_defaults(cfg);
    if (!profile) return;
    fill_keys(cfg, profile, limits);
    fill_loglevel((std::string(profile) + "loglevel").c_str(), cfg.logMask);
}
