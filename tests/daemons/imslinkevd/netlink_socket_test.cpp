#include "daemons/imslinkevd/netlink_socket.h"

#include <gtest/gtest.h>

namespace {

TEST(ANetlinkSocket, HasNothingToReceiveAtFirst)
{
    Netlink_socket socket;
    EXPECT_EQ(socket.fd(), -1);
    EXPECT_EQ(socket.send("x", 1), -1);
    EXPECT_EQ(socket.receive(), Netlink_socket::Received::lost) << "a closed one";
    ASSERT_EQ(socket.open(0), 0);
    EXPECT_GE(socket.fd(), 0);
    ASSERT_EQ(socket.open(65536), 0) << "again, fresh";
    socket.close();
    EXPECT_EQ(socket.fd(), -1);
}

} // namespace
