#include "tests/core/class_wide.h"
#include "tests/core/fake_store.h"
#include "tests/support/log_records.h"

#include <gtest/gtest.h>

namespace {

using Agent = IMS_User_Agent;
using Records = std::vector<LogRecord>;

class TheFramework : public testing::Test {
protected:
    static LogRecord pointers(const char* function, const std::string& connector, const std::string& intf)
    {
        return {5, function, "__ua_fwk_connector =" + connector + " __ua_fwk_intf=" + intf};
    }
    static std::string printed(const void* pointer)
    {
        char text[32];
        std::snprintf(text, sizeof text, "%p", pointer);
        return text;
    }
    ClassWide members;
    LogRecords log;
    FakeStore store;
};

TEST_F(TheFramework, CannotBeReachedWithoutPorts)
{
    EXPECT_EQ(Agent::open_framework_sockets(), 0);
    EXPECT_EQ(Agent::__ua_fwk_connector, nullptr);
    EXPECT_EQ(Agent::__ua_fwk_intf, nullptr);
    const auto records = log.of("open_framework_sockets");
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records[0], pointers("open_framework_sockets", "(nil)", "(nil)"));
}

TEST_F(TheFramework, IsClosedWithoutHavingBeenOpened)
{
    Agent::close_framework_sockets();
    EXPECT_EQ(Agent::__ua_fwk_connector, nullptr);
    EXPECT_EQ(Agent::__ua_fwk_intf, nullptr);
    const auto records = log.of("close_framework_sockets");
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records[0], pointers("close_framework_sockets", "(nil)", "(nil)"));
}

TEST_F(TheFramework, IsWaitedFor)
{
    Records when_waiting;
    store.on_wait = [&] { when_waiting = log.all(); };
    Agent::__ua_fwk_intf = &store;
    Agent::wait_for_framework_init();
    const LogRecord waiting = {5, "wait_for_framework_init", "waiting for sync from framework"};
    const LogRecord resuming = {5, "wait_for_framework_init", "resuming normal operations"};
    EXPECT_EQ(when_waiting, (Records{waiting}));
    EXPECT_EQ(log.all(), (Records{waiting, resuming}));
}

TEST_F(TheFramework, IsNotWaitedForWithoutAnInterface)
{
    Agent::wait_for_framework_init();
    EXPECT_EQ(log.all(), (Records{{5, "wait_for_framework_init", "waiting for sync from framework"},
                                  {5, "wait_for_framework_init", "resuming normal operations"}}));
}

} // namespace
