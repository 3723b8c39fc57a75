// A listening TCP socket on 127.0.0.1, and on nothing else.
#ifndef IMSFWKD_LISTENER_H_INCLUDED
#define IMSFWKD_LISTENER_H_INCLUDED

#include <string>

namespace imsfwkd {

// Thread: one at a time. Errors: results, with words for the log; nothing here logs.
class Listener {
public:
    Listener() = default;
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // Port 0 takes a free one. False, with `why`, when it is taken.
    bool open(int port, std::string& why);

    int descriptor() const { return fd_; }
    int port() const { return port_; }

    enum class Accepted { one, none, no_resources };
    // Takes a connection without waiting: `fd` is non-blocking, close-on-exec and the caller's.
    Accepted accept(int& fd) const;

private:
    int fd_ = -1;
    int port_ = 0;
};

} // namespace imsfwkd

#endif
