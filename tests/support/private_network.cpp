#include "tests/support/private_network.h"

#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

bool write_file(const char* path, const std::string& text)
{
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool whole = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(fd);
    return whole;
}

std::string map_of_one(unsigned inside, unsigned outside)
{
    return std::to_string(inside) + " " + std::to_string(outside) + " 1";
}

// Users keep their own numbers: what a test sees of files and rights stays as it was.
bool unshare_network()
{
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(CLONE_NEWNET) == 0) return true;
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && imsua_tests::map_ids(user, user, group, group);
}

bool raise_loopback()
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    bool raised = fd >= 0 && ::ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    raised = raised && ::ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    if (fd >= 0) ::close(fd);
    return raised;
}

} // namespace

namespace imsua_tests {

bool map_ids(uid_t inside_user, uid_t user, gid_t inside_group, gid_t group)
{
    return write_file("/proc/self/setgroups", "deny") &&
           write_file("/proc/self/uid_map", map_of_one(inside_user, user)) &&
           write_file("/proc/self/gid_map", map_of_one(inside_group, group));
}

bool enter_private_network()
{
    return unshare_network() && raise_loopback();
}

} // namespace imsua_tests
