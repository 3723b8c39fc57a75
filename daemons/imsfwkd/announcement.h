// Changes as the text of the asynchronous port: docs/framework-protocol.md, "Asynchronous port".
//
// Thread   pure function.
#ifndef IMSFWKD_ANNOUNCEMENT_H_INCLUDED
#define IMSFWKD_ANNOUNCEMENT_H_INCLUDED

#include "daemons/imsfwkd/store.h"

#include <string>
#include <vector>

namespace imsfwkd {

// An agent reads this many bytes at a time, so no text is longer: one that has caught up gets it whole.
constexpr std::size_t MAX_ANNOUNCEMENT = 1023;

// "CHANGED <document>" LF, then each path and LF; as many texts as the limit needs, each with its own
// header line. A path that fits in none of them stands as "/".
std::vector<std::string> announcements(const Change& change);

} // namespace imsfwkd

#endif
