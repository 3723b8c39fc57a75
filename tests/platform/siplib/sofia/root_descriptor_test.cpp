#include "siplib/sofia/root_descriptor.h"

#include <gtest/gtest.h>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

using siplib::sofia::epoll_that_watches;

namespace {

TEST(ARootDescriptor, IsTheEpollInstanceThatWatches)
{
    const int watched = eventfd(0, EFD_CLOEXEC);
    const int other = epoll_create1(EPOLL_CLOEXEC);
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    EXPECT_EQ(epoll_that_watches(watched), -1);
    epoll_event event = {};
    event.events = EPOLLIN;
    ASSERT_EQ(epoll_ctl(epoll, EPOLL_CTL_ADD, watched, &event), 0);
    EXPECT_EQ(epoll_that_watches(watched), epoll);
    EXPECT_EQ(epoll_that_watches(other), -1);
    for (const int fd : {watched, other, epoll})
        close(fd);
}

} // namespace
