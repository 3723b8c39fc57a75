// What the main loop does before it sleeps on an empty queue. Where messages follow each other closely the
// next one is there before a thread could fall asleep and be woken again, so it is worth looking for it.
//
// Only there: the loop looks for `longest` at most, only when it found the queue empty less than `longest`
// ago too, and never on a machine with one core. An agent that gets fewer than 20,000 messages a second
// sleeps at once.
//
// Thread   the main thread; others may use the queue meanwhile.
#ifndef IMSUA_BRIEF_LOOK_H_INCLUDED
#define IMSUA_BRIEF_LOOK_H_INCLUDED

#include "include/imsua_export.h"

#include <chrono>

class IMS_queue_manager;

namespace imsua {

class IMSUA_API BriefLook {
public:
    using Clock = std::chrono::steady_clock;
    // The longest look.
    static constexpr std::chrono::microseconds longest{50};
    // How long nothing more must come before what came is taken.
    static constexpr std::chrono::nanoseconds settle{1000};

    // `several_cores`: whether another thread can work while this one looks.
    explicit BriefLook(bool several_cores = has_several_cores()) : several_cores_(several_cores) {}

    // Returns when `queue` seems to hold something or when it is time to sleep. To be called without the
    // queue's lock: what it has seen may have changed when the lock is taken.
    void look_into(const IMS_queue_manager& queue);

    // Whether this process may run on more than one core.
    static bool has_several_cores();

private:
    const bool several_cores_;
    Clock::time_point found_empty_{}; // the last time
};

} // namespace imsua

#endif
