// Who is subscribed to which package, what each has been told, and what is due next (RFC 6665, notifier).
//
// A subscription is told about one link at a time, and about the next only when the response to the last
// NOTIFY came. What it is told is always the state of that moment: changes in between leave no trace, the
// last one always arrives. Nothing is queued per change, so memory is bounded by subscribers x links.
//
//   open --> active --(end: timeout, probation, ...)--> ending --> final NOTIFY answered --> gone
//              |                                          |
//              +---- 481, other error, no answer ---------+-----------------------------> gone
//
// Thread   main loop only.
// Time     passed in by the caller; no clock is read, no timer armed.
// Memory   owns its rows; never holds more than `capacity` of them.
// Errors   come back as results. Nothing here throws, logs or sends.
#ifndef IMSLINKEVD_SUBSCRIPTIONS_H_INCLUDED
#define IMSLINKEVD_SUBSCRIPTIONS_H_INCLUDED

#include "daemons/imslinkevd/link_report.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>

using Time = std::chrono::steady_clock::time_point;
using Seconds = std::chrono::seconds;
using Milliseconds = std::chrono::milliseconds;

enum class Package { link_event, link_availability };
constexpr int PACKAGE_COUNT = 2;

// What tells subscriptions apart (RFC 6665 4.4.1): the dialog, the package and its "id".
struct Subscription_key {
    std::string call_id;
    std::string local_tag;  // ours
    std::string remote_tag; // the subscriber's
    Package package = Package::link_event;
    std::string event_id;
};

// The dialog's side of a subscription: what every NOTIFY must carry.
struct Subscription_dialog {
    std::string contact; // the subscriber's, where NOTIFYs go
    std::string to;      // the subscriber's address with its tag
    std::string from;    // ours with our tag
    std::uint32_t remote_cseq = 0;
};

// One NOTIFY to send now.
struct Due_notify {
    std::uint32_t id = 0;
    Subscription_key key;
    Subscription_dialog dialog;
    Link_report report;
    std::string state; // Subscription-State
    bool last = false; // the subscription ends with it
};

class Subscriptions {
public:
    struct Limits {
        std::size_t capacity = 1000;
        Milliseconds spacing{100};           // between two NOTIFYs about the same link
        Milliseconds answer_patience{40000}; // after which a NOTIFY counts as never answered
    };
    explicit Subscriptions(const Limits& limits);
    ~Subscriptions();
    Subscriptions(const Subscriptions&) = delete;
    Subscriptions& operator=(const Subscriptions&) = delete;

    // The whole present state: the watched links, most preferred first. Tells whether it differs.
    bool set_links(const std::vector<Link_report>& reports);

    // 0 when `capacity` is reached; else the new subscription's number. With expires 0 it is a fetch: one
    // NOTIFY, terminated at once.
    std::uint32_t open(const Subscription_key& key, const Subscription_dialog& dialog, Seconds expires,
                       Time now);
    // 0 if there is none (or it is about to end).
    std::uint32_t find(const Subscription_key& key) const;
    std::uint32_t remote_cseq(std::uint32_t id) const;
    // A refresh in the dialog: new expiry and contact; everything is told anew (RFC 6665 4.2.1.2). Expires 0
    // ends it with a final NOTIFY.
    void refresh(std::uint32_t id, const Subscription_dialog& dialog, Seconds expires, Time now);
    // Ends all of them with `reason` (text behind "terminated;reason=").
    void end_all(const std::string& reason);

    // What must be sent now: at most one per subscription and never while one is unanswered. Each of them
    // counts as sent; what could not be sent is told by answered() with code 0. Subscriptions that expired
    // get their last one.
    std::vector<Due_notify> due(Time now);
    // The outcome of NOTIFY to `id`: a SIP status, 408 for none, 0 for could not be sent. With `retry_after`
    // a failure is only a pause (RFC 6665 4.2.2). True when the subscription is gone with it.
    bool answered(std::uint32_t id, int code, Seconds retry_after, Time now);
    // When due() will next have something to say, if nothing else happens before; Time::max() for never.
    Time next_due(Time now) const;

    std::size_t size() const;
    // Every NOTIFY that waits for its answer.
    std::size_t unanswered() const;

private:
    // One thing to tell about: a link, or the access as a whole. A removed link stays until everybody who
    // knew it has been told.
    struct Subject {
        std::shared_ptr<const Link_report> report;
        bool removed = false;
    };
    struct Row;
    using Subjects = std::vector<Subject>;

    const Subject* next_subject(const Row& row, Time now, Time& later) const;
    bool give_due(Row& row, Time now, Due_notify& out) const;
    bool give_news(Row& row, Time now, Due_notify& out) const;
    bool put_subjects(Package package, const std::vector<Link_report>& reports);
    void forget_told_removals(Package package);
    Link_report last_word(Package package) const;
    Time due_time(const Row& row, Time now) const;
    const Subjects& subjects(Package package) const { return subjects_[static_cast<int>(package)]; }

    Limits limits_;
    std::map<std::uint32_t, std::unique_ptr<Row>> rows_; // by number: the oldest first
    std::uint32_t next_id_ = 1;
    std::uint64_t revision_ = 1; // of the subjects; a row that has seen it has nothing due
    std::vector<Link_report> reports_;
    Subjects subjects_[PACKAGE_COUNT];
};

#endif
