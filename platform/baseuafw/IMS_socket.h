// Unix-domain stream sockets and the descriptor sets that one thread watches.
//
// Thread   any; the sets are locked inside, and no lock is held while blocked. One thread at a time may be
//          in _select.
// Memory   descriptors belong to the caller: destroying the object closes none of them.
// Errors   -1 with errno set; every descriptor is made close-on-exec; no operation raises SIGPIPE.
#ifndef BASEUAFW_IMS_SOCKET_H_INCLUDED
#define BASEUAFW_IMS_SOCKET_H_INCLUDED

#include "baseuafw/baseuafw_api.h"

#include <string>
#include <vector>

// The socket operations of a daemon, and the read set and write set of descriptors it watches.
class BASEUAFW_API IMS_socket {
public:
    // Empty sets. No memory or no descriptor: logged at level 3, exit status 1.
    IMS_socket();
    // Nobody may be in an operation. Watched descriptors stay open.
    ~IMS_socket();
    IMS_socket(const IMS_socket&) = delete;
    IMS_socket& operator=(const IMS_socket&) = delete;

    // A socket bound to path_of(name), mode 0600, not yet listening; `domain` is "unix", `type` "stream".
    // A socket file in its place is taken for stale and removed, any other file is left and makes it fail.
    // IMS_daemon::clean_up removes the file. The descriptor, or -1 (with a level 4 line): empty name, path
    // too long for a socket address (108 bytes with its zero), unknown domain or type, or what the system
    // says.
    int _socket(const char* name, const char* domain, const char* type);

    // Starts listening. 0, or -1.
    int _listen(int fd, int backlog);

    // Takes a connection, waiting for one; interrupted and aborted attempts are repeated. The descriptor,
    // or -1.
    int _accept(int listenfd);

    // Connects to what _socket made under that name. The descriptor, or -1.
    int _connect(const char* name, const char* domain, const char* type);

    // Adds `fd` to the sets that `mode` names, "r", "w" or "rw", or takes it out of them; a blocked _select
    // starts anew. Negative descriptors and a null mode are ignored.
    void _set(int fd, const char* mode);
    void _unset(int fd, const char* mode);

    // Waits, without a time limit, for a descriptor of the sets that `mode` names. `readable` is replaced by
    // those of the read set that have something to read, an end of file or an error pending, in ascending
    // order; their number is the result. 0 after _wake, _set, _unset or _close on another thread, and when
    // a descriptor of the write set is ready. -1 when the wait fails; EINTR is passed on. Descriptors that
    // were closed behind our back leave the sets silently.
    int _select(const char* mode, std::vector<int>& readable);

    // Reads what is there, `max` bytes at most, without waiting. The number of bytes, 0 when the peer has
    // closed, -1 with errno (EAGAIN: nothing there).
    int _recvfrom(int fd, void* buf, int max);

    // Sends all of `data`, waiting as long as the peer makes it wait. `len`, or -1: a part may then have
    // been sent, and the stream is of no more use.
    int _send(int fd, const void* data, int len);

    // Takes `fd` out of the sets and closes it; the peer sees the end of the stream. A pinned descriptor is
    // not closed but replaced by a socket whose peer is gone, so that its number is never given out again
    // and whoever still uses it gets an end of file or EPIPE. 0, or -1.
    int _close(int fd);

    // From now on _close(fd) keeps the number taken; for descriptors that other threads remember.
    void _pin(int fd);

    // Makes every blocked _select return, or the next one when none is blocked.
    void _wake();

    // Where a socket's file stands: in the directory $IMS_SOCKET_DIR, or in the working directory when that
    // is unset or empty. A null name is an empty one; out of memory gives "".
    static std::string path_of(const char* name);

private:
    struct Impl;
    Impl* impl_;
};

#endif
