#include "daemons/imsfwkd/watcher.h"

#include "daemons/imsfwkd/store_dir.h"

#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>

namespace imsfwkd {

Watcher::~Watcher()
{
    if (fd_ >= 0) ::close(fd_);
}

// A file is looked at when its writer closes it or it takes its name, not at every write in between.
bool Watcher::open(const std::string& directory, std::string& why)
{
    constexpr std::uint32_t EVENTS =
        IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
    fd_ = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (fd_ >= 0 && ::inotify_add_watch(fd_, directory.c_str(), EVENTS) >= 0) return true;
    char words[128] = "";
    why = directory + ": " + ::strerror_r(errno, words, sizeof words);
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    return false;
}

Watcher::Notice Watcher::take()
{
    Notice notice;
    alignas(inotify_event) char buffer[8192];
    const ssize_t n = ::read(fd_, buffer, sizeof buffer);
    for (ssize_t at = 0; at < n;) {
        inotify_event event;
        std::memcpy(&event, buffer + at, sizeof event);
        const std::string file = event.len > 0 ? buffer + at + sizeof event : "";
        at += static_cast<ssize_t>(sizeof event + event.len);
        if ((event.mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF)) != 0) notice.all = true;
        if (const std::string document = document_of_file(file); !document.empty())
            notice.documents.insert(document);
    }
    return notice;
}

} // namespace imsfwkd
