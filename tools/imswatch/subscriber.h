// One subscription as its subscriber sees it (RFC 6665 4.1): when to send what, and what an answer means.
//
//   idle --> asking --(2xx or NOTIFY)--> active <--> refreshing
//    ^          |                          |              |
//    |          | 503, 408, 423            | terminated   | 481, no answer
//    |          v                          v              v
//    +------ waiting <---------------------+--------------+
//
//   any --(refused, rejected)--> over      any --(leave)--> leaving --(final NOTIFY, patience)--> over
//
// Thread   one at a time. No I/O; time is passed in.
#ifndef IMSWATCH_SUBSCRIBER_H_INCLUDED
#define IMSWATCH_SUBSCRIBER_H_INCLUDED

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

class Subscriber {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Seconds = std::chrono::seconds;

    static constexpr Seconds NOTIFY_PATIENCE{32}; // timer N, 64*T1: a 2xx without a NOTIFY is worth nothing
    static constexpr Seconds LEAVE_PATIENCE{2};   // for the final NOTIFY
    static constexpr Seconds MAX_BACKOFF{30};
    static constexpr int FIRST_ATTEMPTS = 5; // before anything ever came, unless told to be persistent

    enum class State { idle, asking, active, refreshing, waiting, leaving, over };
    enum class Send { nothing, subscribe, refresh, unsubscribe };

    // `expires` 0 fetches the state once. `persistent`: go on trying even if nothing ever came.
    Subscriber(std::uint32_t expires, bool persistent) : expires_(expires), persistent_(persistent) {}

    // What must be sent now; it counts as sent. `subscribe` starts a new dialog.
    Send due(Time now);
    Time next_due() const { return must_unsubscribe_ ? Time::min() : next_; }
    std::uint32_t expires() const { return state_ == State::leaving ? 0 : expires_; }

    struct Response {
        int code = 0; // 408 for none, 503 for unreachable
        std::optional<std::uint32_t> expires;
        std::optional<std::uint32_t> retry_after;
        std::optional<std::uint32_t> min_expires;
    };
    void on_response(const Response& response, Time now);

    struct Notified {
        std::string state; // "active", "pending", "terminated"
        std::string reason;
        std::optional<std::uint32_t> expires;
        std::optional<std::uint32_t> retry_after;
    };
    void on_notify(const Notified& notified, Time now);

    // No more: unsubscribes if there is a subscription.
    void leave(Time now);

    State state() const { return state_; }
    bool has_dialog() const;                           // requests go into it, NOTIFYs of it are expected
    int refused_with() const { return refused_with_; } // the status that ended everything; 0 = none

private:
    void go(State state, Time next);
    void granted(std::uint32_t seconds, Time now);
    void retry(Time now, Seconds after);
    void retry_later(Time now);
    void on_refresh_failed(const Response& response, Time now);
    void on_asking_failed(const Response& response, Time now);
    void on_terminated(const Notified& notified, Time now);
    std::uint32_t left(Time now) const;
    void refuse(int code);

    std::uint32_t expires_;
    const bool persistent_;
    State state_ = State::idle;
    Time next_ = Time::min();
    Time expires_at_ = Time::max(); // max: not known yet
    Time asked_at_ = Time::min();   // when this dialog was begun
    Seconds backoff_{1};
    int attempts_ = 0;
    bool must_unsubscribe_ = false;
    bool was_notified_ = false; // in this dialog
    bool ever_notified_ = false;
    int refused_with_ = 0;
};

#endif
