#include "daemons/common/service_notify.h"

#include "tests/support/temp_dir.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

TEST(AServiceNotice, ReachesTheServiceManager)
{
    TempDir dir;
    const std::string path = dir.file("notify");
    const int manager = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(manager, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
    EXPECT_TRUE(service_notify("READY=1"));
    char text[32] = "";
    EXPECT_EQ(::recv(manager, text, sizeof text, MSG_DONTWAIT), 7);
    EXPECT_STREQ(text, "READY=1");
    ::close(manager);
    EXPECT_FALSE(service_notify("READY=1")) << "nobody listens";
    ::setenv("NOTIFY_SOCKET", "relative", 1);
    EXPECT_FALSE(service_notify("READY=1"));
    ::unsetenv("NOTIFY_SOCKET");
    EXPECT_FALSE(service_notify("READY=1"));
}

} // namespace
