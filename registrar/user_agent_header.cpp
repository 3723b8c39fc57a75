#include "registrar/user_agent_header.h"

#include "baseuafw/baseuafw.h"
#include "core/IMS_User_Agent.h"
#include "registrar/IMS_LocalRegistrar.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace imsua {
namespace {

const char* const product = "Kivo/SIP/1.0-";
const char* const default_version = "R12_K_03.07.2AB";
constexpr std::size_t longest_version = 48;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// The configuration's network profile is named after the network interface.
std::string mac_of_the_device()
{
    std::string interface;
    IMS_User_Agent::get_xml_parameter("//napi-profile-name", interface, "config");
    char mac[13] = {};
    IMS_LocalRegistrar::get_mac_address(interface.c_str(), mac, sizeof mac);
    return mac;
}

std::string value_of(const std::string& version, const std::string& mac)
{
    return product + version + " SN/" + mac;
}

} // namespace

std::string user_agent_header(const char* version_path)
{
    const char* const function = "form_user_agent_header";
    const std::string mac = mac_of_the_device();
    std::string usual = value_of(default_version, mac);
    const File file(std::fopen(version_path, "r"));
    if (!file) {
        IMS_log::loginfo(5, function, "Failed to open %s, using default value %s", version_path,
                         usual.c_str());
        return usual;
    }
    char version[longest_version] = {};
    if (std::fread(version, 1, sizeof version, file.get()) == 0) {
        IMS_log::loginfo(5, function, "Error reading AP version from %s, using default value %s",
                         version_path, usual.c_str());
        return usual;
    }
    std::string value = value_of(std::string(version, strnlen(version, sizeof version)), mac);
    IMS_log::loginfo(5, function, "Read AP version from %s, user agent string is %s", version_path,
                     value.c_str());
    return value;
}

} // namespace imsua
