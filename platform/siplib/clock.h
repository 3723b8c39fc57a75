// The library's one clock: monotonic, and exact to a tick of the kernel (1 to 10 ms). It is read several
// times for each message and measures nothing shorter than 64*T1; the exact clock costs five times as much.
#ifndef SIPLIB_CLOCK_H_INCLUDED
#define SIPLIB_CLOCK_H_INCLUDED

#include <chrono>
#include <ctime>

namespace siplib {

using Time = std::chrono::steady_clock::time_point;
using Milliseconds = std::chrono::milliseconds;

inline Time now()
{
    timespec at = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &at);
    return Time(std::chrono::seconds(at.tv_sec) + std::chrono::nanoseconds(at.tv_nsec));
}

} // namespace siplib

#endif
