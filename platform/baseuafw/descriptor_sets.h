// The read set and the write set of an IMS_socket, as poll(2) wants them.
//
// Thread   none of its own: IMS_socket's lock guards it.
// Errors   bad_alloc when memory is out; the sets are then unchanged.
#ifndef BASEUAFW_DESCRIPTOR_SETS_H_INCLUDED
#define BASEUAFW_DESCRIPTOR_SETS_H_INCLUDED

#include <map>
#include <poll.h>
#include <vector>

namespace baseuafw {

// The poll events of mode letters: POLLIN for 'r', POLLOUT for 'w'; 0 for null or anything else.
short events_of(const char* mode);

class DescriptorSets {
public:
    void add(int fd, short events);
    void remove(int fd, short events);
    void forget(int fd) { events_.erase(fd); }

    // Appends an entry for each member of the sets that `events` names, in ascending order.
    void append_to(std::vector<pollfd>& polled, short events) const;

    // Appends to `readable` the descriptors of `polled`, from entry `first` on, that are readable, at their
    // end or in error, and still in the read set. Closed ones leave the sets.
    void take_readable(const std::vector<pollfd>& polled, std::size_t first, std::vector<int>& readable);

private:
    std::map<int, short> events_;
};

} // namespace baseuafw

#endif
