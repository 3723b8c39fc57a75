#include "baseuafw/IMS_socket.h"

#include "baseuafw/IMS_daemon.h"
#include "baseuafw/IMS_log.h"
#include "baseuafw/created_files.h"
#include "baseuafw/descriptor_sets.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

struct IMS_socket::Impl {
    std::mutex lock; // guards everything here; never held while blocked
    baseuafw::DescriptorSets sets;
    std::vector<int> pinned;
    int dead = -1; // a socket without a peer, laid over pinned descriptors when they are closed
    int wakeup = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::vector<pollfd> spare; // keeps its memory from one poll to the next
    int waiting = 0;           // threads in poll, or about to be with a copy of the sets
    int not_yet_woken = 0;     // those of them that the newest wake-up was meant for and has not reached
    unsigned wakeups = 0;
    class Waiting;

    ~Impl()
    {
        if (wakeup >= 0) ::close(wakeup);
        if (dead >= 0) ::close(dead);
    }
    bool is_pinned(int fd) const { return std::find(pinned.begin(), pinned.end(), fd) != pinned.end(); }
    // The caller holds the lock.
    void wake()
    {
        ++wakeups;
        not_yet_woken = waiting;
        const std::uint64_t one = 1;
        while (::write(wakeup, &one, sizeof one) < 0 && errno == EINTR) {
        } // EAGAIN: it is awake enough
    }
    // A blocked poll looks at a copy of the sets.
    void sets_changed()
    {
        if (waiting > 0) wake();
    }
    // The first thread to wake up must leave the wake-up to the others: they would go on sleeping.
    void rest() const
    {
        if (not_yet_woken > 0) return;
        std::uint64_t count = 0;
        while (::read(wakeup, &count, sizeof count) < 0 && errno == EINTR) {
        }
    }
    int retire(int fd);
    void make_dead_socket();
};

