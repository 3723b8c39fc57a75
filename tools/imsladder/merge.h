// Makes one ladder of the records of many programs.
//
// A message that one program recorded as sent and another as received is one arrow. Two records are the same
// message when the topmost Via branch, method or status, CSeq and Call-ID agree, and at least one address
// does; among several (retransmissions) those closest in time belong together.
//
// Thread   any: no state.
// Memory   values only.
// Errors   none: what finds no partner is drawn with the address of its peer.
#ifndef IMSLADDER_MERGE_H_INCLUDED
#define IMSLADDER_MERGE_H_INCLUDED

#include "tools/imsladder/read.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace imsladder {

// A program that recorded, or an address that only others know.
struct Participant {
    std::string name;     // program, with its process when several share a name; else the address
    std::string address;  // of a program: the local address it used most
    std::int64_t pid = 0; // 0 for an address
    bool records = false;
};

struct Arrow {
    enum class Seen { by_both, by_sender, by_receiver };
    std::int64_t time = 0; // microseconds since the first message
    std::size_t from = 0;  // index into Ladder::participants
    std::size_t to = 0;
    Seen seen = Seen::by_both;
    bool again = false; // a retransmission
    std::string transport;
    Summary summary; // of a response, `event` is that of its request
};

struct Ladder {
    std::int64_t start = 0;                // microseconds since 1970 of the first message
    std::vector<Participant> participants; // from left to right, in the order of their first message
    std::vector<Arrow> arrows;             // oldest first
};

Ladder merge(std::vector<Record> records);

// What is written on an arrow: label_of() its message, and whether it is one more copy of it.
std::string arrow_label(const Arrow& arrow);

// True when both ends record, but only one of them saw the message: it was lost, or a record is incomplete.
bool is_lost(const Ladder& ladder, const Arrow& arrow);

} // namespace imsladder

#endif
