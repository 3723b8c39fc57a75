#include "siplib/sofia/close_on_exec.h"

#include "siplib/sip_text.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sofia-sip/su_wait.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

// Takes the place of Sofia-SIP's own function (the dynamic linker finds this one first) and does the same,
// besides the flag. Every socket that Sofia-SIP makes or accepts comes by here before it is waited for.
extern "C" __attribute__((visibility("default"))) int su_wait_create(su_wait_t* wait, su_socket_t socket,
                                                                     int events)
{
    if (!wait || events == 0 || socket == INVALID_SOCKET) {
        errno = EINVAL;
        return -1;
    }
    const int flags = fcntl(socket, F_GETFD);
    if (flags >= 0) fcntl(socket, F_SETFD, flags | FD_CLOEXEC);
    wait->fd = socket;
    wait->events = static_cast<short>(events);
    wait->revents = 0;
    return 0;
}

namespace siplib::sofia {
namespace {

std::vector<int> open_descriptors()
{
    std::vector<int> found;
    DIR* directory = opendir("/proc/self/fd");
    if (!directory) return found;
    while (const dirent* entry = readdir(directory)) { // NOLINT(concurrency-mt-unsafe): the stream is ours
        long number = 0;
        if (read_number(entry->d_name, 1 << 30, number) && number != dirfd(directory))
            found.push_back(static_cast<int>(number));
    }
    closedir(directory);
    std::sort(found.begin(), found.end());
    return found;
}

bool is_unix_socket(int fd)
{
    int domain = 0;
    socklen_t size = sizeof domain;
    return getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX;
}

bool looks_like_sofias(int fd)
{
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    char target[64] = "";
    const ssize_t size = readlink(link.c_str(), target, sizeof target - 1);
    const std::string_view name(target, size > 0 ? static_cast<std::size_t>(size) : 0);
    return name == "anon_inode:[eventpoll]" || name == "/dev/urandom" || name == "/dev/null" ||
           is_unix_socket(fd);
}

} // namespace

NewDescriptors::NewDescriptors() : before_(open_descriptors()) {}

void NewDescriptors::close_on_exec() const
{
    for (int fd : open_descriptors()) {
        if (std::binary_search(before_.begin(), before_.end(), fd) || !looks_like_sofias(fd)) continue;
        const int flags = fcntl(fd, F_GETFD);
        if (flags >= 0) fcntl(fd, F_SETFD, flags | FD_CLOEXEC);
    }
}

} // namespace siplib::sofia
