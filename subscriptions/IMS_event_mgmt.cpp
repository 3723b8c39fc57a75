#include "subscriptions/IMS_event_mgmt.h"

#include "baseuafw/baseuafw.h"
#include "include/no_destroy.h"
#include "include/text.h"
#include "subscriptions/IMS_address.h"
#include "subscriptions/capability_reader.h"

#include <algorithm>
#include <glob.h>

namespace {

using Owners = std::vector<IMS_EVENT_CONTACT_T>;

imsua::NoDestroy<Owners> owners;

__attribute__((constructor(101))) void construct_owners()
{
    owners.construct();
}

Owners::iterator find_owner(const std::string& event)
{
    return std::find_if(owners.value.begin(), owners.value.end(),
                        [&](const IMS_EVENT_CONTACT_T& owner) { return owner.event == event; });
}

// The capability files of the working directory, in order of their names; releases what glob allocated.
struct CapabilityFiles {
    glob_t found = {};
    CapabilityFiles()
    {
        ::glob("*.cap", 0, nullptr, &found); // NOLINT(concurrency-mt-unsafe): no tilde, no user database
    }
    ~CapabilityFiles() { ::globfree(&found); }
    CapabilityFiles(const CapabilityFiles&) = delete;
    CapabilityFiles& operator=(const CapabilityFiles&) = delete;
    char** begin() const { return found.gl_pathv; }
    char** end() const { return found.gl_pathv + found.gl_pathc; }
};

} // namespace

std::vector<IMS_EVENT_CONTACT_T>& IMS_event_mgmt::evlist = owners.value;

IMS_event_mgmt::IMS_event_mgmt()
{
    evlist.clear();
}

void IMS_event_mgmt::add_owner(std::string event, std::string header, std::string address)
{
    if (event.empty() || header.empty() || address.empty()) return;
    evlist.push_back({std::move(event), std::move(header), std::move(address)});
}

void IMS_event_mgmt::remove_owner(std::string event)
{
    const auto owner = find_owner(event);
    if (owner != evlist.end()) evlist.erase(owner);
}

std::string IMS_event_mgmt::get_element(std::string event, std::string element)
{
    const auto owner = find_owner(event);
    return owner == evlist.end() ? "" : IMS_address::get_element(element, owner->header, owner->address);
}

std::string IMS_event_mgmt::get_parameter(std::string event, std::string name)
{
    const auto owner = find_owner(event);
    return owner == evlist.end() ? "" : IMS_address::get_parameter(name, owner->header, owner->address);
}

int IMS_event_mgmt::get_port(std::string event)
{
    const auto owner = find_owner(event);
    return owner == evlist.end() ? -1 : IMS_address::get_port(owner->header, owner->address);
}

std::string IMS_event_mgmt::get_value_from_cap_files(const char* match, std::string field)
{
    const std::string key = field + ":";
    const std::string wanted = imsua::text(match);
    std::string value;
    for (const char* path : CapabilityFiles())
        if (imsua::read_capability(path, key, wanted, value)) break;
    return value;
}

void IMS_event_mgmt::print_evlist()
{
    for (const auto& owner : evlist)
        IMS_log::loginfo(5, "print_evlist", "event=%s header=%s address=%s", owner.event.c_str(),
                         owner.header.c_str(), owner.address.c_str());
}
