// An agent whose two telephony connections are pairs of sockets: what it sends can be read at the clients'
// ends.
#ifndef TESTS_CORE_TELEPHONY_ENDS_H_INCLUDED
#define TESTS_CORE_TELEPHONY_ENDS_H_INCLUDED

#include "tests/core/running_agent.h"

#include <gtest/gtest.h>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

class WithTelephonyEnds : public testing::Test {
protected:
    WithTelephonyEnds()
    {
        imsua::store_shared(IMS_User_Agent::__ua_tapi_asyncfd, pair(async_client));
        imsua::store_shared(IMS_User_Agent::__ua_tapi_syncfd, pair(sync_client));
    }
    ~WithTelephonyEnds() override
    {
        ::close(asynchronous());
        ::close(synchronous());
    }

    ClassWide members;
    LogRecords log;
    TelephonyAgent agent;
    std::unique_ptr<StreamEnd> async_client;
    std::unique_ptr<StreamEnd> sync_client;

private:
    static int pair(std::unique_ptr<StreamEnd>& client)
    {
        int ends[2] = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return -1;
        client = std::make_unique<StreamEnd>(ends[1]);
        return ends[0];
    }
};

#endif
