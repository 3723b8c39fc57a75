// What the registrar client reads from outside: the version file and the name of the network interface. The
// first byte of the input is the length of the name, which follows; the rest is the file.
#include "core/IMS_User_Agent.h"
#include "fuzz/quiet.h"
#include "registrar/IMS_LocalRegistrar.h"
#include "registrar/user_agent_header.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

using fuzz::demand;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

struct Store : SIP_IMS_cfg_intf {
    int get_one(const std::string&, std::string& value, const std::string&) override
    {
        value = interface;
        return 1;
    }
    int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>&, const std::string&) override { return 0; }
    int set_one(const std::string&, const std::string&, const std::string&) override { return 0; }
    int wait_for_sync() override { return 0; }
    std::string interface;
};

// A file in memory that is opened anew through its name.
std::string version_file(const std::string& content)
{
    static const int fd = memfd_create("version", MFD_CLOEXEC);
    demand(fd >= 0 && ftruncate(fd, 0) == 0);
    demand(pwrite(fd, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
    return "/proc/self/fd/" + std::to_string(fd);
}

bool is_mac(const std::string& text)
{
    return text.size() == 12 && text.find_first_not_of("0123456789ABCDEF") == std::string::npos;
}

// What the value must be, from its definition.
std::string expected(const std::string& file, const std::string& mac)
{
    if (file.empty()) return "Kivo/SIP/1.0-R12_K_03.07.2AB SN/" + mac;
    const std::string read = file.substr(0, 48);
    return "Kivo/SIP/1.0-" + read.substr(0, read.find('\0')) + " SN/" + mac;
}

void ask_for(const std::string& interface, int size)
{
    // Name and result end exactly where their memory ends.
    std::vector<char> name(interface.c_str(), interface.c_str() + std::strlen(interface.c_str()) + 1);
    std::vector<char> out(static_cast<std::size_t>(std::max(size, 0)), 'x');
    demand(IMS_LocalRegistrar::get_mac_address(name.data(), out.data(), size) == 0);
    if (size == 13) demand(is_mac(out.data()));
    if (size > 0) demand(std::memchr(out.data(), 0, out.size()) != nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    fuzz::be_quiet();
    static Store store;
    IMS_User_Agent::__ua_fwk_intf = &store;
    const std::size_t name_size = std::min<std::size_t>(data[0], size - 1);
    store.interface.assign(reinterpret_cast<const char*>(data) + 1, name_size);
    const std::string file(reinterpret_cast<const char*>(data) + 1 + name_size, size - 1 - name_size);
    const std::string value = imsua::user_agent_header(version_file(file).c_str());
    demand(value.size() >= 12 && is_mac(value.substr(value.size() - 12)));
    demand(value == expected(file, value.substr(value.size() - 12)));
    ask_for(store.interface, 13);
    ask_for(store.interface, static_cast<int>(name_size % 16) - 1);
    return 0;
}
