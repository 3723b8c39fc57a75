#include "daemons/imslinkevd/link_sync.h"

#include "daemons/imslinkevd/link_messages.h"

#include <algorithm>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>

namespace {

// Not mnl_nlmsg_ok: that takes a length beyond INT_MAX for a negative one, which fits everywhere.
bool is_whole(const nlmsghdr* message, std::size_t left)
{
    return left >= sizeof(nlmsghdr) && message->nlmsg_len >= sizeof(nlmsghdr) && message->nlmsg_len <= left;
}

} // namespace

void Link_sync::start()
{
    phase_ = Phase::links;
    ++sequence_;
    filling_ = Link_table();
}

Link_sync::Request Link_sync::request() const
{
    Request out;
    static_assert(sizeof out.bytes >= NLMSG_HDRLEN + NLMSG_ALIGN(sizeof(rtgenmsg)), "a request fits");
    alignas(nlmsghdr) char buffer[sizeof out.bytes] = {};
    nlmsghdr* head = mnl_nlmsg_put_header(buffer);
    head->nlmsg_type = phase_ == Phase::addresses ? RTM_GETADDR : RTM_GETLINK;
    head->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    head->nlmsg_seq = sequence_;
    auto* body = static_cast<rtgenmsg*>(mnl_nlmsg_put_extra_header(head, sizeof(rtgenmsg)));
    body->rtgen_family = AF_UNSPEC;
    out.size = head->nlmsg_len;
    std::copy(buffer, buffer + out.size, out.bytes.begin());
    return out;
}

Link_sync::Wants Link_sync::take(const void* data, std::size_t size)
{
    auto wants = Wants::nothing;
    const auto* bytes = static_cast<const char*>(data);
    std::size_t left = size;
    while (left > 0) {
        const auto* message = reinterpret_cast<const nlmsghdr*>(bytes);
        if (!is_whole(message, left)) return Wants::start_over; // a piece of a message: something is lost
        const auto now = take_message(message);
        if (now == Wants::start_over) return now;
        if (now != Wants::nothing) wants = now;
        const std::size_t step = std::min<std::size_t>(NLMSG_ALIGN(message->nlmsg_len), left);
        bytes += step;
        left -= step;
    }
    return wants;
}

Link_sync::Wants Link_sync::take_message(const nlmsghdr* message)
{
    const bool of_dump = phase_ != Phase::following && message->nlmsg_seq == sequence_;
    if (of_dump && (message->nlmsg_flags & NLM_F_DUMP_INTR) != 0) return Wants::start_over;
    switch (message->nlmsg_type) {
    case NLMSG_OVERRUN: return Wants::start_over;
    case NLMSG_ERROR: return of_dump ? Wants::start_over : Wants::nothing;
    case NLMSG_DONE: return of_dump ? take_end(message) : Wants::nothing;
    default: apply(message); return Wants::nothing;
    }
}

// A dump ended: the links are followed by their addresses, these by the changes. The end of a failed dump
// carries a negative error number.
Link_sync::Wants Link_sync::take_end(const nlmsghdr* message)
{
    if (mnl_nlmsg_get_payload_len(message) >= sizeof(int) &&
        *static_cast<const int*>(mnl_nlmsg_get_payload(message)) < 0)
        return Wants::start_over;
    ++sequence_;
    if (phase_ == Phase::links) {
        phase_ = Phase::addresses;
        return Wants::dump_addresses;
    }
    phase_ = Phase::following;
    finished_ = std::move(filling_);
    filling_ = Link_table();
    changed_ = true;
    return Wants::nothing;
}

void Link_sync::put(bool changed)
{
    changed_ = changed_ || (changed && phase_ == Phase::following);
}

// Changes that arrive between the parts of a dump go into the table being filled: messages come in the order
// in which the kernel made them, so the last one is right.
void Link_sync::apply(const nlmsghdr* message)
{
    switch (message->nlmsg_type) {
    case RTM_NEWLINK:
        if (const auto news = read_link(message)) put(table().put_link(*news));
        break;
    case RTM_DELLINK:
        if (const auto news = read_link(message)) put(table().remove_link(news->index));
        break;
    case RTM_NEWADDR:
        if (const auto news = read_address(message)) put(table().put_address(news->index, news->address));
        break;
    case RTM_DELADDR:
        if (const auto news = read_address(message)) put(table().remove_address(news->index, news->address));
        break;
    default: break;
    }
}

bool Link_sync::take_changed()
{
    const bool changed = changed_;
    changed_ = false;
    return changed;
}
