// Builds routing messages as the kernel sends them, for tests.
#ifndef TESTS_IMSLINKEVD_KERNEL_MESSAGES_H_INCLUDED
#define TESTS_IMSLINKEVD_KERNEL_MESSAGES_H_INCLUDED

#include <algorithm>
#include <array>
#include <initializer_list>
#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <vector>

class Kernel_message {
public:
    explicit Kernel_message(unsigned type, unsigned sequence = 0, unsigned flags = 0)
    {
        nlmsghdr* message = mnl_nlmsg_put_header(buffer_.data());
        message->nlmsg_type = static_cast<std::uint16_t>(type);
        message->nlmsg_seq = sequence;
        message->nlmsg_flags = static_cast<std::uint16_t>(flags);
    }
    void link(int index, unsigned flags, int family = AF_UNSPEC)
    {
        auto* body = static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(head(), sizeof(ifinfomsg)));
        body->ifi_family = static_cast<unsigned char>(family);
        body->ifi_index = index;
        body->ifi_flags = flags;
        body->ifi_type = 1; // Ethernet
    }
    void address(unsigned index, int family, unsigned prefix, unsigned scope)
    {
        auto* body = static_cast<ifaddrmsg*>(mnl_nlmsg_put_extra_header(head(), sizeof(ifaddrmsg)));
        body->ifa_family = static_cast<unsigned char>(family);
        body->ifa_prefixlen = static_cast<unsigned char>(prefix);
        body->ifa_scope = static_cast<unsigned char>(scope);
        body->ifa_index = index;
    }
    void number(int value) { *static_cast<int*>(mnl_nlmsg_put_extra_header(head(), sizeof value)) = value; }
    void text(std::uint16_t type, const char* value) { mnl_attr_put_strz(head(), type, value); }
    void byte(std::uint16_t type, std::uint8_t value) { mnl_attr_put_u8(head(), type, value); }
    void bytes(std::uint16_t type, std::initializer_list<unsigned char> value)
    {
        mnl_attr_put(head(), type, value.size(), value.begin());
    }
    nlmsghdr* head() { return reinterpret_cast<nlmsghdr*>(buffer_.data()); }
    std::size_t size() { return head()->nlmsg_len; }

private:
    alignas(nlmsghdr) std::array<char, 512> buffer_{};
};

// Several messages as one receive delivers them.
class Kernel_batch {
public:
    Kernel_batch& add(Kernel_message& message)
    {
        const auto* from = reinterpret_cast<const char*>(message.head());
        std::copy(from, from + message.size(), buffer_.begin() + static_cast<long>(size_));
        size_ += NLMSG_ALIGN(message.size());
        return *this;
    }
    const void* data() const { return buffer_.data(); }
    std::size_t size() const { return size_; }

private:
    alignas(nlmsghdr) std::array<char, 8192> buffer_{};
    std::size_t size_ = 0;
};

#endif
