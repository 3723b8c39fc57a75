// A ladder as one JSON document, for scripts. The format is described in docs/tools/imsladder.md.
//
// Thread   any: no state.
// Memory   values only.
// Errors   none.
#ifndef IMSLADDER_JSON_H_INCLUDED
#define IMSLADDER_JSON_H_INCLUDED

#include "tools/imsladder/merge.h"

#include <string>

namespace imsladder {

// Ends in a line feed.
std::string draw_json(const Ladder& ladder);

} // namespace imsladder

#endif
