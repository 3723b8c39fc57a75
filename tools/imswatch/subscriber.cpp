#include "tools/imswatch/subscriber.h"

#include <algorithm>

namespace {

// A refresh is sent when four fifths of the time have passed.
std::chrono::milliseconds refresh_after(std::uint32_t seconds)
{
    return std::chrono::milliseconds(800LL * seconds);
}

} // namespace

void Subscriber::go(State state, Time next)
{
    state_ = state;
    next_ = next;
}

bool Subscriber::has_dialog() const
{
    return state_ != State::idle && state_ != State::waiting && state_ != State::over;
}

Subscriber::Send Subscriber::due(Time now)
{
    if (must_unsubscribe_) {
        must_unsubscribe_ = false;
        return Send::unsubscribe;
    }
    if (now < next_) return Send::nothing;
    switch (state_) {
    case State::idle:
    case State::waiting:
        ++attempts_;
        was_notified_ = false;
        expires_at_ = Time::max();
        asked_at_ = now;
        go(State::asking, Time::max()); // the SIP library ends every request, with 408 at the latest
        return Send::subscribe;
    case State::active:
        if (!was_notified_) { // timer N
            retry_later(now);
            return Send::nothing;
        }
        go(State::refreshing, Time::max());
        return Send::refresh;
    case State::leaving: go(State::over, Time::max()); return Send::nothing;
    default: return Send::nothing;
    }
}

void Subscriber::granted(std::uint32_t seconds, Time now)
{
    expires_at_ = now + Seconds(seconds);
    if (seconds == 0) { // a fetch: the only NOTIFY says the rest
        go(State::leaving, now + (was_notified_ ? LEAVE_PATIENCE : NOTIFY_PATIENCE));
        return;
    }
    go(State::active, was_notified_ ? now + refresh_after(seconds) : now + NOTIFY_PATIENCE);
}

void Subscriber::retry(Time now, Seconds after)
{
    if (state_ == State::leaving || state_ == State::over) return go(State::over, Time::max());
    go(State::waiting, now + after);
}

void Subscriber::retry_later(Time now)
{
    retry(now, backoff_);
    backoff_ = std::min(backoff_ * 2, MAX_BACKOFF);
}

void Subscriber::refuse(int code)
{
    refused_with_ = code;
    go(State::over, Time::max());
}

void Subscriber::on_response(const Response& response, Time now)
{
    if (response.code < 200) return;
    if (state_ == State::leaving) {
        if (response.code >= 300) go(State::over, Time::max()); // no final NOTIFY will come
        return;
    }
    if (response.code < 300) {
        if (state_ == State::asking || state_ == State::refreshing || state_ == State::active)
            granted(response.expires.value_or(expires_), now);
        return;
    }
    if (state_ == State::refreshing) return on_refresh_failed(response, now);
    if (state_ == State::asking || state_ == State::active) on_asking_failed(response, now);
}

void Subscriber::on_asking_failed(const Response& response, Time now)
{
    const bool may_try = persistent_ || ever_notified_ || attempts_ < FIRST_ATTEMPTS;
    if (response.code == 423 && response.min_expires.value_or(0) > expires_) {
        expires_ = *response.min_expires;
        return retry(now, Seconds(0));
    }
    if (response.retry_after && may_try) return retry(now, Seconds(*response.retry_after));
    const bool is_away = response.code == 408 || response.code == 481 || response.code == 503;
    if (is_away && may_try) return retry_later(now);
    refuse(response.code);
}

// RFC 6665 4.1.2.2: 481 ends the subscription. No answer does not, but a notifier that is gone has
// forgotten it: a new subscription finds out. Any other failure leaves it until it expires.
void Subscriber::on_refresh_failed(const Response& response, Time now)
{
    if (response.code == 481) return retry(now, Seconds(0));
    if (response.code == 423 && response.min_expires.value_or(0) > expires_) {
        expires_ = *response.min_expires;
        return go(State::active, now);
    }
    if (response.code == 408 || (response.code == 503 && !response.retry_after)) return retry_later(now);
    const Time again = now + Seconds(response.retry_after.value_or(1));
    if (again < expires_at_) return go(State::active, again);
    retry_later(now);
}

// RFC 6665 4.1.3: the reason says whether and when to come back.
void Subscriber::on_terminated(const Notified& notified, Time now)
{
    if (state_ == State::leaving || expires_ == 0) return go(State::over, Time::max());
    for (const char* final_reason : {"rejected", "noresource", "invariant"})
        if (notified.reason == final_reason) return refuse(0);
    if (notified.retry_after) return retry(now, Seconds(*notified.retry_after));
    if (notified.reason == "probation" || notified.reason == "giveup") return retry_later(now);
    // "deactivated" asks for a new subscription at once, but not for a thousand of them a second.
    const bool at_once = notified.reason == "deactivated" && now - asked_at_ >= Seconds(1);
    retry(now, Seconds(at_once ? 0 : 1));
}

// What is left of the subscription, as far as it is known when a NOTIFY does not say it.
std::uint32_t Subscriber::left(Time now) const
{
    if (expires_at_ == Time::max()) return expires_;
    const auto seconds = std::chrono::ceil<Seconds>(expires_at_ - now).count();
    return static_cast<std::uint32_t>(std::max<long long>(seconds, 0));
}

void Subscriber::on_notify(const Notified& notified, Time now)
{
    ever_notified_ = true;
    backoff_ = Seconds(1);
    attempts_ = 0;
    if (notified.state == "terminated") return on_terminated(notified, now);
    const bool is_first = !was_notified_;
    was_notified_ = true;
    if (state_ == State::asking || (state_ == State::active && is_first))
        granted(notified.expires.value_or(left(now)), now);
}

void Subscriber::leave(Time now)
{
    if (state_ == State::leaving || state_ == State::over) return;
    const bool is_subscribed = state_ == State::active || state_ == State::refreshing;
    if (!is_subscribed) return go(State::over, Time::max());
    must_unsubscribe_ = true;
    go(State::leaving, now + LEAVE_PATIENCE);
}
