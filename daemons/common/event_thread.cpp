#include "daemons/common/event_thread.h"

#include "baseuafw/baseuafw.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>
#include <utility>

namespace {

sigset_t ending_signals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    return set;
}

void drain(int fd)
{
    std::uint64_t count = 0;
    const ssize_t ignored = ::read(fd, &count, sizeof count);
    static_cast<void>(ignored);
}

int milliseconds_until(Event_thread::Time when, Event_thread::Time now)
{
    if (when == Event_thread::Time::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(when - now).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 60000));
}

void close_fd(int& fd)
{
    if (fd >= 0) ::close(fd);
    fd = -1;
}

} // namespace

Event_thread::Event_thread(Watched* watched, Post post) : watched_(watched), post_(std::move(post))
{
    const sigset_t set = ending_signals();
    clock_ = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    stopper_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    signals_ = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

Event_thread::~Event_thread()
{
    stop();
    close_fd(clock_);
    close_fd(stopper_);
    close_fd(signals_);
}

void Event_thread::take_signals()
{
    const sigset_t set = ending_signals();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

bool Event_thread::start()
{
    if (clock_ < 0 || stopper_ < 0 || signals_ < 0) {
        IMS_log::loginfo(4, "event_thread", "no descriptors left");
        return false;
    }
    running_ = true;
    thread_ = std::thread(&Event_thread::run, this);
    return true;
}

void Event_thread::stop()
{
    if (!thread_.joinable()) return;
    running_ = false;
    const std::uint64_t one = 1;
    const ssize_t ignored = ::write(stopper_, &one, sizeof one);
    static_cast<void>(ignored);
    thread_.join();
}

// A timer set to zero would be switched off, so a time that has passed becomes the smallest one.
void Event_thread::wake_at(Time when)
{
    itimerspec spec{};
    if (when != Time::max()) {
        const auto since =
            std::chrono::duration_cast<std::chrono::nanoseconds>(when.time_since_epoch()).count();
        const auto due = std::max<long long>(since, 1);
        spec.it_value.tv_sec = static_cast<time_t>(due / 1000000000);
        spec.it_value.tv_nsec = static_cast<long>(due % 1000000000);
    }
    ::timerfd_settime(clock_, TFD_TIMER_ABSTIME, &spec, nullptr);
}

void Event_thread::taken(News news)
{
    waiting(news) = false;
}

void Event_thread::post(News news)
{
    if (!waiting(news).exchange(true)) post_(news);
}

void Event_thread::take_signal()
{
    signalfd_siginfo info{};
    if (::read(signals_, &info, sizeof info) != sizeof info) return;
    IMS_log::loginfo(5, "event_thread", "signal %d: ending", static_cast<int>(info.ssi_signo));
    post(News::stop);
}

void Event_thread::run()
{
    if (watched_ != nullptr) watched_->open(std::chrono::steady_clock::now());
    while (running_)
        turn();
}

void Event_thread::turn()
{
    const int watched_fd = watched_ != nullptr ? watched_->fd() : -1; // poll ignores -1
    const Time due = watched_ != nullptr ? watched_->due() : Time::max();
    std::array<pollfd, 4> set{
        {{watched_fd, POLLIN, 0}, {clock_, POLLIN, 0}, {stopper_, POLLIN, 0}, {signals_, POLLIN, 0}}};
    const int patience = milliseconds_until(due, std::chrono::steady_clock::now());
    if (::poll(set.data(), set.size(), patience) < 0) return; // interrupted
    if (watched_ != nullptr) turn_watched(set[0].revents != 0);
    if (set[1].revents != 0) {
        drain(clock_);
        post(News::clock);
    }
    if (set[2].revents != 0) drain(stopper_);
    if (set[3].revents != 0) take_signal();
}

void Event_thread::turn_watched(bool is_readable)
{
    const auto now = std::chrono::steady_clock::now();
    const bool news = is_readable && watched_->on_readable(now);
    if (watched_->on_time(now) || news) post(News::watched);
}
