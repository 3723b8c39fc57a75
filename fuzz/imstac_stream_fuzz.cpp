// What an agent sends: the messages found must not depend on how the stream was cut, and are all of it.
#include "tools/imstac/wire.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

void demand(bool holds)
{
    if (!holds) std::abort();
}

} // namespace

// The first byte says how long the pieces are.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const std::size_t piece = data[0] + 1u;
    const std::string stream(reinterpret_cast<const char*>(data) + 1, size - 1);
    imstac::Splitter whole;
    imstac::Splitter cut;
    whole.feed(stream.data(), stream.size());
    std::size_t total = 0;
    imstac::Message expected;
    imstac::Message message;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        cut.feed(stream.data() + at, std::min(piece, stream.size() - at));
        while (cut.next(message)) {
            demand(whole.next(expected));
            demand(imstac::packed(message) == imstac::packed(expected));
            // The header's meaningful bytes and the body come back.
            const std::string bytes = imstac::packed(message);
            demand(stream.compare(total + 4, 8, bytes, 4, 8) == 0 && stream[total] == bytes[0]);
            demand(stream.compare(total + 16, message.body.size(), message.body) == 0);
            total += bytes.size();
        }
    }
    demand(!whole.next(expected) && cut.rest() == whole.rest() && total + cut.rest() == stream.size());
    return 0;
}
