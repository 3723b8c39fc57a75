#include "tools/imstac/wire.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using imstac::Message;

Message message(std::uint16_t id, const std::string& body = "", std::uint32_t ref = 0, std::uint8_t type = 0)
{
    return {type, ref, id, body};
}

std::vector<Message> split(const std::vector<std::string>& pieces, std::size_t* rest = nullptr)
{
    imstac::Splitter splitter;
    std::vector<Message> found;
    for (const std::string& piece : pieces) {
        splitter.feed(piece.data(), piece.size());
        for (Message one; splitter.next(one);)
            found.push_back(one);
    }
    if (rest != nullptr) *rest = splitter.rest();
    return found;
}

} // namespace

TEST(ATelephonyMessage, IsASixteenByteHeaderInHostOrderAndItsBody)
{
    const std::string bytes = imstac::packed(message(0x8101, "ab", 0x01020304, 7));
    EXPECT_EQ(bytes, std::string("\x07\0\0\0\x04\x03\x02\x01\x01\x81\x02\0\0\0\0\0ab", 18));
}

TEST(ATelephonyMessage, HasABodyOf65535BytesAtMost)
{
    EXPECT_EQ(imstac::packed(message(1, std::string(65535, 'x'))).size(), 16u + 65535u);
    const std::string cut = imstac::packed(message(1, std::string(70000, 'x')));
    EXPECT_EQ(cut.size(), 16u + 65535u);
    EXPECT_EQ(cut.substr(10, 2), "\xff\xff");
}

TEST(AStreamOfMessages, IsCutIntoThem)
{
    const auto found =
        split({imstac::packed(message(1)) + imstac::packed(message(0xFFFF, "body", 0xFFFFFFFF, 255)) +
               imstac::packed(message(3))});
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].id, 1);
    EXPECT_EQ(found[1].id, 0xFFFF);
    EXPECT_EQ(found[1].body, "body");
    EXPECT_EQ(found[1].ref, 0xFFFFFFFFu);
    EXPECT_EQ(found[1].type, 255);
    EXPECT_EQ(found[2].body, "");
}

TEST(AStreamOfMessages, MayComeInPiecesOfAnySize)
{
    std::string stream;
    for (int i = 0; i < 50; ++i)
        stream += imstac::packed(
            message(static_cast<std::uint16_t>(i), std::string(static_cast<std::size_t>(i) * 7, 'b')));
    for (std::size_t piece = 1; piece < 64; ++piece) {
        std::vector<std::string> pieces;
        for (std::size_t at = 0; at < stream.size(); at += piece)
            pieces.push_back(stream.substr(at, piece));
        const auto found = split(pieces);
        ASSERT_EQ(found.size(), 50u) << piece;
        EXPECT_EQ(found[49].body.size(), 49u * 7) << piece;
    }
}

TEST(AStreamOfMessages, ThatEndsWithinAMessageSaysHowMuchThereIsOfIt)
{
    std::size_t rest = 0;
    EXPECT_TRUE(split({std::string(15, '\0')}, &rest).empty());
    EXPECT_EQ(rest, 15u);
    EXPECT_TRUE(split({imstac::packed(message(1, "12345")).substr(0, 20)}, &rest).empty());
    EXPECT_EQ(rest, 20u);
    EXPECT_EQ(split({imstac::packed(message(1)) + "x"}, &rest).size(), 1u);
    EXPECT_EQ(rest, 1u);
}

TEST(AStreamOfMessages, MayHoldBodiesOfTheLargestSize)
{
    const std::string big = imstac::packed(message(1, std::string(65535, 'x')));
    const auto found = split({big.substr(0, 40000), big.substr(40000) + big});
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[1].body.size(), 65535u);
}

TEST(AStreamOfMessages, IsReadWithoutTheBytesThatHaveNoMeaning)
{
    std::string bytes = imstac::packed(message(5, "b"));
    bytes.replace(1, 3, "\xff\xff\xff");
    bytes.replace(12, 4, "\xff\xff\xff\xff");
    const auto found = split({bytes});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(imstac::packed(found[0]), imstac::packed(message(5, "b")));
}

TEST(TheChannels, HaveNames)
{
    EXPECT_STREQ(imstac::name_of(imstac::Channel::async), "async");
    EXPECT_STREQ(imstac::name_of(imstac::Channel::sync), "sync");
}
