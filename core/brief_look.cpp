#include "core/brief_look.h"

#include "core/IMS_queue_manager.h"

#include <sched.h>

namespace imsua {

namespace {

// Leaves the core's other hardware thread alone, and the bus.
void relax()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__arm__) || defined(__aarch64__)
    __asm__ volatile("yield" ::: "memory");
#endif
}

constexpr std::size_t many = 40; // no longer to be waited with: 51 is the queue's bound

// Whoever queues many at once is left alone until all are there: taking the first one away meanwhile would
// make two threads wait for each other's lock with every message.
void wait_until_settled(const IMS_queue_manager& queue)
{
    std::size_t before = 0;
    for (std::size_t held = queue.heldAbout(); held != before && held < many; held = queue.heldAbout()) {
        before = held;
        const auto until = BriefLook::Clock::now() + BriefLook::settle;
        while (BriefLook::Clock::now() < until)
            relax();
    }
}

} // namespace

bool BriefLook::has_several_cores()
{
    cpu_set_t cores;
    return ::sched_getaffinity(0, sizeof cores, &cores) == 0 && CPU_COUNT(&cores) > 1;
}

void BriefLook::look_into(const IMS_queue_manager& queue)
{
    if (!several_cores_ || !queue.seemsEmpty()) return;
    const auto start = Clock::now();
    const bool follow_closely = start - found_empty_ < longest;
    found_empty_ = start;
    if (!follow_closely) return;
    do {
        for (int i = 0; i < 16; ++i) {
            relax();
            if (!queue.seemsEmpty()) return wait_until_settled(queue);
        }
        ::sched_yield();
    } while (queue.seemsEmpty() && Clock::now() - start < longest);
}

} // namespace imsua
