#include "siplib/sofia/connections.h"

namespace siplib::sofia {

using Guard = std::lock_guard<std::mutex>;

bool Connections::may_send_to(const std::string& route) const
{
    Guard guard(mutex_);
    return static_cast<long long>(open_.size()) < most_ || routes_.count(route) > 0;
}

bool Connections::use(tport_t* transport, std::string_view route)
{
    if (!transport || !tport_is_secondary(transport)) return true;
    {
        Guard guard(mutex_);
        if (open_.count(transport)) return true;
        if (static_cast<long long>(open_.size()) < most_) {
            open_.emplace(tport_ref(transport), route);
            if (!route.empty()) routes_.emplace(route);
            return true;
        }
    }
    const std::size_t before = open_.size();
    drop_closed();
    return open_.size() < before && use(transport, route);
}

void Connections::drop_closed()
{
    Guard guard(mutex_);
    for (auto entry = open_.begin(); entry != open_.end();) {
        if (!tport_is_closed(entry->first) && !tport_is_shutdown(entry->first)) {
            ++entry;
            continue;
        }
        tport_unref(entry->first);
        routes_.erase(entry->second);
        entry = open_.erase(entry);
    }
}

void Connections::drop_all()
{
    Guard guard(mutex_);
    for (const auto& entry : open_)
        tport_unref(entry.first);
    open_.clear();
    routes_.clear();
}

} // namespace siplib::sofia
