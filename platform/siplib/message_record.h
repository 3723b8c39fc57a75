// The record of SIP messages: one line of JSON for each message sent or received, in a file that
// tools/imsladder draws as a ladder. The format is described in docs/message-record.md.
//
// Thread   any, any number at once; several processes may share one file. Each line is one write to a file
// opened for
//          appending, so lines never mix, and a process that is killed leaves at most one torn line, its
//          last.
// Memory   keeps the open file; a line is built on the heap and freed at once.
// Errors   recording never disturbs what is recorded: a line that cannot be written is dropped, and the first
// of a
//          run of failures is logged at level 4.
#ifndef SIPLIB_MESSAGE_RECORD_H_INCLUDED
#define SIPLIB_MESSAGE_RECORD_H_INCLUDED

#include "siplib/SIPLIB_types.h"

#include <atomic>
#include <cstddef>

namespace siplib {

class SIPLIB_API MessageRecord {
public:
    // Starts recording at the end of file `path`, created with mode 0600 where there is none; ends an earlier
    // recording. After a torn line the new ones start on a line of their own. False: the file cannot be
    // opened, or is neither a regular file nor a character device (a pipe could make senders wait); errno
    // tells why, and an earlier recording goes on.
    static bool open(const char* path);

    // Ends recording. Nothing happens when there is none.
    static void close();

    // True while recording. One relaxed load: ask it before preparing the arguments of write().
    static bool enabled() { return enabled_.load(std::memory_order_relaxed); }

    // Appends one message of `size` bytes. `local` and `peer` are "address:port"; a null text counts as
    // empty. The message may hold any bytes. Does nothing while not recording.
    static void write(bool sent, const char* transport, const char* local, const char* peer,
                      const char* bytes, std::size_t size);

private:
    static std::atomic<bool> enabled_;
};

} // namespace siplib

#endif
