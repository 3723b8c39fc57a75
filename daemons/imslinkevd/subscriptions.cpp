#include "daemons/imslinkevd/subscriptions.h"

#include <algorithm>
#include <tuple>

struct Subscriptions::Row {
    struct Told {
        std::shared_ptr<const Link_report> report; // null: must be told again
        Time at;
    };
    enum class Phase { active, ending, last_sent };

    std::uint32_t id = 0;
    Subscription_key key;
    Subscription_dialog dialog;
    Phase phase = Phase::active;
    std::string end_reason;
    Time expires_at;
    Time paused_until = Time::min();
    bool unanswered = false;
    Time sent_at;
    int in_flight = 0; // reference of the link in the unanswered NOTIFY
    bool told_anything = false;
    std::uint64_t settled_at = 0; // the revision at which nothing was left to tell
    std::map<int, Told> told;     // by reference

    void end(const std::string& reason)
    {
        if (phase != Phase::active) return;
        phase = Phase::ending;
        end_reason = reason;
    }
};

namespace {

auto fields(const Subscription_key& k)
{
    return std::tie(k.call_id, k.local_tag, k.remote_tag, k.package, k.event_id);
}

std::string active_state(Time expires_at, Time now)
{
    const auto left = std::chrono::ceil<Seconds>(expires_at - now).count();
    return "active;expires=" + std::to_string(left > 0 ? left : 0);
}

bool is_success(int code)
{
    return code >= 200 && code < 300;
}

} // namespace

Subscriptions::Subscriptions(const Limits& limits) : limits_(limits)
{
    set_links({});
}

Subscriptions::~Subscriptions() = default;

// ---- what there is to tell ----

bool Subscriptions::put_subjects(Package package, const std::vector<Link_report>& reports)
{
    Subjects& before = subjects_[static_cast<int>(package)];
    Subjects now;
    bool changed = false;
    const auto take_old = [&](int reference) {
        Subject old;
        for (auto& subject : before)
            if (subject.report && subject.report->reference == reference) old = std::move(subject);
        return old;
    };
    for (const auto& report : reports) {
        Subject subject = take_old(report.reference);
        if (!subject.report || subject.removed || *subject.report != report) {
            subject = {std::make_shared<const Link_report>(report), false};
            changed = true;
        }
        now.push_back(std::move(subject));
    }
    for (auto& subject : before) {
        if (!subject.report) continue; // still there: taken above
        if (!subject.removed) {
            subject = {std::make_shared<const Link_report>(removed_report(*subject.report)), true};
            changed = true;
        }
        now.push_back(std::move(subject));
    }
    before = std::move(now);
    return changed;
}

bool Subscriptions::set_links(const std::vector<Link_report>& reports)
{
    for (const auto package : {Package::link_event, Package::link_availability})
        forget_told_removals(package);
    const bool links = put_subjects(Package::link_event, reports);
    const bool access = put_subjects(Package::link_availability, {availability_of(reports)});
    reports_ = reports;
    if (!links && !access) return false;
    ++revision_;
    return true;
}

// A removed link is forgotten when nobody is left who last heard something else about it.
void Subscriptions::forget_told_removals(Package package)
{
    auto& list = subjects_[static_cast<int>(package)];
    const auto is_told = [&](const Subject& subject) {
        return subject.removed && std::all_of(rows_.begin(), rows_.end(), [&](const auto& entry) {
                   if (entry.second->key.package != package) return true;
                   const auto told = entry.second->told.find(subject.report->reference);
                   return told == entry.second->told.end() || told->second.report == subject.report;
               });
    };
    for (const auto& subject : list)
        if (is_told(subject))
            for (auto& entry : rows_)
                if (entry.second->key.package == package) entry.second->told.erase(subject.report->reference);
    list.erase(std::remove_if(list.begin(), list.end(), is_told), list.end());
}

Link_report Subscriptions::last_word(Package package) const
{
    return package == Package::link_event ? preferred_report(reports_) : availability_of(reports_);
}

// ---- subscribing ----

std::uint32_t Subscriptions::open(const Subscription_key& key, const Subscription_dialog& dialog,
                                  Seconds expires, Time now)
{
    if (rows_.size() >= limits_.capacity) return 0;
    auto row = std::make_unique<Row>();
    row->id = next_id_++;
    row->key = key;
    row->dialog = dialog;
    row->expires_at = now + expires;
    if (expires.count() == 0) row->end("timeout");
    const std::uint32_t id = row->id;
    rows_.emplace(id, std::move(row));
    return id;
}

std::uint32_t Subscriptions::find(const Subscription_key& key) const
{
    for (const auto& entry : rows_)
        if (entry.second->phase == Row::Phase::active && fields(entry.second->key) == fields(key))
            return entry.first;
    return 0;
}

std::uint32_t Subscriptions::remote_cseq(std::uint32_t id) const
{
    const auto found = rows_.find(id);
    return found == rows_.end() ? 0 : found->second->dialog.remote_cseq;
}

