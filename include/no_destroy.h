// Process-wide objects that live for ever.
//
// exit() may be called while other threads run, so nothing with process lifetime is destroyed. The
// storage is constant-initialised (no initialisation order to lose) and the object is constructed once,
// by the library's constructor function; its memory stays reachable, so leak checkers stay quiet.
#ifndef IMSUA_NO_DESTROY_H_INCLUDED
#define IMSUA_NO_DESTROY_H_INCLUDED

#include <new>

namespace imsua {

template <typename T>
union NoDestroy {
    constexpr NoDestroy() : unused() {}
    ~NoDestroy() {}

    // Call once, before any use of `value`.
    template <typename... Args>
    void construct(Args&&... args)
    {
        new (static_cast<void*>(&value)) T(static_cast<Args&&>(args)...);
    }

    char unused;
    T value;
};

} // namespace imsua

#endif
