// What went over the channels, as people read it: time, channel, direction, header, and the body as a hex
// dump.
//
// Thread   any; nothing is shared.
#ifndef IMSTAC_PRINT_H_INCLUDED
#define IMSTAC_PRINT_H_INCLUDED

#include "tools/imstac/record.h"

#include <string>

namespace imstac {

// "2026-11-21T08:40:00.000123Z  async <- 0x8101  ref 0  type 1  4 bytes", then the dump, a line for 16 bytes.
// Ends in a line feed. Bytes beyond printable ASCII stand as dots: a message can do nothing to the terminal.
std::string print(const Happening& happening);

} // namespace imstac

#endif
