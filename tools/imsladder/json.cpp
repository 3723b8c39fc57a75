#include "tools/imsladder/json.h"

#include <nlohmann/json.hpp>

namespace imsladder {
namespace {

using Json = nlohmann::ordered_json;

Json participant_object(const Participant& participant)
{
    Json object = {{"name", participant.name}, {"records", participant.records}};
    if (!participant.records) return object;
    object["address"] = participant.address;
    object["pid"] = participant.pid;
    return object;
}

const char* seen_name(Arrow::Seen seen)
{
    switch (seen) {
    case Arrow::Seen::by_both: return "both";
    case Arrow::Seen::by_sender: return "sender";
    case Arrow::Seen::by_receiver: return "receiver";
    }
    return "";
}

Json message_object(const Ladder& ladder, const Arrow& arrow)
{
    const Summary& summary = arrow.summary;
    Json object = {{"time", arrow.time},
                   {"from", ladder.participants[arrow.from].name},
                   {"to", ladder.participants[arrow.to].name},
                   {"label", label_of(summary)},
                   {"method", printable(summary.method)},
                   {"status", summary.status},
                   {"event", printable(summary.event)},
                   {"state", printable(summary.state)},
                   {"call_id", printable(summary.call_id)},
                   {"cseq", printable(summary.cseq)},
                   {"transport", printable(arrow.transport)},
                   {"size", summary.size},
                   {"retransmission", arrow.again},
                   {"seen_by", seen_name(arrow.seen)},
                   {"lost", is_lost(ladder, arrow)}};
    return object;
}

} // namespace

std::string draw_json(const Ladder& ladder)
{
    Json document = {{"start", ladder.start}, {"participants", Json::array()}, {"messages", Json::array()}};
    for (const Participant& participant : ladder.participants)
        document["participants"].push_back(participant_object(participant));
    for (const Arrow& arrow : ladder.arrows)
        document["messages"].push_back(message_object(ladder, arrow));
    return document.dump(2) + '\n';
}

} // namespace imsladder
