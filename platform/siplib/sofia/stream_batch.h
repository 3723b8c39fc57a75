// Messages that leave over one stream right after each other leave together.
//
// A sweep of NOTIFYs or a burst of answers over TCP would otherwise cost a segment, and a wake-up of the
// peer, for each message. The first one to a stream leaves at once; those that follow are held back in the
// kernel until some have come together, or until the batch ends.
//
// Thread   the one that made it: our su_vsend stands in for Sofia-SIP's own and looks whether its thread has
// a
//          batch. Other threads, and other users of Sofia-SIP in the process, send as ever.
// Time     the kernel holds a message for 200 ms at most, should the batch last longer.
#ifndef SIPLIB_SOFIA_STREAM_BATCH_H_INCLUDED
#define SIPLIB_SOFIA_STREAM_BATCH_H_INCLUDED

#include <array>
#include <cstddef>

namespace siplib::sofia {

class StreamBatch {
public:
    static constexpr unsigned most_held = 16; // messages to one stream

    StreamBatch();
    ~StreamBatch(); // everything leaves
    StreamBatch(const StreamBatch&) = delete;
    StreamBatch& operator=(const StreamBatch&) = delete;

    // The flags to send the next message over `socket` with.
    int flags_for(int socket, int flags);

private:
    enum class Kind : unsigned char { unknown, stream, other };
    struct Socket {
        int fd;
        Kind kind;
        unsigned held;
    };

    Socket* find(int socket);

    std::array<Socket, 8> sockets_; // of any more, messages leave one by one
    std::size_t count_ = 0;
    StreamBatch* outer_;
};

} // namespace siplib::sofia

#endif
