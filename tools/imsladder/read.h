// Reads message records (docs/message-record.md): files of one JSON object a line.
//
// Thread   any: no state.
// Memory   of a message only its summary is kept.
// Errors   a line that is not a record is counted, the first one of a file is kept with its reason, and
// reading
//          goes on.
#ifndef IMSLADDER_READ_H_INCLUDED
#define IMSLADDER_READ_H_INCLUDED

#include "tools/imsladder/sip_summary.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace imsladder {

struct Record {
    std::int64_t time = 0; // microseconds since 1970
    std::string program;
    std::int64_t pid = 0;
    bool sent = false;
    std::string transport, local, peer;
    Summary summary;
};

// Reads one line. False when it is not a record: `why` says what is wrong with it, `record` is as it was.
bool parse_line(std::string_view line, Record& record, std::string& why);

struct BadLines {
    std::size_t count = 0;
    std::size_t first_line = 0; // counted from 1
    std::string why;            // of the first one
};

// Appends the records of all lines of `in`. Blank lines are nothing.
BadLines read_records(std::istream& in, std::vector<Record>& records);

} // namespace imsladder

#endif
