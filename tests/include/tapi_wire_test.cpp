#include "include/tapi_wire.h"

#include <array>
#include <gtest/gtest.h>

namespace {

using imsua::pack_tapi_header;
using imsua::tapi_body_slot;
using imsua::unpack_tapi_header;

using Wire = std::array<unsigned char, TAC_MSG_WIRE_SIZE>;

// type 1, reserved, reference 0x04030201, id 33025, 5 bytes of body, slot 0xddccbbaa
constexpr Wire example = {1, 0, 0, 0, 1, 2, 3, 4, 0x01, 0x81, 5, 0, 0xaa, 0xbb, 0xcc, 0xdd};

TAC_MSG_S example_header()
{
    TAC_MSG_S header = {};
    header.tac_type = 1;
    header.tac_ref = 0x04030201;
    header.msg_id = TAPI_SOCKET_INIT;
    header.body_len = 5;
    return header;
}

TEST(ATelephonyHeader, IsPackedIntoSixteenBytesOnEveryHost)
{
    Wire wire;
    wire.fill(0x55);
    pack_tapi_header(example_header(), 0xddccbbaa, wire.data());
    EXPECT_EQ(wire, example);
}

TEST(ATelephonyHeader, IsUnpackedFieldByField)
{
    const TAC_MSG_S header = unpack_tapi_header(example.data());
    EXPECT_EQ(header.tac_type, 1);
    EXPECT_EQ(header.tac_ref, 0x04030201u);
    EXPECT_EQ(header.msg_id, 33025);
    EXPECT_EQ(header.body_len, 5);
}

TEST(ATelephonyHeader, NeverTakesAPointerFromTheWire)
{
    EXPECT_EQ(unpack_tapi_header(example.data()).body, nullptr);
}

TEST(ATelephonyHeader, DoesNotLeakItsPointerUnlessAskedTo)
{
    TAC_MSG_S header = example_header();
    unsigned char body = 0;
    header.body = &body;
    Wire wire;
    pack_tapi_header(header, 0, wire.data());
    for (std::size_t i = 12; i < 16; ++i)
        EXPECT_EQ(wire[i], 0);
}

TEST(ATelephonyHeader, KeepsTheReservedBytes)
{
    Wire wire = example;
    wire[1] = 7;
    wire[2] = 8;
    wire[3] = 255;
    Wire again;
    pack_tapi_header(unpack_tapi_header(wire.data()), 0xddccbbaa, again.data());
    EXPECT_EQ(again, wire);
}

TEST(ATelephonyHeader, MayStandAtAnyAddress)
{
    std::array<unsigned char, TAC_MSG_WIRE_SIZE + 8> place{};
    for (std::size_t at = 0; at < 8; ++at) {
        pack_tapi_header(example_header(), 0, place.data() + at);
        EXPECT_EQ(unpack_tapi_header(place.data() + at).tac_ref, 0x04030201u);
    }
}

TEST(ABodysSlot, IsTheLowHalfOfItsAddress)
{
    EXPECT_EQ(tapi_body_slot(nullptr), 0u);
    EXPECT_EQ(tapi_body_slot(reinterpret_cast<const void*>(std::uintptr_t{0x12345678})), 0x12345678u);
#if UINTPTR_MAX > 0xffffffffu
    EXPECT_EQ(tapi_body_slot(reinterpret_cast<const void*>(std::uintptr_t{0xabcdef0012345678})), 0x12345678u);
#endif
}

} // namespace
