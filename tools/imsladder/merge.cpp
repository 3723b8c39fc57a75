#include "tools/imsladder/merge.h"

#include "tools/imsladder/participants.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>

namespace imsladder {
namespace {

constexpr std::size_t nobody = static_cast<std::size_t>(-1);

std::string transaction_of(const Summary& s)
{
    return s.branch + '\n' + s.cseq + '\n' + s.call_id;
}

std::string message_of(const Summary& s)
{
    return transaction_of(s) + '\n' + s.method + '\n' + std::to_string(s.status);
}

// What must agree in a pass: the message, and one or both of the addresses, named as the sender names them.
enum class Agree { both, receiver, sender };

std::string key_of(const Record& record, Agree agree)
{
    std::string key = message_of(record.summary);
    if (agree != Agree::sender) key += "\n>" + (record.sent ? record.peer : record.local);
    if (agree != Agree::receiver) key += "\n<" + (record.sent ? record.local : record.peer);
    return key;
}

// The partner of each record, by index; `nobody` where there is none. The records are in the order of time.
class Pairs {
public:
    explicit Pairs(const std::vector<Record>& records) : records_(records), partner_(records.size(), nobody)
    {
        for (const Agree agree : {Agree::both, Agree::receiver, Agree::sender})
            pass(agree);
    }
    std::size_t operator[](std::size_t i) const { return partner_[i]; }

private:
    using Waiting = std::set<std::size_t>; // sent records that no received one belongs to yet

    void pass(Agree agree)
    {
        std::unordered_map<std::string, Waiting> sent;
        for (std::size_t i = 0; i < records_.size(); ++i)
            if (is_open(i) && records_[i].sent) sent[key_of(records_[i], agree)].insert(i);
        for (std::size_t i = 0; i < records_.size(); ++i) {
            if (!is_open(i) || records_[i].sent) continue;
            const auto found = sent.find(key_of(records_[i], agree));
            if (found != sent.end() && !found->second.empty()) pair(i, found->second);
        }
    }
    bool is_open(std::size_t i) const
    {
        return partner_[i] == nobody && records_[i].summary.kind != Summary::Kind::other;
    }
    // With the one closest in time.
    void pair(std::size_t received, Waiting& sent)
    {
        auto best = sent.lower_bound(received);
        if (best == sent.end() || (best != sent.begin() && closer(*std::prev(best), *best, received))) --best;
        partner_[received] = *best;
        partner_[*best] = received;
        sent.erase(best);
    }
    bool closer(std::size_t before, std::size_t after, std::size_t to) const
    {
        return records_[to].time - records_[before].time <= records_[after].time - records_[to].time;
    }

    const std::vector<Record>& records_;
    std::vector<std::size_t> partner_;
};

// What both records of a pair say alike, or what the only one says.
Arrow arrow_of(const Record& record, std::size_t self, std::size_t peer)
{
    Arrow arrow;
    arrow.time = record.time;
    arrow.from = record.sent ? self : peer;
    arrow.to = record.sent ? peer : self;
    arrow.transport = record.transport;
    arrow.summary = record.summary;
    return arrow;
}

// A pair takes the earlier time: an answer is then never drawn before its request, whichever of the two
// programs was quicker to write.
Arrow arrow_of_pair(const Record& sent, const Record& received, const Participants& participants)
{
    Arrow arrow = arrow_of(sent, participants.of(sent), participants.of(received));
    arrow.time = std::min(sent.time, received.time);
    return arrow;
}

Arrow arrow_of_single(const Record& record, Participants& participants)
{
    const std::size_t self = participants.of(record);
    Arrow arrow = arrow_of(record, self, participants.at(record.peer, record.time));
    arrow.seen = record.sent ? Arrow::Seen::by_sender : Arrow::Seen::by_receiver;
    return arrow;
}

std::vector<Arrow> arrows_of(const std::vector<Record>& records, Participants& participants)
{
    const Pairs pairs(records);
    std::vector<Arrow> arrows;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const std::size_t other = pairs[i];
        if (other == nobody)
            arrows.push_back(arrow_of_single(records[i], participants));
        else if (records[i].sent)
            arrows.push_back(arrow_of_pair(records[i], records[other], participants));
    }
    std::stable_sort(arrows.begin(), arrows.end(),
                     [](const Arrow& a, const Arrow& b) { return a.time < b.time; });
    return arrows;
}

void mark_retransmissions(std::vector<Arrow>& arrows)
{
    std::set<std::string> seen;
    for (Arrow& arrow : arrows) {
        if (arrow.summary.kind == Summary::Kind::other || arrow.summary.branch.empty()) continue;
        const std::string ends = std::to_string(arrow.from) + '>' + std::to_string(arrow.to);
        arrow.again = !seen.insert(message_of(arrow.summary) + '\n' + ends).second;
    }
}

void give_events_to_responses(std::vector<Arrow>& arrows)
{
    std::unordered_map<std::string, std::string> events;
    for (const Arrow& arrow : arrows)
        if (arrow.summary.kind == Summary::Kind::request)
            events[transaction_of(arrow.summary)] = arrow.summary.event;
    for (Arrow& arrow : arrows) {
        if (arrow.summary.kind != Summary::Kind::response) continue;
        const auto found = events.find(transaction_of(arrow.summary));
        if (found != events.end()) arrow.summary.event = found->second;
    }
}

// Numbers the participants anew in the order of their first message; those without one disappear.
void order_by_first_message(Ladder& ladder, const std::vector<Participant>& all)
{
    std::map<std::size_t, std::size_t> place;
    const auto place_of = [&](std::size_t old) {
        const auto [found, fresh] = place.emplace(old, ladder.participants.size());
        if (fresh) ladder.participants.push_back(all[old]);
        return found->second;
    };
    for (Arrow& arrow : ladder.arrows) {
        arrow.from = place_of(arrow.from);
        arrow.to = place_of(arrow.to);
    }
}

} // namespace

Ladder merge(std::vector<Record> records)
{
    std::stable_sort(records.begin(), records.end(),
                     [](const Record& a, const Record& b) { return a.time < b.time; });
    Participants participants(records);
    Ladder ladder;
    ladder.arrows = arrows_of(records, participants);
    mark_retransmissions(ladder.arrows);
    give_events_to_responses(ladder.arrows);
    order_by_first_message(ladder, participants.all());
    if (!ladder.arrows.empty()) ladder.start = ladder.arrows.front().time;
    for (Arrow& arrow : ladder.arrows)
        arrow.time -= ladder.start;
    return ladder;
}

std::string arrow_label(const Arrow& arrow)
{
    return label_of(arrow.summary) + (arrow.again ? " (again)" : "");
}

bool is_lost(const Ladder& ladder, const Arrow& arrow)
{
    return arrow.seen != Arrow::Seen::by_both && ladder.participants[arrow.from].records &&
           ladder.participants[arrow.to].records;
}

} // namespace imsladder
