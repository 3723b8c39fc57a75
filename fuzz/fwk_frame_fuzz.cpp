// The framework protocol as an agent meets it: a stream cut into pieces, and every answer read as the
// answer to every kind of request.
#include "baseuafw/fwk_answer.h"
#include "baseuafw/fwk_frame.h"

#include <cstdint>
#include <cstdlib>

namespace {

void demand(bool holds)
{
    if (!holds) std::abort();
}

void read_as_every_answer(const std::string& answer)
{
    std::string value = "before";
    const bool found = fwk::parse_value(answer, value);
    demand(found || value == "before");
    demand(fwk::parse_stored(answer) == found);
    demand(!(fwk::parse_go(answer) && found));
    std::vector<SIP_IMS_CFG_TAG_VALUE_T> pairs{{"a", "before"}, {"/a/b", "before"}, {"", "before"}};
    const bool any = fwk::parse_pairs(answer, pairs);
    demand(any || (pairs[0].value == "before" && pairs[2].value == "before"));
    demand(fwk::decode_value(fwk::encode_value(answer)) == answer);
    demand(fwk::encode_value(answer).find('\n') == std::string::npos);
}

} // namespace

// The first byte says how long the pieces are; the frames found must not depend on it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const std::size_t piece = data[0] % 31 + 1u;
    const std::string stream(reinterpret_cast<const char*>(data) + 1, size - 1);
    fwk::FrameDecoder whole;
    fwk::FrameDecoder cut;
    whole.feed(stream.data(), stream.size());
    using Result = fwk::FrameDecoder::Result;
    std::string expected;
    std::string payload;
    Result result = Result::more;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        cut.feed(stream.data() + at, std::min(piece, stream.size() - at));
        while ((result = cut.next(payload)) == Result::frame) {
            demand(whole.next(expected) == Result::frame && payload == expected);
            read_as_every_answer(payload);
        }
        if (result != Result::more) break;
    }
    demand(whole.next(expected) == result);
    return 0;
}
