// TCP to the framework daemon on 127.0.0.1: connecting and one exchange of frames, each with a deadline.
//
// Thread   pure functions on descriptors that the caller owns.
// Errors   come back as -1 or false. Nothing here logs or raises SIGPIPE.
#ifndef BASEUAFW_FWK_TCP_H_INCLUDED
#define BASEUAFW_FWK_TCP_H_INCLUDED

#include "baseuafw/fwk_frame.h"

#include <chrono>
#include <string>
#include <sys/types.h>

namespace fwk {

using Clock = std::chrono::steady_clock;

// The port that `text` names in decimal, 1 to 65535; 0 for anything else, a null text included.
int parse_port(const char* text);

// A connected, non-blocking, close-on-exec descriptor; -1 when nobody listens or the deadline passes.
int connect_loopback(int port, Clock::time_point deadline);

// Sends `request` as a frame and reads one frame into `answer`. False when the connection failed or sent
// something else, or the deadline passed: it then has no known position and has to be given up.
bool exchange(int fd, FrameDecoder& decoder, const std::string& request, std::string& answer,
              Clock::time_point deadline);

// The two halves of exchange(). Clock::time_point::max() waits for ever.
bool send_frame(int fd, const std::string& payload, Clock::time_point deadline);
bool receive_frame(int fd, FrameDecoder& decoder, std::string& payload, Clock::time_point deadline);

// A descriptor together with the socket behind it, so that a number which somebody else closed, and
// which may since have been given to another file, is never taken for ours.
struct SocketId {
    int fd = -1;
    dev_t device = 0;
    ino_t inode = 0;
};
SocketId identify(int fd);
bool is_still_open(const SocketId& id);

} // namespace fwk

#endif
