#include "tests/core/running_agent.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"

#include <climits>
#include <cstdio>
#include <gtest/gtest.h>

namespace {

using Records = std::vector<LogRecord>;

// Both connections as pairs of sockets: what the senders wrote can be read at the clients' ends.
class ASender : public testing::Test {
protected:
    ASender()
    {
        imsua::store_shared(IMS_User_Agent::__ua_tapi_asyncfd, pair(async_client));
        imsua::store_shared(IMS_User_Agent::__ua_tapi_syncfd, pair(sync_client));
    }
    ~ASender() override
    {
        ::close(asynchronous());
        ::close(synchronous());
    }
    static int pair(std::unique_ptr<StreamEnd>& client)
    {
        int ends[2] = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return -1;
        client = std::make_unique<StreamEnd>(ends[1]);
        return ends[0];
    }
    static unsigned char* body(const char* text)
    {
        return reinterpret_cast<unsigned char*>(const_cast<char*>(text));
    }

    ClassWide members;
    LogRecords log;
    TelephonyAgent agent;
    std::unique_ptr<StreamEnd> async_client;
    std::unique_ptr<StreamEnd> sync_client;
};

// ---- events ----

TEST_F(ASender, SendsAnEventOnTheAsynchronousConnection)
{
    unsigned char text[] = "hello";
    agent.send_tapi_async_message(0x1234, 5, text);
    const std::string bytes = async_client->receive(21);
    WireMessage wanted(0x1234, "hello", 0, 1);
    wanted.slot = imsua::tapi_body_slot(text);
    EXPECT_EQ(bytes, bytes_of(wanted));
    EXPECT_EQ(log.all(), (Records{{5, "send_tapi_async_message",
                                   "send async message len=21 msg_id=4660 async_fd=" +
                                       std::to_string(asynchronous())}}));
    EXPECT_TRUE(sync_client->has_nothing());
}

} // namespace
