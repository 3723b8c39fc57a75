// The other side of a SIP benchmark: a process of its own that answers at once.
//
// Four loopback ports: SIP over UDP and TCP, where every request gets a 200, and raw echo over UDP and TCP,
// where every byte comes back. Written as plain socket loops, so that it is never the slower side.
#ifndef BENCH_SUPPORT_RESPONDER_H_INCLUDED
#define BENCH_SUPPORT_RESPONDER_H_INCLUDED

#include <sys/types.h>

namespace bench {

class Responder {
public:
    // Forks; call before the first thread starts. Ends the process with a message when it cannot.
    Responder();
    ~Responder(); // ends the child

    int sip_port() const { return ports_[0]; }  // UDP and TCP
    int echo_port() const { return ports_[1]; } // UDP and TCP
    Responder(const Responder&) = delete;
    Responder& operator=(const Responder&) = delete;

private:
    int ports_[2] = {0, 0};
    pid_t child_ = -1;
};

} // namespace bench

#endif
