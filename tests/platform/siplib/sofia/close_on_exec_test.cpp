#include "siplib/sofia/close_on_exec.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sofia-sip/su_wait.h>
#include <sys/socket.h>
#include <unistd.h>

TEST(ASocketOfSofia, IsClosedOnExec)
{
    const siplib::sofia::NewDescriptors descriptors;
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    ASSERT_GE(fd, 0);
    su_wait_t wait = {};
    EXPECT_EQ(su_wait_create(&wait, fd, SU_WAIT_IN), 0);
    EXPECT_EQ(wait.fd, fd);
    EXPECT_EQ(wait.events, SU_WAIT_IN);
    EXPECT_TRUE(fcntl(fd, F_GETFD) & FD_CLOEXEC);
    su_close(fd);
    EXPECT_EQ(su_wait_create(&wait, INVALID_SOCKET, SU_WAIT_IN), -1);
    EXPECT_EQ(su_wait_create(nullptr, fd, SU_WAIT_IN), -1);
}

TEST(NewDescriptors, AreClosedOnExecWhenTheyLookLikeSofias)
{
    const int old = open("/dev/null", O_RDONLY);
    const siplib::sofia::NewDescriptors descriptors;
    const int fresh = open("/dev/null", O_RDONLY);
    const int foreign = open("/dev/zero", O_RDONLY);
    descriptors.close_on_exec();
    EXPECT_FALSE(fcntl(old, F_GETFD) & FD_CLOEXEC);
    EXPECT_TRUE(fcntl(fresh, F_GETFD) & FD_CLOEXEC);
    EXPECT_FALSE(fcntl(foreign, F_GETFD) & FD_CLOEXEC);
    for (int fd : {old, fresh, foreign})
        close(fd);
}
