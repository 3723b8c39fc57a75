#include "tests/core/class_wide.h"
#include "tests/core/fake_store.h"
#include "tests/platform/baseuafw/stand_in_daemon.h"
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
    SIP_IMS_cfg_intf_IMS_socket* no_connector = nullptr;
    SIP_IMS_cfg_intf* no_interface = nullptr;
    EXPECT_EQ(Agent::close_framework_sockets(),
              IMS_fwk_util::close_framework_sockets(&no_connector, &no_interface));
    EXPECT_EQ(Agent::__ua_fwk_connector, nullptr);
    EXPECT_EQ(Agent::__ua_fwk_intf, nullptr);
    const auto records = log.of("close_framework_sockets");
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records[0], pointers("close_framework_sockets", "(nil)", "(nil)"));
}

// Over real sockets, with a daemon that knows one value.
TEST_F(TheFramework, IsReachedOnThePortsOfTheOptions)
{
    StandInDaemon daemon([](const std::string& request) -> std::string {
        if (request == "SYNC") return "GO";
        return request == "GET sipstackinit\n/sipstackinit/default/T1" ? "1\n750" : "0";
    });
    std::string sync = daemon.sync_text(), async = daemon.async_text();
    Agent::__ua_arg_fwksyncport = sync.data();
    Agent::__ua_arg_fwkasyncport = async.data();
    ASSERT_EQ(Agent::open_framework_sockets(), 1);
    EXPECT_NE(Agent::__ua_fwk_connector, nullptr);
    ASSERT_NE(Agent::__ua_fwk_intf, nullptr);
    Agent::wait_for_framework_init();
    SIPLIB_StackCfg cfg = {};
    Agent::init_sipstack_info(cfg, nullptr);
    EXPECT_EQ(cfg.T1, 750);

    const std::string connector = printed(Agent::__ua_fwk_connector), intf = printed(Agent::__ua_fwk_intf);
    EXPECT_EQ(Agent::close_framework_sockets(), 1);
    EXPECT_EQ(log.of("close_framework_sockets").at(0), pointers("close_framework_sockets", connector, intf));
    EXPECT_EQ(Agent::__ua_fwk_connector, nullptr);
    EXPECT_EQ(Agent::__ua_fwk_intf, nullptr);
    std::string value;
    EXPECT_EQ(Agent::get_xml_parameter("/sipstackinit/default/T1", value, "sipstackinit"), 0);
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
