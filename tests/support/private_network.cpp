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

// Users keep their own numbers: what a test sees of files and rights stays as it was.
bool unshare_network()
{
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    if (::unshare(CLONE_NEWNET) == 0) return true;
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && write_file("/proc/self/setgroups", "deny") &&
           write_file("/proc/self/uid_map", user + " " + user + " 1") &&
           write_file("/proc/self/gid_map", group + " " + group + " 1");
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

bool enter_private_network()
{
    return unshare_network() && raise_loopback();
}

} // namespace imsua_tests
