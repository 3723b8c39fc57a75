#include "baseuafw/descriptor_sets.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace baseuafw {

short events_of(const char* mode)
{
    if (!mode) return 0;
    const int in = std::strchr(mode, 'r') ? POLLIN : 0;
    const int out = std::strchr(mode, 'w') ? POLLOUT : 0;
    return static_cast<short>(in | out);
}

void DescriptorSets::add(int fd, short events)
{
    if (fd < 0 || events == 0) return;
    short& now = events_[fd];
    now = static_cast<short>(now | events);
}

void DescriptorSets::remove(int fd, short events)
{
    const auto found = events_.find(fd);
    if (found == events_.end()) return;
    found->second = static_cast<short>(found->second & ~events);
    if (found->second == 0) events_.erase(found);
}

void DescriptorSets::append_to(std::vector<pollfd>& polled, short events) const
{
    for (const auto& member : events_) {
        const auto wanted = static_cast<short>(member.second & events);
        if (wanted != 0) polled.push_back({member.first, wanted, 0});
    }
}

void DescriptorSets::take_readable(const std::vector<pollfd>& polled, std::size_t first,
                                   std::vector<int>& readable)
{
    for (std::size_t i = first; i < polled.size(); ++i) {
        const pollfd& entry = polled[i];
        if (entry.revents & POLLNVAL) {
            // The number may have been given out and added again since the poll: only a dead one leaves.
            if (::fcntl(entry.fd, F_GETFD) < 0 && errno == EBADF) forget(entry.fd);
            continue;
        }
        const auto member = events_.find(entry.fd);
        const bool watched = member != events_.end() && (member->second & entry.events & POLLIN);
        if (watched && (entry.revents & (POLLIN | POLLHUP | POLLERR))) readable.push_back(entry.fd);
    }
}

} // namespace baseuafw
