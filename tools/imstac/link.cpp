#include "tools/imstac/link.h"

#include "baseuafw/IMS_socket.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace imstac {
namespace {

constexpr auto RETRY = std::chrono::milliseconds(10);
constexpr std::size_t READ_SIZE = 65536;

// Rounded up: a deadline that is near must not become a busy loop.
int milliseconds_until(Time deadline)
{
    if (deadline == Time::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}

// Nobody there yet, or not listening yet, or too many at once: worth another try.
bool may_come(int error)
{
    return error == ENOENT || error == ECONNREFUSED || error == EAGAIN || error == EINTR;
}

} // namespace

std::string socket_path(const std::string& agent)
{
    if (agent.find('/') != std::string::npos) return agent;
    const std::string ending = ".sock";
    const bool has_ending = agent.size() > ending.size() &&
                            agent.compare(agent.size() - ending.size(), ending.size(), ending) == 0;
    return IMS_socket::path_of((has_ending ? agent : agent + ending).c_str());
}

Link::~Link()
{
    for (const Channel channel : CHANNELS)
        drop(channel);
}

bool Link::connect(const std::string& path, const std::vector<Channel>& order, Time deadline,
                   std::string& why)
{
    if (path.size() >= sizeof(sockaddr_un::sun_path)) {
        why = path + ": too long for the address of a socket";
        return false;
    }
    for (const Channel channel : order)
        if (!connect_one(path, channel, deadline, why)) {
            for (const Channel other : CHANNELS)
                drop(other);
            return false;
        }
    return true;
}

bool Link::connect_one(const std::string& path, Channel channel, Time deadline, std::string& why)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    for (;;) {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const bool done =
            fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        const int error = errno;
        if (done) {
            end(channel).fd = fd;
            return true;
        }
        if (fd >= 0) ::close(fd);
        if (!may_come(error) || Clock::now() >= deadline) {
            why = path + ": " + std::generic_category().message(error);
            return false;
        }
        pollfd wake{wake_fd_, POLLIN, 0};
        if (::poll(&wake, 1, milliseconds_until(std::min(deadline, Clock::now() + RETRY))) > 0) {
            why = "interrupted";
            return false;
        }
    }
}

void Link::send(Channel channel, const std::string& bytes)
{
    if (is_open(channel) && !end(channel).closing) end(channel).waiting += bytes;
}

void Link::close(Channel channel)
{
    if (end(channel).waiting.empty())
        drop(channel);
    else
        end(channel).closing = true;
}

bool Link::is_busy() const
{
    return std::any_of(ends_.begin(), ends_.end(),
                       [](const End& one) { return one.fd >= 0 && !one.waiting.empty(); });
}

bool Link::turn(Time deadline, Arrivals& arrivals)
{
    std::array<pollfd, 3> set{};
    for (const Channel channel : CHANNELS) {
        const short writing = end(channel).waiting.empty() ? short{0} : short{POLLOUT};
        set[index_of(channel)] = {end(channel).fd, static_cast<short>(POLLIN | writing), 0};
    }
    set[2] = {wake_fd_, POLLIN, 0};
    if (::poll(set.data(), set.size(), milliseconds_until(deadline)) <= 0) return true;
    for (const Channel channel : CHANNELS) {
        const short happened = set[index_of(channel)].revents;
        if ((happened & POLLOUT) != 0) write_to(channel);
        if ((happened & (POLLIN | POLLHUP | POLLERR)) != 0) read_from(channel, arrivals);
    }
    return set[2].revents == 0;
}

void Link::write_to(Channel channel)
{
    End& to = end(channel);
    const ssize_t n = ::send(to.fd, to.waiting.data(), to.waiting.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) to.waiting.erase(0, static_cast<std::size_t>(n));
    // A peer that is gone is met by the next read, after what it had sent.
    if (n < 0 && errno != EAGAIN && errno != EINTR) {
        to.waiting.clear();
        has_lost_ = true;
    }
    if (to.closing && to.waiting.empty()) drop(channel);
}

void Link::read_from(Channel channel, Arrivals& arrivals)
{
    if (!is_open(channel)) return;
    char buffer[READ_SIZE];
    const ssize_t n = ::recv(end(channel).fd, buffer, sizeof buffer, MSG_DONTWAIT);
    if (n > 0) {
        if (!end(channel).closing) arrivals.on_bytes(channel, buffer, static_cast<std::size_t>(n));
        return;
    }
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
    const bool ours = end(channel).closing;
    if (!end(channel).waiting.empty()) has_lost_ = true;
    drop(channel);
    if (!ours) arrivals.on_end(channel);
}

void Link::drop(Channel channel)
{
    if (is_open(channel)) ::close(end(channel).fd);
    end(channel) = End();
}

} // namespace imstac
