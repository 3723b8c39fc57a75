// Where an allocation fails, an operation ends: no exception leaves the library.
#ifndef IMSUA_WHILE_MEMORY_LASTS_H_INCLUDED
#define IMSUA_WHILE_MEMORY_LASTS_H_INCLUDED

#include <new>

namespace imsua {

// Runs `work`; false when memory ran out before its end. Nothing of ours throws anything else.
template <typename Work>
bool while_memory_lasts(Work work) noexcept
{
    try {
        work();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace imsua

#endif