// Counts a thread as waiting for as long as it is in poll, also when it is cancelled there. The lock is free
// in between.
class IMS_socket::Impl::Waiting {
public:
    Waiting(Impl& impl, std::unique_lock<std::mutex>& guard)
        : impl_(impl), guard_(guard), wakeups_(impl.wakeups)
    {
        ++impl_.waiting;
        guard_.unlock();
    }
    ~Waiting()
    {
        guard_.lock();
        --impl_.waiting;
        if (wakeups_ != impl_.wakeups) --impl_.not_yet_woken;
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

private:
    Impl& impl_;
    std::unique_lock<std::mutex>& guard_;
    const unsigned wakeups_; // as it began to wait
};

namespace {

// -1 with `error`, having closed `fd` if there is one.
int fail(int error, int fd = -1)
{
    if (fd >= 0) ::close(fd);
    errno = error;
    return -1;
}

// What `_socket` and `_connect` know; 0, or the error.
int check_kind(const char* name, const char* domain, const char* type)
{
    if (!name || !name[0]) return EINVAL;
    if (!domain || std::strcmp(domain, "unix") != 0) return EAFNOSUPPORT;
    if (!type || std::strcmp(type, "stream") != 0) return EPROTOTYPE;
    return 0;
}

// The address of a socket file; 0, or the error.
int fill_address(sockaddr_un& address, const std::string& path)
{
    if (path.empty()) return ENOMEM; // path_of had a name
    if (path.size() >= sizeof address.sun_path) return ENAMETOOLONG;
    address = sockaddr_un{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return 0;
}

int stream_socket()
{
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

void remove_stale_socket(const char* path)
{
    struct stat found {};
    if (::lstat(path, &found) == 0 && S_ISSOCK(found.st_mode)) ::unlink(path);
}

int bound_socket(const sockaddr_un& address)
{
    const int fd = stream_socket();
    if (fd < 0) return -1;
    // The file takes the mode of the socket: there is no moment at which others could connect.
    if (::fchmod(fd, S_IRUSR | S_IWUSR) != 0) return fail(errno, fd);
    remove_stale_socket(address.sun_path);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return fail(errno, fd);
    return fd;
}

void log_failure(const char* path, int error)
{
    char reason[128];
    IMS_log::loginfo(4, "_socket", "cannot open %s: %s", path, ::strerror_r(error, reason, sizeof reason));
}

} // namespace

int IMS_socket::Impl::retire(int fd)
{
    if (dead >= 0) return ::dup3(dead, fd, O_CLOEXEC) < 0 ? -1 : 0;
    return ::shutdown(fd, SHUT_RDWR); // no descriptor was left for the dead socket: nearly the same
}

void IMS_socket::Impl::make_dead_socket()
{
    int ends[2];
    if (dead >= 0 || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return;
    ::close(ends[1]);
    dead = ends[0];
}

IMS_socket::IMS_socket() : impl_(new (std::nothrow) Impl)
{
    if (impl_ && impl_->wakeup >= 0) return;
    IMS_log::loginfo(3, "IMS_socket", "no memory or no descriptor for a socket object");
    IMS_daemon::fatal_exit(1);
}

IMS_socket::~IMS_socket()
{
    delete impl_;
}

int IMS_socket::_socket(const char* name, const char* domain, const char* type)
{
    const std::string path = path_of(name);
    sockaddr_un address;
    int error = check_kind(name, domain, type);
    if (error == 0) error = fill_address(address, path);
    const int fd = error == 0 ? bound_socket(address) : fail(error);
    if (fd < 0) {
        error = errno;
        log_failure(path.c_str(), error);
        return fail(error);
    }
    if (!baseuafw::remember_created_file(path.c_str()))
        IMS_log::loginfo(4, "_socket", "%s will not be removed at the end", path.c_str());
    return fd;
}

int IMS_socket::_listen(int fd, int backlog)
{
    return ::listen(fd, backlog);
}

int IMS_socket::_accept(int listenfd)
{
    int fd = -1;
    do
        fd = ::accept4(listenfd, nullptr, nullptr, SOCK_CLOEXEC);
    while (fd < 0 && (errno == EINTR || errno == ECONNABORTED));
    return fd;
}

int IMS_socket::_connect(const char* name, const char* domain, const char* type)
{
    sockaddr_un address;
    int error = check_kind(name, domain, type);
    if (error == 0) error = fill_address(address, path_of(name));
    if (error != 0) return fail(error);
    const int fd = stream_socket();
    if (fd < 0) return -1;
    int result = 0;
    do
        result = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    while (result != 0 && errno == EINTR);
    return result == 0 ? fd : fail(errno, fd);
}

void IMS_socket::_set(int fd, const char* mode)
{
    std::lock_guard<std::mutex> guard(impl_->lock);
    try {
        impl_->sets.add(fd, baseuafw::events_of(mode));
    } catch (const std::bad_alloc&) {
        IMS_log::loginfo(3, "_set", "out of memory: descriptor %d is not watched", fd);
    }
    impl_->sets_changed();
}

void IMS_socket::_unset(int fd, const char* mode)
{
    std::lock_guard<std::mutex> guard(impl_->lock);
    impl_->sets.remove(fd, baseuafw::events_of(mode));
    impl_->sets_changed();
}

int IMS_socket::_select(const char* mode, std::vector<int>& readable)
{
    readable.clear();
    try {
        std::vector<pollfd> polled;
        std::unique_lock<std::mutex> guard(impl_->lock);
        polled.swap(impl_->spare);
        polled.assign(1, {impl_->wakeup, POLLIN, 0});
        impl_->sets.append_to(polled, baseuafw::events_of(mode));
        {
            const Impl::Waiting waiting(*impl_, guard);
            if (::poll(polled.data(), polled.size(), -1) < 0) return -1;
        }
        if (polled[0].revents != 0) impl_->rest();
        impl_->sets.take_readable(polled, 1, readable);
        polled.swap(impl_->spare);
        return static_cast<int>(readable.size());
    } catch (const std::bad_alloc&) {
        readable.clear();
        return fail(ENOMEM);
    }
}

int IMS_socket::_recvfrom(int fd, void* buf, int max)
{
    if (!buf || max <= 0) return fail(EINVAL);
    std::lock_guard<std::mutex> guard(impl_->lock); // never in the middle of a _close
    ssize_t n = 0;
    do
        n = ::recv(fd, buf, static_cast<std::size_t>(max), MSG_DONTWAIT);
    while (n < 0 && errno == EINTR);
    return static_cast<int>(n);
}

int IMS_socket::_send(int fd, const void* data, int len)
{
    if (len < 0 || (!data && len > 0)) return fail(EINVAL);
    const auto* from = static_cast<const char*>(data);
    int left = len;
    while (left > 0) {
        const ssize_t n = ::send(fd, from, static_cast<std::size_t>(left), MSG_NOSIGNAL);
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            pollfd room{fd, POLLOUT, 0};
            ::poll(&room, 1, -1);
        } else if (n < 0 && errno != EINTR)
            return -1;
        else if (n > 0) {
            from += n;
            left -= static_cast<int>(n);
        }
    }
    return len;
}

int IMS_socket::_close(int fd)
{
    std::lock_guard<std::mutex> guard(impl_->lock);
    impl_->sets.forget(fd);
    // A poll that watches the socket keeps it open until it returns: the peer would not see its end.
    impl_->sets_changed();
    return impl_->is_pinned(fd) ? impl_->retire(fd) : ::close(fd);
}

void IMS_socket::_pin(int fd)
{
    std::lock_guard<std::mutex> guard(impl_->lock);
    if (fd < 0 || impl_->is_pinned(fd)) return;
    impl_->make_dead_socket();
    try {
        impl_->pinned.push_back(fd);
    } catch (const std::bad_alloc&) {
        IMS_log::loginfo(3, "_pin", "out of memory: descriptor %d is not pinned", fd);
    }
}

void IMS_socket::_wake()
{
    const std::lock_guard<std::mutex> guard(impl_->lock);
    impl_->wake();
}

std::string IMS_socket::path_of(const char* name)
{
    const char* directory = std::getenv("IMS_SOCKET_DIR"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    try {
        const std::string file = name ? name : "";
        return directory && directory[0] ? std::string(directory) + "/" + file : file;
    } catch (const std::bad_alloc&) {
        return {};
    }
}
