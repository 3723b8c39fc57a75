#include "baseuafw/fwk_session.h"

#include "baseuafw/fwk_answer.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace fwk {

namespace {

Clock::time_point in(int milliseconds)
{
    return Clock::now() + std::chrono::milliseconds(milliseconds);
}

void close_and_forget(int& fd)
{
    if (fd >= 0) ::close(fd);
    fd = -1;
}

// Runs one operation of the interface; when memory runs out, nothing was found.
template <typename Operation>
int without_exceptions(Operation operation)
{
    try {
        return operation() ? 1 : 0;
    } catch (const std::bad_alloc&) {
        IMS_log::loginfo(3, "fwk_session", "out of memory");
        return 0;
    }
}

} // namespace

Session::Session(int sync_port, int async_port, IMS_socket* sock, SessionTimes times)
    : sync_port_(sync_port), async_port_(async_port), sock_(sock), times_(times)
{
}

Session::~Session()
{
    close();
    close_and_forget(wake_fd_);
}

// ---- opening and closing -------------------------------------------------------------------------------

bool Session::open()
{
    wake_fd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake_fd_ < 0 || !connect_both()) return false;
    if (start_keeper()) return true;
    close();
    return false;
}

void Session::close()
{
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (state_ == State::closed) return;
        state_ = State::closed;
        if (sync_fd_ >= 0) ::shutdown(sync_fd_, SHUT_RDWR);
    }
    wake();
    if (keeper_.joinable()) keeper_.join();
    {
        // Before the socket is shut down: its watcher must not see an end and close the number too.
        const std::lock_guard<std::mutex> guard(names_);
        release(previous_);
        release(async_);
        previous_ = async_ = {};
    }
    drop();
}

// The synchronous port first: the daemon's side of the bargain is the same order.
bool Session::connect_both()
{
    const int sync_fd = connect_loopback(sync_port_, in(times_.request));
    if (sync_fd < 0) return false;
    const int async_fd = connect_loopback(async_port_, in(times_.request));
    if (async_fd < 0) {
        ::close(sync_fd);
        return false;
    }
    install(sync_fd, async_fd);
    return true;
}

// Requests are let in last, so that whoever sees them succeed also sees the new descriptor.
void Session::install(int sync_fd, int async_fd)
{
    const bool again = async_.fd >= 0;
    watch_fd_ = ::fcntl(async_fd, F_DUPFD_CLOEXEC, 0);
    {
        const std::lock_guard<std::mutex> guard(names_);
        release(previous_);
        previous_ = async_;
        async_ = identify(async_fd);
    }
    if (again && sock_ != nullptr) sock_->_set(async_fd, "r");
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        sync_fd_ = sync_fd;
        decoder_ = {};
        if (state_ != State::closed) state_ = State::connected;
    }
    IMS_log::loginfo(5, "fwk_session", "connected to the framework daemon at ports %d and %d", sync_port_,
                     async_port_);
}

// Closes a descriptor of ours unless its watcher has done so already.
void Session::release(const SocketId& id)
{
    if (!is_still_open(id)) return;
    if (sock_ != nullptr)
        sock_->_close(id.fd);
    else
        ::close(id.fd);
}

// ---- the keeper ----------------------------------------------------------------------------------------

