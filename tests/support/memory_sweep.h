// Runs an operation while operator new fails, once for each of its allocations. Link imsua_failing_calls.
#ifndef TESTS_SUPPORT_MEMORY_SWEEP_H_INCLUDED
#define TESTS_SUPPORT_MEMORY_SWEEP_H_INCLUDED

#include "baseuafw/baseuafw.h"
#include "tests/support/failing_calls.h"

#include <gtest/gtest.h>

// The lines of level 3, counted without an allocation of the counter's own.
struct FatalLines {
    static inline int count = 0;
    FatalLines()
    {
        count = 0;
        IMS_log::set_sink(take, nullptr);
    }
    ~FatalLines() { IMS_log::set_sink(nullptr, nullptr); }

private:
    static void take(void*, int level, const char*, const char*) { count += level == 3 ? 1 : 0; }
};

// Runs `work` with its nth allocation failing, for every n, and once more without. `check(has_failed, lines)`
// looks each time; `lines` is how many were logged at level 3. `before` prepares each run. How often an
// allocation failed.
template <typename Work, typename Check, typename Before>
int sweep(Work work, Check check, Before before)
{
    for (int nth = 1;; ++nth) {
        before();
        bool has_failed = false;
        const FatalLines lines;
        {
            const Failing failing(Call::operator_new, nth);
            work();
            has_failed = failing.has_happened();
        }
        check(has_failed, lines.count);
        if (!has_failed || nth == 10000) return nth - 1;
    }
}

template <typename Work, typename Check>
int sweep(Work work, Check check)
{
    return sweep(work, check, [] {});
}

#endif
