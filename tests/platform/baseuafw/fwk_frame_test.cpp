#include "baseuafw/fwk_frame.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using fwk::FrameDecoder;
using Result = fwk::FrameDecoder::Result;

namespace {

// Feeds `stream` in pieces of `size` bytes; gives the payloads and how it ended.
std::vector<std::string> decode(const std::string& stream, std::size_t size, Result& last)
{
    FrameDecoder decoder;
    std::vector<std::string> payloads;
    last = Result::more;
    for (std::size_t at = 0; at < stream.size() && last == Result::more; at += size) {
        const std::string piece = stream.substr(at, size);
        decoder.feed(piece.data(), piece.size());
        std::string payload;
        while ((last = decoder.next(payload)) == Result::frame)
            payloads.push_back(payload);
    }
    return payloads;
}

Result result_of(const std::string& stream)
{
    Result last = Result::more;
    decode(stream, stream.size(), last);
    return last;
}

} // namespace

TEST(AFrame, IsItsLengthALineFeedAndItsBytes)
{
    EXPECT_EQ(fwk::frame("SYNC"), "4\nSYNC");
    EXPECT_EQ(fwk::frame(""), "0\n");
}

TEST(AFrameDecoder, FindsTheSameFramesHoweverTheStreamIsCut)
{
    const std::vector<std::string> payloads = {"SYNC", "", std::string("a\0\n1\nb", 6),
                                               std::string(5000, 'x')};
    std::string stream;
    for (const auto& payload : payloads)
        stream += fwk::frame(payload);
    for (const std::size_t size : {1u, 2u, 3u, 7u, 4096u, 100000u}) {
        Result last = Result::more;
        EXPECT_EQ(decode(stream, size, last), payloads) << size;
        EXPECT_EQ(last, Result::more);
    }
}

TEST(AFrameDecoder, TakesTheLongestPayloadAndRefusesOneByteMore)
{
    Result last = Result::more;
    const std::string longest(fwk::MAX_PAYLOAD, 'x');
    EXPECT_EQ(decode(fwk::frame(longest), 4096, last), std::vector<std::string>{longest});
    EXPECT_EQ(result_of("65537\n"), Result::too_long);
    EXPECT_EQ(result_of("99999999\n"), Result::too_long);
}

TEST(AFrameDecoder, RefusesWhatIsNoLength)
{
    for (const char* stream : {"\n", "x", "-1\nx", "+1\nx", " 1\nx", "1 \nx", "1\r\nx", "0x1\nx", "GET a\n/b",
                               "123456789", "000000001\nx"})
        EXPECT_EQ(result_of(stream), Result::bad_length) << stream;
}

TEST(AFrameDecoder, AcceptsLeadingZeros)
{
    Result last = Result::more;
    EXPECT_EQ(decode("00000001\nx", 1, last), std::vector<std::string>{"x"});
}

TEST(AFrameDecoder, StaysAtItsRefusal)
{
    FrameDecoder decoder;
    std::string payload = "untouched";
    decoder.feed("x", 1);
    EXPECT_EQ(decoder.next(payload), Result::bad_length);
    decoder.feed("1\na", 3);
    EXPECT_EQ(decoder.next(payload), Result::bad_length);
    EXPECT_EQ(payload, "untouched");
}

TEST(AFrameDecoder, HoldsOnlyWhatWasNotTaken)
{
    FrameDecoder decoder;
    decoder.feed("2\nab3\nc", 7);
    std::string payload;
    ASSERT_EQ(decoder.next(payload), Result::frame);
    EXPECT_EQ(decoder.buffered(), 3u);
}

TEST(AValue, TravelsWithoutLineFeeds)
{
    EXPECT_EQ(fwk::encode_value("a\nb%c"), "a%0Ab%25c");
    EXPECT_EQ(fwk::encode_value("plain\r\t"), "plain\r\t");
}

TEST(AValue, ComesBackAsItWas)
{
    std::string all;
    for (int c = 0; c < 256; ++c)
        all += static_cast<char>(c);
    for (const std::string& value : {all, std::string("%0A%25%"), std::string("\n\n%%"), std::string()})
        EXPECT_EQ(fwk::decode_value(fwk::encode_value(value)), value);
}

TEST(AValue, KeepsWhatIsNoEscape)
{
    EXPECT_EQ(fwk::decode_value("100%"), "100%");
    EXPECT_EQ(fwk::decode_value("%0"), "%0");
    EXPECT_EQ(fwk::decode_value("%41%0a"), "%41\n");
}
