#include "tools/imstac/print.h"

#include <gtest/gtest.h>

namespace {

using imstac::Happening;
using Kind = Happening::Kind;

Happening happening(Kind kind, bool is_sent = false)
{
    Happening one;
    one.kind = kind;
    one.time = 1763713800000123;
    one.is_sent = is_sent;
    return one;
}

} // namespace

TEST(AMessage, IsPrintedWithTimeHeaderAndAHexDump)
{
    Happening one = happening(Kind::message);
    one.message = {1, 7, 0x8101, "sip:alice@example\n\x1b[31m"};
    EXPECT_EQ(
        imstac::print(one),
        "2025-11-21T08:30:00.000123Z  async <- 0x8101  ref 7  type 1  23 bytes\n"
        "                             0000  73 69 70 3a 61 6c 69 63 65 40 65 78 61 6d 70 6c  "
        "sip:alice@exampl\n"
        "                             0010  65 0a 1b 5b 33 31 6d                             e..[31m\n");
}

TEST(AMessage, WithoutABodyIsOneLine)
{
    Happening one = happening(Kind::message, true);
    one.channel = imstac::Channel::sync;
    EXPECT_EQ(imstac::print(one), "2025-11-21T08:30:00.000123Z  sync  -> 0x0000  ref 0  type 0  0 bytes\n");
}

TEST(EverythingElse, IsPrintedAsALineOfWords)
{
    const std::string time = "2025-11-21T08:30:00.000123Z  ";
    Happening raw = happening(Kind::raw, true);
    raw.detail = "\x01";
    EXPECT_EQ(imstac::print(raw), time + "async -> raw  1 byte\n" + std::string(29, ' ') + "0000  01" +
                                      std::string(47, ' ') + ".\n");
    Happening closed = happening(Kind::closed);
    EXPECT_EQ(imstac::print(closed), time + "async <- closed\n");
    closed.detail = "in the middle";
    EXPECT_EQ(imstac::print(closed), time + "async <- closed: in the middle\n");
    Happening failed = happening(Kind::failed);
    failed.detail = "line\n\x1b";
    EXPECT_EQ(imstac::print(failed), time + "failed: line..\n");
    Happening connected = happening(Kind::connected);
    connected.detail = "/run/a.sock";
    EXPECT_EQ(imstac::print(connected), time + "connected: /run/a.sock\n");
}
