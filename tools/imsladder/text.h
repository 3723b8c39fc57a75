// A ladder for the terminal: one line a message, lifelines from top to bottom.
//
// Thread   any: no state.
// Memory   values only.
// Errors   none.
#ifndef IMSLADDER_TEXT_H_INCLUDED
#define IMSLADDER_TEXT_H_INCLUDED

#include "tools/imsladder/merge.h"

#include <cstddef>
#include <string>

namespace imsladder {

struct TextOptions {
    bool ascii = false;      // no character beyond ASCII
    std::size_t width = 100; // of the terminal; long labels are cut to it as far as that is possible
};

// The whole drawing; each line ends in a line feed. Empty for a ladder without arrows.
std::string draw_text(const Ladder& ladder, const TextOptions& options);

// "0.001234": microseconds as seconds.
std::string seconds(std::int64_t microseconds);

} // namespace imsladder

#endif