void Subscriptions::refresh(std::uint32_t id, const Subscription_dialog& dialog, Seconds expires, Time now)
{
    const auto found = rows_.find(id);
    if (found == rows_.end()) return;
    Row& row = *found->second;
    row.dialog.contact = dialog.contact;
    row.dialog.remote_cseq = dialog.remote_cseq;
    row.expires_at = now + expires;
    row.paused_until = Time::min();
    row.told_anything = false;
    row.settled_at = 0;
    for (auto& told : row.told)
        told.second.report = nullptr;
    if (expires.count() == 0) row.end("timeout");
}

void Subscriptions::end_all(const std::string& reason)
{
    for (auto& entry : rows_)
        entry.second->end(reason);
}

// ---- telling ----

// The first subject whose present state the subscriber has not been told, or null; `later` is then the time
// at which one that was told a moment ago may be told again.
const Subscriptions::Subject* Subscriptions::next_subject(const Row& row, Time now, Time& later) const
{
    for (const auto& subject : subjects(row.key.package)) {
        const auto found = row.told.find(subject.report->reference);
        if (found == row.told.end()) {
            if (subject.removed) continue;
            return &subject;
        }
        const auto& told = found->second;
        if (!told.report) return &subject;
        if (told.report == subject.report || *told.report == *subject.report) continue;
        const Time free_at = told.at + limits_.spacing;
        if (free_at <= now) return &subject;
        later = std::min(later, free_at);
    }
    return nullptr;
}

// Fills in what an active subscription must be told; false when there is nothing.
bool Subscriptions::give_news(Row& row, Time now, Due_notify& out) const
{
    if (row.settled_at == revision_) return false;
    Time later = Time::max();
    const Subject* subject = next_subject(row, now, later);
    if (subject == nullptr && row.told_anything) {
        if (later == Time::max()) row.settled_at = revision_;
        return false;
    }
    // The first word is spoken even if there is no link at all.
    out.report = subject != nullptr ? *subject->report : last_word(row.key.package);
    out.state = active_state(row.expires_at, now);
    if (subject != nullptr) row.told[subject->report->reference] = {subject->report, now};
    return true;
}

bool Subscriptions::give_due(Row& row, Time now, Due_notify& out) const
{
    if (row.unanswered || row.paused_until > now) return false;
    if (row.phase == Row::Phase::active && row.expires_at <= now) row.end("timeout");
    if (row.phase == Row::Phase::ending) {
        row.phase = Row::Phase::last_sent;
        out.report = last_word(row.key.package);
        out.state = "terminated;reason=" + row.end_reason;
        out.last = true;
    } else if (!give_news(row, now, out)) {
        return false;
    }
    row.told_anything = true;
    row.unanswered = true;
    row.sent_at = now;
    row.in_flight = out.report.reference;
    out.id = row.id;
    out.key = row.key;
    out.dialog = row.dialog;
    return true;
}

std::vector<Due_notify> Subscriptions::due(Time now)
{
    std::vector<Due_notify> list;
    for (auto entry = rows_.begin(); entry != rows_.end();) {
        Row& row = *entry->second;
        if (row.unanswered && row.sent_at + limits_.answer_patience <= now) {
            entry = rows_.erase(entry);
            continue;
        }
        Due_notify notify;
        if (give_due(row, now, notify)) list.push_back(std::move(notify));
        ++entry;
    }
    return list;
}

bool Subscriptions::answered(std::uint32_t id, int code, Seconds retry_after, Time now)
{
    const auto found = rows_.find(id);
    if (found == rows_.end() || code / 100 == 1) return false;
    Row& row = *found->second;
    row.unanswered = false;
    const bool paused = !is_success(code) && retry_after.count() > 0 && code != 481 && code != 408;
    if (row.phase == Row::Phase::last_sent || (!is_success(code) && !paused)) {
        rows_.erase(found);
        return true;
    }
    if (paused) {
        row.paused_until = now + retry_after;
        row.settled_at = 0;
        row.told_anything = false;
        const auto told = row.told.find(row.in_flight);
        if (told != row.told.end()) told->second.report = nullptr;
    }
    return false;
}

Time Subscriptions::due_time(const Row& row, Time now) const
{
    if (row.unanswered) return row.sent_at + limits_.answer_patience;
    if (row.paused_until > now) return row.paused_until;
    if (row.phase != Row::Phase::active || !row.told_anything) return now;
    Time later = row.expires_at;
    if (row.settled_at == revision_) return later;
    return next_subject(row, now, later) != nullptr ? now : later;
}

Time Subscriptions::next_due(Time now) const
{
    Time first = Time::max();
    for (const auto& entry : rows_)
        first = std::min(first, due_time(*entry.second, now));
    return first;
}

std::size_t Subscriptions::size() const
{
    return rows_.size();
}

std::size_t Subscriptions::unanswered() const
{
    return static_cast<std::size_t>(std::count_if(
        rows_.begin(), rows_.end(), [](const auto& entry) { return entry.second->unanswered; }));
}
