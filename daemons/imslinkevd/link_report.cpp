#include "daemons/imslinkevd/link_report.h"

#include <fnmatch.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <sys/socket.h>
#include <tuple>

namespace {

struct Access {
    const char* network;
    const char* type;
};

// By what the kernel knows: the kind of hardware, and for radio the customary names of the interfaces.
Access access_of(const Link& link)
{
    const auto starts = [&](const char* prefix) { return link.name.rfind(prefix, 0) == 0; };
    if (link.loopback || link.hardware == ARPHRD_LOOPBACK) return {"loopback", ""};
    if (starts("wwan") || starts("rmnet")) return {"3GPP", "WWAN"};
    if (starts("wl")) return {"IEEE", "802.11"};
    if (link.hardware == ARPHRD_ETHER) return {"IEEE", "802.3"};
    if (link.hardware == ARPHRD_PPP || link.hardware == ARPHRD_RAWIP) return {"3GPP", "WWAN"};
    return {"other", ""};
}

// RFC 2863 states, in the kernel's numbering.
const char* cause_of(unsigned operstate)
{
    // clang-format off
    static constexpr struct { unsigned state; const char* cause; } rows[] = {
        {IF_OPER_NOTPRESENT,     "not-present"},
        {IF_OPER_DOWN,           "no-carrier"},
        {IF_OPER_LOWERLAYERDOWN, "lower-layer-down"},
        {IF_OPER_TESTING,        "testing"},
        {IF_OPER_DORMANT,        "dormant"},
    };
    // clang-format on
    for (const auto& row : rows)
        if (row.state == operstate) return row.cause;
    return "no-carrier";
}

// Drivers that do not tell an operational state (IF_OPER_UNKNOWN: tunnels, lo) tell by IFF_RUNNING.
bool is_operational(const Link& link)
{
    return link.operstate == IF_OPER_UP || (link.operstate == IF_OPER_UNKNOWN && link.running);
}

// Lower is better.
unsigned rank(const Link_address& address)
{
    return (address.tentative ? 8u : 0u) + (address.scope != 0 ? 4u : 0u) +
           (address.family == AF_INET ? 0u : 2u);
}

std::string best_address(const Link& link)
{
    const Link_address* best = nullptr;
    for (const auto& address : link.addresses)
        if (best == nullptr || rank(address) < rank(*best)) best = &address;
    return best != nullptr ? best->text : std::string();
}

} // namespace

bool operator==(const Link_report& a, const Link_report& b)
{
    const auto fields = [](const Link_report& r) {
        return std::tie(r.reference, r.name, r.mac, r.ip_address, r.up, r.cause, r.access_network,
                        r.access_type, r.access_point);
    };
    return fields(a) == fields(b);
}

const char* status_text(const Link_report& report)
{
    return report.up ? "up" : "down";
}

Link_report report_of(const Link& link)
{
    const Access access = access_of(link);
    Link_report report;
    report.reference = link.index;
    report.name = link.name;
    report.mac = link.mac;
    report.ip_address = best_address(link);
    report.up = link.admin_up && is_operational(link);
    if (report.up)
        report.cause = "operational";
    else
        report.cause = link.admin_up ? cause_of(link.operstate) : "admin-down";
    report.access_network = access.network;
    report.access_type = access.type;
    report.access_point = link.name;
    return report;
}

Link_report removed_report(const Link_report& last)
{
    Link_report report = last;
    report.ip_address.clear();
    report.up = false;
    report.cause = "removed";
    return report;
}

Link_report no_link_report()
{
    Link_report report;
    report.cause = "no-link";
    return report;
}

Link_report preferred_report(const std::vector<Link_report>& reports)
{
    for (const auto& report : reports)
        if (report.up) return report;
    return reports.empty() ? no_link_report() : reports.front();
}

Link_report availability_of(const std::vector<Link_report>& reports)
{
    const Link_report preferred = preferred_report(reports);
    Link_report report;
    if (!preferred.up) return report;
    report.up = true;
    report.access_network = preferred.access_network;
    report.access_type = preferred.access_type;
    report.access_point = preferred.access_point;
    return report;
}

Link_filter::Link_filter(const std::string& patterns)
{
    for (std::size_t from = 0; from < patterns.size();) {
        const std::size_t comma = patterns.find(',', from);
        const std::size_t end = comma == std::string::npos ? patterns.size() : comma;
        if (end > from) patterns_.push_back(patterns.substr(from, end - from));
        from = end + 1;
    }
}

std::vector<Link_report> Link_filter::reports(const std::vector<Link>& links) const
{
    std::vector<Link_report> list;
    if (patterns_.empty()) {
        for (const auto& link : links)
            if (!link.loopback) list.push_back(report_of(link));
        return list;
    }
    std::vector<bool> taken(links.size(), false);
    for (const auto& pattern : patterns_)
        for (std::size_t i = 0; i < links.size(); ++i) {
            if (taken[i] || ::fnmatch(pattern.c_str(), links[i].name.c_str(), 0) != 0) continue;
            taken[i] = true;
            list.push_back(report_of(links[i]));
        }
    return list;
}
