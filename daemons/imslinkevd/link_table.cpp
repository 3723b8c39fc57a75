#include "daemons/imslinkevd/link_table.h"

#include <algorithm>
#include <tuple>

namespace {

bool is_same_address(const Link_address& a, const Link_address& b)
{
    return a.family == b.family && a.prefix == b.prefix && a.text == b.text;
}

template <typename T>
void take(T& field, const std::optional<T>& news)
{
    if (news) field = *news;
}

} // namespace

bool operator==(const Link_address& a, const Link_address& b)
{
    return is_same_address(a, b) && a.scope == b.scope && a.tentative == b.tentative;
}

bool operator==(const Link& a, const Link& b)
{
    const auto fields = [](const Link& l) {
        return std::tie(l.index, l.name, l.mac, l.hardware, l.admin_up, l.running, l.loopback, l.carrier,
                        l.operstate, l.addresses);
    };
    return fields(a) == fields(b);
}

bool Link_table::put_link(const Link_news& news)
{
    if (news.index <= 0) return false;
    auto found = links_.find(news.index);
    if (found == links_.end()) {
        if (links_.size() >= MAX_LINKS || !news.name) return false;
        found = links_.emplace(news.index, Link{}).first;
    }
    Link& link = found->second;
    const Link before = link;
    link.index = news.index;
    link.hardware = news.hardware;
    link.admin_up = news.admin_up;
    link.running = news.running;
    link.loopback = news.loopback;
    take(link.name, news.name);
    take(link.mac, news.mac);
    if (news.carrier) link.carrier = news.carrier;
    take(link.operstate, news.operstate);
    return !(link == before);
}

bool Link_table::remove_link(int index)
{
    return links_.erase(index) > 0;
}

bool Link_table::put_address(int index, const Link_address& address)
{
    const auto found = links_.find(index);
    if (found == links_.end()) return false;
    auto& list = found->second.addresses;
    const auto same = std::find_if(list.begin(), list.end(),
                                   [&](const Link_address& a) { return is_same_address(a, address); });
    if (same == list.end()) {
        if (list.size() >= MAX_ADDRESSES) return false;
        list.push_back(address);
        return true;
    }
    if (*same == address) return false;
    *same = address;
    return true;
}

bool Link_table::remove_address(int index, const Link_address& address)
{
    const auto found = links_.find(index);
    if (found == links_.end()) return false;
    auto& list = found->second.addresses;
    const auto kept = std::remove_if(list.begin(), list.end(),
                                     [&](const Link_address& a) { return is_same_address(a, address); });
    const bool changed = kept != list.end();
    list.erase(kept, list.end());
    return changed;
}

std::vector<Link> Link_table::links() const
{
    std::vector<Link> list;
    list.reserve(links_.size());
    for (const auto& entry : links_)
        list.push_back(entry.second);
    return list;
}
