// Where the lifelines of a ladder stand: far enough apart for the names above them and the labels between
// them.
//
// Thread   any: no state.
// Memory   values only.
// Errors   none: where the width does not suffice, it is exceeded.
#ifndef IMSLADDER_COLUMNS_H_INCLUDED
#define IMSLADDER_COLUMNS_H_INCLUDED

#include "tools/imsladder/merge.h"

#include <cstddef>
#include <vector>

namespace imsladder {

// In characters.
struct Columns {
    std::vector<std::size_t> at; // of each lifeline, from the left end of the drawing
    std::size_t width = 0;       // of the whole drawing
    // The space between two lifelines that an arrow has.
    std::size_t between(std::size_t a, std::size_t b) const
    {
        return a < b ? at[b] - at[a] - 1 : at[a] - at[b] - 1;
    }
};

// As wide as names and labels need, but not wider than `max_width` where that leaves each column a minimum.
Columns arrange(const Ladder& ladder, std::size_t max_width);

// How much of the heading of participant `i` fits beside those of its neighbours.
std::size_t heading_width(const Columns& columns, std::size_t i);

} // namespace imsladder

#endif
