// The thread that waits for everything that is not SIP: a descriptor to watch, the clock, the signals that
// end the program. It posts what happened to the main loop.
//
// Each kind of news waits in the main loop's queue at most once, so that no burst can fill the queue: a
// second one is folded into the first until the main loop takes it (taken()), and what it then reads is the
// latest state.
//
// Thread   start, stop: main. wake_at, taken: any.
#ifndef DAEMONS_COMMON_EVENT_THREAD_H_INCLUDED
#define DAEMONS_COMMON_EVENT_THREAD_H_INCLUDED

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <thread>

// What is posted: kinds of the agent's queue that the library leaves to daemons.
enum class News : int { watched = 3, clock = 4, stop = 5 };

// Something with a descriptor. All operations are called on the event thread only.
class Watched {
public:
    using Time = std::chrono::steady_clock::time_point;
    virtual ~Watched() = default;
    virtual void open(Time now) = 0;        // first of all
    virtual int fd() const = 0;             // -1: none at present; may change from call to call
    virtual bool on_readable(Time now) = 0; // true: there is news
    virtual bool on_time(Time now) = 0;     // called on every turn; true: there is news
    virtual Time due() const = 0;           // when on_time() wants to be called; Time::max() for never
};

class Event_thread {
public:
    using Time = Watched::Time;
    using Post = std::function<void(News)>; // called on this thread

    // `watched` is borrowed; null watches the clock and the signals only.
    Event_thread(Watched* watched, Post post);
    ~Event_thread(); // stops
    Event_thread(const Event_thread&) = delete;
    Event_thread& operator=(const Event_thread&) = delete;

    // Blocks SIGTERM and SIGINT in the calling thread, and thus in every thread started afterwards; they
    // then reach this object. Call it before any thread is started.
    static void take_signals();

    // False, with a level 4 line, when the system has no descriptors left.
    bool start();
    void stop();

    // Posts News::clock at `when`, or at once if that has passed; replaces the time set before. Time::max()
    // for never.
    void wake_at(Time when);
    // The main loop has taken `news` out of its queue and is about to act on it: the next may be posted.
    void taken(News news);

private:
    void run();
    void turn();
    void turn_watched(bool is_readable);
    void post(News news);
    void take_signal();
    std::atomic<bool>& waiting(News news) { return waiting_[static_cast<std::size_t>(news) - 3]; }

    Watched* const watched_;
    const Post post_;
    int clock_ = -1;   // timerfd
    int stopper_ = -1; // eventfd
    int signals_ = -1; // signalfd
    std::array<std::atomic<bool>, 3> waiting_{};
    std::atomic<bool> running_{false};
    std::thread thread_;
};

#endif
