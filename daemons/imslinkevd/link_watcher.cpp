#include "daemons/imslinkevd/link_watcher.h"

#include "baseuafw/baseuafw.h"

#include <cerrno>
#include <cstring>
#include <string>

void Link_watcher::open(Time now)
{
    if (socket_.open(buffer_size_) != 0) {
        IMS_log::loginfo(4, "link_watcher", "cannot watch the kernel's links: error %d, trying again", errno);
        due_ = now + RETRY;
        return;
    }
    sync_.start();
    ask(now);
}

void Link_watcher::ask(Time now)
{
    const auto request = sync_.request();
    if (socket_.send(request.bytes.data(), request.size) == 0) {
        due_ = now + DUMP_PATIENCE;
        return;
    }
    IMS_log::loginfo(4, "link_watcher", "cannot ask for the kernel's links: error %d, trying again", errno);
    socket_.close();
    due_ = now + RETRY;
}

void Link_watcher::start_over(Time now, const char* why)
{
    IMS_log::loginfo(4, "link_watcher", "reading all links anew: %s", why);
    {
        std::lock_guard<std::mutex> guard(mutex_);
        ++resyncs_;
    }
    open(now);
}

bool Link_watcher::on_readable(Time now)
{
    // Whatever arrives meanwhile stays for the next turn: the other work of the thread must not starve.
    for (int turn = 0; turn < 64; ++turn) {
        const auto received = socket_.receive();
        if (received == Netlink_socket::Received::nothing) break;
        if (received == Netlink_socket::Received::lost) {
            start_over(now, "the kernel could not deliver everything");
            break;
        }
        const auto wants = sync_.take(socket_.data(), socket_.size());
        if (wants == Link_sync::Wants::start_over) {
            start_over(now, "the list was interrupted");
            break;
        }
        if (wants == Link_sync::Wants::dump_addresses) ask(now);
        if (sync_.is_following()) due_ = Time::max();
    }
    return show();
}

bool Link_watcher::on_time(Time now)
{
    if (now < due_) return false;
    start_over(now, "the list did not come");
    return false;
}

bool Link_watcher::show()
{
    if (!sync_.take_changed()) return false;
    auto links = sync_.links();
    std::lock_guard<std::mutex> guard(mutex_);
    if (links == links_ && !links.empty()) return false;
    links_ = std::move(links);
    return true;
}

std::vector<Link> Link_watcher::links() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return links_;
}

std::uint64_t Link_watcher::resyncs() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return resyncs_;
}
