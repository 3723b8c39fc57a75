// Where an allocation fails, an operation fails: no exception leaves the library.
#ifndef SIPLIB_GUARDED_H_INCLUDED
#define SIPLIB_GUARDED_H_INCLUDED

#include "siplib/SIPLIB_types.h"

#include <new>

namespace siplib {

// What `body` returns, a SIPLIB_ code; SIPLIB_ERR_MEMORY when it runs out of memory. Nothing else throws
// here.
template <typename Body>
int guarded(Body body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return SIPLIB_ERR_MEMORY;
    }
}

} // namespace siplib

#endif
