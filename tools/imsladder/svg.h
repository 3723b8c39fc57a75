// A ladder as an SVG picture for a browser: one file, no script, nothing fetched. Hovering over a message
// shows its first lines.
//
// Thread   any: no state.
// Memory   values only.
// Errors   none. All text is escaped, whatever the messages hold.
#ifndef IMSLADDER_SVG_H_INCLUDED
#define IMSLADDER_SVG_H_INCLUDED

#include "tools/imsladder/merge.h"

#include <string>

namespace imsladder {

std::string draw_svg(const Ladder& ladder);

} // namespace imsladder

#endif
