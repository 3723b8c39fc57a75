// What subscribers are told about a link, in the words of the documents; and which links are told about.
//
// Thread   any. Pure functions of their arguments.
#ifndef IMSLINKEVD_LINK_REPORT_H_INCLUDED
#define IMSLINKEVD_LINK_REPORT_H_INCLUDED

#include "daemons/imslinkevd/link_table.h"

// The state of one link, or (reference 0) of the device's access as a whole.
struct Link_report {
    int reference = 0; // the kernel's link number; 0 for the access as a whole
    std::string name;
    std::string mac;
    std::string ip_address; // the best one: IPv4 before IPv6, global before link-local; "" without
    bool up = false;
    std::string cause;          // why: see CAUSES in docs/daemons/imslinkevd.md
    std::string access_network; // "IEEE", "3GPP", "loopback" or "other"
    std::string access_type;    // "802.3", "802.11", "WWAN", ... ; "" where nothing is known
    std::string access_point;   // the interface through which the network is reached
};
bool operator==(const Link_report& a, const Link_report& b);
inline bool operator!=(const Link_report& a, const Link_report& b)
{
    return !(a == b);
}

// "up" and "down", as documents carry it.
const char* status_text(const Link_report& report);

Link_report report_of(const Link& link);

// A link that the kernel has removed: down, without address, cause "removed".
Link_report removed_report(const Link_report& last);

// What is reported while no link is watched: down, cause "no-link", everything else empty.
Link_report no_link_report();

// Of the reports, the one that stands for the device: the first that is up, else the first, else
// no_link_report().
Link_report preferred_report(const std::vector<Link_report>& reports);

// The device's access as a whole, for the availability package: reference 0 and the access fields of the
// preferred link if that is up; all empty when nothing is available.
Link_report availability_of(const std::vector<Link_report>& reports);

// Which links are watched, in which order.
class Link_filter {
public:
    // Names or shell patterns separated by commas, e.g. "wlan0,eth*"; earlier ones are preferred. Empty:
    // every link but the loopback, by the kernel's number.
    explicit Link_filter(const std::string& patterns = "");

    // The reports of the watched links, most preferred first.
    std::vector<Link_report> reports(const std::vector<Link>& links) const;

private:
    std::vector<std::string> patterns_;
};

#endif
