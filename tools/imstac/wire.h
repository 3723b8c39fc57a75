// Telephony messages as they go over the two channels: the header of include/tapi_wire.h, then the body. What
// is sent has zeros where the receiver is not to look.
//
// Thread   any; nothing is shared.
// Memory   values only; a Splitter holds at most one unfinished message and what was fed since.
#ifndef IMSTAC_WIRE_H_INCLUDED
#define IMSTAC_WIRE_H_INCLUDED

#include "include/tapi_wire.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace imstac {

constexpr std::size_t HEADER_SIZE = TAC_MSG_WIRE_SIZE;
constexpr std::size_t BODY_MAX = 65535;

// In the order in which a controller connects them: the agent takes the first for its events.
enum class Channel : int { async = 0, sync = 1 };
constexpr Channel CHANNELS[] = {Channel::async, Channel::sync};
const char* name_of(Channel channel); // "async", "sync"
constexpr std::size_t index_of(Channel channel)
{
    return static_cast<std::size_t>(channel);
}

struct Message {
    std::uint8_t type = 0;
    std::uint32_t ref = 0;
    std::uint16_t id = 0;
    std::string body; // BODY_MAX bytes at most
};

// Header and body; a body beyond BODY_MAX is cut there.
std::string packed(const Message& message);

// Cuts a stream, which keeps no boundaries, into its messages.
class Splitter {
public:
    void feed(const char* data, std::size_t size);
    // The next whole message; false when there is none yet, `message` is then untouched.
    bool next(Message& message);
    // Bytes of the message that is not whole yet.
    std::size_t rest() const { return bytes_.size() - taken_; }

private:
    std::string bytes_;
    std::size_t taken_ = 0; // handed out already
};

} // namespace imstac

#endif
