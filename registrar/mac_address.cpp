// The hardware address of a network interface, as the kernel tells it.
#include "include/text.h"
#include "registrar/IMS_LocalRegistrar.h"

#include <cstdio>
#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A record of the system's own size: the kernel writes all of it, and that is 32 bytes on some hosts, 40 on
// others.
ifreq request_for(const char* interface_name)
{
    ifreq request = {};
    const char* const name = imsua::text(interface_name);
    std::memcpy(request.ifr_name, name, strnlen(name, IFNAMSIZ - 1));
    return request;
}

void print_mac(const ifreq& answer, char* out, std::size_t size)
{
    unsigned char mac[6];
    std::memcpy(mac, answer.ifr_hwaddr.sa_data, sizeof mac);
    std::snprintf(out, size, "%02X%02X%02X%02X%02X%02X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

} // namespace

int IMS_LocalRegistrar::get_mac_address(const char* interface_name, char* out, int size)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ifreq record = request_for(interface_name);
    const bool found = ::ioctl(fd, SIOCGIFHWADDR, &record) == 0;
    if (out && size > 0) {
        const std::size_t room = static_cast<std::size_t>(size);
        if (found)
            print_mac(record, out, room);
        else
            std::snprintf(out, room, "000000000000");
    }
    return ::close(fd);
}
