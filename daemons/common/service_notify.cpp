#include "daemons/common/service_notify.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

bool service_notify(const std::string& state)
{
    const char* name = std::getenv("NOTIFY_SOCKET"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t length = name != nullptr ? std::strlen(name) : 0;
    if (length < 2 || length >= sizeof address.sun_path || (name[0] != '/' && name[0] != '@')) return false;
    std::memcpy(address.sun_path, name, length);
    if (name[0] == '@') address.sun_path[0] = '\0'; // the abstract namespace
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    const auto sent = ::sendto(fd, state.data(), state.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                               reinterpret_cast<const sockaddr*>(&address), size);
    ::close(fd);
    return sent == static_cast<ssize_t>(state.size());
}
