// The library's one clock: monotonic.
#ifndef SIPLIB_CLOCK_H_INCLUDED
#define SIPLIB_CLOCK_H_INCLUDED

#include <chrono>

namespace siplib {

using Time = std::chrono::steady_clock::time_point;
using Milliseconds = std::chrono::milliseconds;

inline Time now()
{
    return std::chrono::steady_clock::now();
}

} // namespace siplib

#endif
