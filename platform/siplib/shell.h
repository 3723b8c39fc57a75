// What connections, notifiers and dialogs have in common: the state of a shell in its pool.
//
//   free --take--> live --close(), or finished and rested--> closed --give back--> free
//
// `generation` counts the uses, so that handles of an earlier one find nobody. `owed` counts the
// notifications that were delivered and not yet taken by receive(): they stay takeable after close().
//
// Thread   every member under `mutex`.
#ifndef SIPLIB_SHELL_H_INCLUDED
#define SIPLIB_SHELL_H_INCLUDED

#include "siplib/clock.h"

#include <cstdint>
#include <mutex>

namespace siplib {

struct ShellState {
    enum class Phase : unsigned char { free, live, closed };

    mutable std::mutex mutex;
    Time last_used{};
    std::uint32_t generation = 0;
    std::uint32_t episode = 0; // counts rests: an entry of an earlier one is out of date
    std::uint32_t owed = 0;
    Phase phase = Phase::free;

    bool live() const { return phase == Phase::live; }
    void begin()
    {
        ++generation;
        ++episode;
        owed = 0;
        phase = Phase::live;
        last_used = now();
    }
};

} // namespace siplib

#endif
