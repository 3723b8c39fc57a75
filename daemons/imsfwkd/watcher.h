// Tells which documents' files may have changed (inotify on the store's directory).
//
// Thread   one at a time.
// Memory   none that grows; the kernel's own queue is bounded, and its overflow is told.
#ifndef IMSFWKD_WATCHER_H_INCLUDED
#define IMSFWKD_WATCHER_H_INCLUDED

#include <set>
#include <string>

namespace imsfwkd {

class Watcher {
public:
    Watcher() = default;
    ~Watcher();
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    // Starts watching. False, with `why`: changed files are then not noticed.
    bool open(const std::string& directory, std::string& why);

    // Readable when there is something to take(); -1 when not open.
    int descriptor() const { return fd_; }

    struct Notice {
        std::set<std::string> documents; // each once, however often it changed
        bool all = false;                // notices were lost: any document may have changed
    };
    // What was noticed since the last call, or a bounded part of it: more leaves the descriptor readable.
    // Never waits.
    Notice take();

private:
    int fd_ = -1;
};

} // namespace imsfwkd

#endif
