// The text frames in which agents and the framework daemon talk: <decimal length> LF <bytes>.
// The whole protocol: docs/framework-protocol.md. Both ends use this one codec.
//
// Thread   a decoder belongs to one connection and one thread; the functions are pure.
// Memory   a decoder holds what was fed and not yet taken, and nothing beyond that.
// Errors   come back as results. Nothing here logs; only memory exhaustion throws.
#ifndef BASEUAFW_FWK_FRAME_H_INCLUDED
#define BASEUAFW_FWK_FRAME_H_INCLUDED

#include "baseuafw/baseuafw.h"

#include <cstddef>
#include <string>

namespace fwk {

// The longest payload of a frame, in bytes: requests and answers alike.
constexpr std::size_t MAX_PAYLOAD = 65536;
// The most digits a length may have; leading zeros are accepted up to here.
constexpr std::size_t MAX_LENGTH_DIGITS = 8;

// `payload` as a frame, ready to be sent. The caller keeps it within MAX_PAYLOAD.
BASEUAFW_API std::string frame(const std::string& payload);

// `value` as it travels inside a payload: "%" becomes "%25", a line feed "%0A"; all else is unchanged.
BASEUAFW_API std::string encode_value(const std::string& value);

// The reverse. Only these two escapes are one (in either case); any other "%" stands for itself, so a
// sender that escapes nothing is read as it meant.
BASEUAFW_API std::string decode_value(const std::string& text);

// Takes frames out of a byte stream, however the stream was cut on its way.
class BASEUAFW_API FrameDecoder {
public:
    enum class Result {
        more,       // no whole frame yet: feed more
        frame,      // `payload` was filled, its bytes have left the decoder
        bad_length, // the length is not 1 to 8 decimal digits and a line feed
        too_long    // the length is over MAX_PAYLOAD
    };

    // Appends `count` bytes of the stream.
    void feed(const char* bytes, std::size_t count);

    // Takes the next frame. `payload` is changed only by Result::frame. The two refusals are final: the
    // stream has no further boundary to find, so the connection has to be closed.
    [[nodiscard]] Result next(std::string& payload);

    // Bytes fed and not yet taken.
    std::size_t buffered() const { return buffer_.size(); }

private:
    std::string buffer_;
};

} // namespace fwk

#endif
