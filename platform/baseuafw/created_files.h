// The socket and pid files that this process has made and removes when it ends.
//
// Thread   any. remove_created_files is also async-signal-safe.
// Memory   one small record for each different path, for ever.
#ifndef BASEUAFW_CREATED_FILES_H_INCLUDED
#define BASEUAFW_CREATED_FILES_H_INCLUDED

#include <sys/types.h>

namespace baseuafw {

// Remembers the file at `path` (made absolute, so that a later chdir does no harm) for removal by the calling
// process. The first call makes exit() remove the files. False, with errno, when there is no such file or
// no memory.
bool remember_created_file(const char* path);

// Removes each file that the calling process remembered, once, and only if it is still the same file.
void remove_created_files();

// After fork(), in the child that goes on in its parent's place: what `parent` remembered is now its own.
void adopt_created_files(pid_t parent);

} // namespace baseuafw

#endif
