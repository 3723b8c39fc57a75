// What every target that works with libxml2 needs: nothing on stderr, and log lines made but not written.
#ifndef FUZZ_QUIET_H_INCLUDED
#define FUZZ_QUIET_H_INCLUDED

#include "baseuafw/baseuafw.h"

#include <libxml/xmlerror.h>

#include <cstdlib>

namespace fuzz {

inline void ignore_error(void*, const char*, ...) {}

// Call at the start of each run: libxml2's clean-up forgets the handler.
inline void be_quiet()
{
    xmlSetGenericErrorFunc(nullptr, ignore_error);
    IMS_log::set_sink([](void*, int, const char*, const char*) {}, nullptr);
}

inline void demand(bool condition)
{
    if (!condition) std::abort();
}

} // namespace fuzz

#endif
