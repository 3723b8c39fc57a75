#include "daemons/imslinkevd/link_messages.h"

#include <arpa/inet.h>
#include <cstring>
#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

namespace {

// The text of an attribute, which the kernel ends with a zero but a damaged message may not.
std::string text_of(const nlattr* attribute)
{
    const auto* data = static_cast<const char*>(mnl_attr_get_payload(attribute));
    return {data, ::strnlen(data, mnl_attr_get_payload_len(attribute))};
}

// "02:00:00:00:00:01" of any length up to 32 bytes; "" for none and for the all-zero address of lo.
std::string mac_of(const nlattr* attribute)
{
    static const char digits[] = "0123456789abcdef";
    const auto* data = static_cast<const unsigned char*>(mnl_attr_get_payload(attribute));
    const std::size_t size = mnl_attr_get_payload_len(attribute);
    std::string text;
    bool any = false;
    for (std::size_t i = 0; i < size && i < 32; ++i) {
        if (i > 0) text += ':';
        text += digits[data[i] >> 4];
        text += digits[data[i] & 15];
        any = any || data[i] != 0;
    }
    return any ? text : std::string();
}

void take_link_attribute(const nlattr* attribute, Link_news& news)
{
    const std::size_t size = mnl_attr_get_payload_len(attribute);
    switch (mnl_attr_get_type(attribute)) {
    case IFLA_IFNAME: news.name = text_of(attribute); break;
    case IFLA_ADDRESS: news.mac = mac_of(attribute); break;
    case IFLA_OPERSTATE:
        if (size >= 1) news.operstate = mnl_attr_get_u8(attribute);
        break;
    case IFLA_CARRIER:
        if (size >= 1) news.carrier = mnl_attr_get_u8(attribute) != 0;
        break;
    default: break;
    }
}

std::string address_text(int family, const nlattr* attribute)
{
    const std::size_t wanted = family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr);
    char text[INET6_ADDRSTRLEN] = "";
    if (mnl_attr_get_payload_len(attribute) < wanted) return {};
    if (::inet_ntop(family, mnl_attr_get_payload(attribute), text, sizeof text) == nullptr) return {};
    return text;
}

const nlattr* first_attribute(const nlmsghdr* message, std::size_t header)
{
    return static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(message, header));
}

bool is_attribute(const nlmsghdr* message, const nlattr* attribute)
{
    const auto* tail = static_cast<const char*>(mnl_nlmsg_get_payload_tail(message));
    const auto left = tail - reinterpret_cast<const char*>(attribute);
    return mnl_attr_ok(attribute, static_cast<int>(left));
}

} // namespace

std::optional<Link_news> read_link(const nlmsghdr* message)
{
    if (mnl_nlmsg_get_payload_len(message) < sizeof(ifinfomsg)) return std::nullopt;
    const auto* head = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(message));
    if (head->ifi_family != AF_UNSPEC) return std::nullopt;
    Link_news news;
    news.index = head->ifi_index;
    news.hardware = head->ifi_type;
    news.admin_up = (head->ifi_flags & IFF_UP) != 0;
    news.running = (head->ifi_flags & IFF_RUNNING) != 0;
    news.loopback = (head->ifi_flags & IFF_LOOPBACK) != 0;
    for (auto* a = first_attribute(message, sizeof(ifinfomsg)); is_attribute(message, a);
         a = mnl_attr_next(a))
        take_link_attribute(a, news);
    return news;
}

std::optional<Address_news> read_address(const nlmsghdr* message)
{
    if (mnl_nlmsg_get_payload_len(message) < sizeof(ifaddrmsg)) return std::nullopt;
    const auto* head = static_cast<const ifaddrmsg*>(mnl_nlmsg_get_payload(message));
    if (head->ifa_family != AF_INET && head->ifa_family != AF_INET6) return std::nullopt;
    Address_news news;
    news.index = static_cast<int>(head->ifa_index);
    news.address.family = head->ifa_family;
    news.address.scope = head->ifa_scope;
    news.address.prefix = head->ifa_prefixlen;
    std::uint32_t flags = head->ifa_flags;
    std::string peer;
    for (auto* a = first_attribute(message, sizeof(ifaddrmsg)); is_attribute(message, a);
         a = mnl_attr_next(a)) {
        const unsigned type = mnl_attr_get_type(a);
        if (type == IFA_LOCAL) news.address.text = address_text(head->ifa_family, a);
        if (type == IFA_ADDRESS) peer = address_text(head->ifa_family, a);
        if (type == IFA_FLAGS && mnl_attr_get_payload_len(a) >= sizeof flags) flags = mnl_attr_get_u32(a);
    }
    // On a point-to-point link IFA_ADDRESS is the other end; IPv6 has no IFA_LOCAL elsewhere.
    if (news.address.text.empty()) news.address.text = peer;
    news.address.tentative = (flags & (IFA_F_TENTATIVE | IFA_F_DADFAILED)) != 0;
    if (news.address.text.empty()) return std::nullopt;
    return news;
}