// Signals are the business of the threads that the program knows of.
bool Session::start_keeper()
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    bool started = true;
    try {
        keeper_ = std::thread(&Session::keep, this);
    } catch (const std::system_error&) {
        started = false;
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

void Session::keep()
{
    int next_pause = times_.first_pause;
    for (;;) {
        const auto since = Clock::now();
        if (!wait_for_loss()) return;
        drop();
        IMS_log::loginfo(4, "fwk_session", "lost the framework daemon at ports %d and %d", sync_port_,
                         async_port_);
        // A daemon that accepts and hangs up at once is not hammered either.
        if (Clock::now() - since >= std::chrono::milliseconds(times_.longest_pause))
            next_pause = times_.first_pause;
        do {
            if (!pause(next_pause)) return;
            next_pause = std::min(2 * next_pause, times_.longest_pause);
        } while (!connect_both());
    }
}

// True when the connection is lost; false when the session is being closed.
bool Session::wait_for_loss()
{
    for (;;) {
        pollfd set[] = {{wake_fd_, POLLIN, 0}, {sync_fd_, POLLRDHUP, 0}, {watch_fd_, POLLRDHUP, 0}};
        ::poll(set, 3, -1);
        if (is_closing()) return false;
        if (set[1].revents != 0 || set[2].revents != 0) return true;
        eventfd_t ignored = 0;
        if (set[0].revents != 0) ::eventfd_read(wake_fd_, &ignored);
    }
}

// False when the session is being closed.
bool Session::pause(int milliseconds)
{
    const auto until = in(milliseconds);
    for (;;) {
        if (is_closing()) return false;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        if (left <= 0) return true;
        pollfd p{wake_fd_, POLLIN, 0};
        eventfd_t ignored = 0;
        if (::poll(&p, 1, static_cast<int>(left)) > 0) ::eventfd_read(wake_fd_, &ignored);
    }
}

bool Session::is_closing()
{
    const std::lock_guard<std::mutex> guard(mutex_);
    return state_ == State::closed;
}

// Gives up both channels. The asynchronous descriptor itself stays with its watcher, which reads what was
// still on its way and then the end.
void Session::drop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (state_ != State::closed) state_ = State::lost;
    if (sync_fd_ >= 0) ::shutdown(sync_fd_, SHUT_RDWR);
    sync_ended_.wait(lock, [this] { return !sync_waiting_; });
    close_and_forget(sync_fd_);
    if (watch_fd_ >= 0) ::shutdown(watch_fd_, SHUT_RDWR);
    close_and_forget(watch_fd_);
}

// The caller holds mutex_.
void Session::lose()
{
    state_ = State::lost;
    ::shutdown(sync_fd_, SHUT_RDWR); // what the keeper waits for
}

void Session::wake()
{
    if (wake_fd_ >= 0) ::eventfd_write(wake_fd_, 1);
}

// ---- requests ------------------------------------------------------------------------------------------

bool Session::ask(const std::string& request, std::string& answer)
{
    const std::lock_guard<std::mutex> guard(mutex_);
    if (request.empty() || state_ != State::connected || sync_waiting_) return false;
    try {
        if (exchange(sync_fd_, decoder_, request, answer, in(times_.request))) return true;
    } catch (...) {
        lose(); // the stream's position is unknown
        throw;
    }
    lose();
    return false;
}

int Session::get_one(const std::string& xpath, std::string& value, const std::string& document)
{
    return without_exceptions([&] {
        std::string answer;
        return ask(get_request(document, xpath), answer) && parse_value(answer, value);
    });
}

int Session::get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs, const std::string& document)
{
    return without_exceptions([&] {
        std::string answer;
        return ask(mget_request(document, pairs), answer) && parse_pairs(answer, pairs);
    });
}

int Session::set_one(const std::string& xpath, const std::string& value, const std::string& document)
{
    return without_exceptions([&] {
        std::string answer;
        return ask(set_request(document, xpath, value), answer) && parse_stored(answer);
    });
}

bool Session::begin_sync(int& fd)
{
    const std::lock_guard<std::mutex> guard(mutex_);
    if (state_ != State::connected || sync_waiting_) return false;
    sync_waiting_ = true;
    fd = sync_fd_;
    return true;
}

void Session::end_sync(bool answered)
{
    const std::lock_guard<std::mutex> guard(mutex_);
    sync_waiting_ = false;
    if (!answered && state_ == State::connected) lose();
    sync_ended_.notify_all();
}

// While sync_waiting_ is set the channel is this caller's: requests are refused and the keeper waits.
int Session::wait_for_sync()
{
    int fd = -1;
    if (!begin_sync(fd)) return 1;
    bool answered = false;
    const int ready = without_exceptions([&] {
        std::string answer;
        answered = exchange(fd, decoder_, "SYNC", answer, Clock::time_point::max());
        return answered && parse_go(answer);
    });
    end_sync(answered);
    return ready != 0 ? 0 : 1;
}

int Session::get_descriptor() const
{
    const std::lock_guard<std::mutex> guard(names_);
    return is_still_open(async_) ? async_.fd : -1;
}

} // namespace fwk
