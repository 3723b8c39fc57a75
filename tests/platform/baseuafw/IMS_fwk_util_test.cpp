#include "baseuafw/IMS_fwk_util.h"

#include "tests/platform/baseuafw/blocked_thread.h"
#include "tests/platform/baseuafw/stand_in_daemon.h"
#include "tests/support/log_records.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>

namespace {

class AConfigurationInterface : public SIP_IMS_cfg_intf {
public:
    int get_one(const std::string&, std::string&, const std::string&) override { return 0; }
    int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>&, const std::string&) override { return 0; }
    int set_one(const std::string&, const std::string&, const std::string&) override { return 0; }
    int wait_for_sync() override { return 0; }
};

class TheFrameworkSockets : public ::testing::Test {
protected:
    ~TheFrameworkSockets() override { close(); }
    int open(const char* sync, const char* async)
    {
        return IMS_fwk_util::open_framework_sockets(&connector, &intf, sync, async, &sock);
    }
    int open() { return open(daemon.sync_text().c_str(), daemon.async_text().c_str()); }
    int close() { return IMS_fwk_util::close_framework_sockets(&connector, &intf); }

    LogRecords log;
    StandInDaemon daemon{[](const std::string& request) { return request == "SYNC" ? "GO" : "1\nvalue"; }};
    IMS_socket sock;
    SIP_IMS_cfg_intf_IMS_socket* connector = nullptr;
    SIP_IMS_cfg_intf* intf = nullptr;
};

} // namespace

TEST_F(TheFrameworkSockets, AreOpenedAndClosed)
{
    ASSERT_EQ(open(), 1);
    ASSERT_NE(connector, nullptr);
    ASSERT_NE(intf, nullptr);
    EXPECT_GE(connector->get_descriptor(), 0);
    EXPECT_EQ(intf->wait_for_sync(), 0);
    std::string value;
    EXPECT_NE(intf->get_one("/a", value, "config"), 0);
    EXPECT_EQ(value, "value");
    EXPECT_EQ(close(), 1);
    EXPECT_EQ(connector, nullptr);
    EXPECT_EQ(intf, nullptr);
}

TEST_F(TheFrameworkSockets, StayClosedWithoutAPortToOpen)
{
    const std::string sync = daemon.sync_text();
    const std::string async = daemon.async_text();
    for (const char* port : {"0", "", "x", "70000", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(open(port, async.c_str()), 0);
        EXPECT_EQ(open(sync.c_str(), port), 0);
        EXPECT_EQ(connector, nullptr);
        EXPECT_EQ(intf, nullptr);
    }
}

TEST_F(TheFrameworkSockets, StayClosedWhenRefused)
{
    const std::string nobody = std::to_string(free_port());
    EXPECT_EQ(open(nobody.c_str(), daemon.async_text().c_str()), 0);
    EXPECT_EQ(open(daemon.sync_text().c_str(), nobody.c_str()), 0);
    EXPECT_EQ(connector, nullptr);
    EXPECT_EQ(intf, nullptr);
    EXPECT_EQ(log.up_to(4).size(), 2u);
}

TEST_F(TheFrameworkSockets, AreNullAfterAFailedOpeningWhateverTheyWere)
{
    AConfigurationInterface mock;
    intf = &mock;
    EXPECT_EQ(open("0", "0"), 0);
    EXPECT_EQ(intf, nullptr);
}

TEST_F(TheFrameworkSockets, LeaveObjectsBehindThatAnswerLikeLostOnes)
{
    ASSERT_EQ(open(), 1);
    SIP_IMS_cfg_intf_IMS_socket* const old_connector = connector;
    SIP_IMS_cfg_intf* const old_intf = intf;
    ASSERT_EQ(close(), 1);
    std::string value;
    EXPECT_EQ(old_connector->get_descriptor(), -1);
    EXPECT_EQ(old_intf->get_one("/a", value, "config"), 0);
    EXPECT_EQ(old_intf->set_one("/a", "x", "config"), 0);
    EXPECT_NE(old_intf->wait_for_sync(), 0);
}

TEST_F(TheFrameworkSockets, WakeTheWatcherWhenTheyAreClosed)
{
    ASSERT_EQ(open(), 1);
    sock._set(connector->get_descriptor(), "r");
    std::vector<int> readable{-7};
    int result = -7;
    {
        BlockedThread watcher([&] { result = sock._select("rw", readable); });
        EXPECT_EQ(close(), 1);
    }
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(readable.empty());
}

TEST_F(TheFrameworkSockets, ReplaceAnOpenConnection)
{
    ASSERT_EQ(open(), 1);
    SIP_IMS_cfg_intf_IMS_socket* const first = connector;
    ASSERT_EQ(open(), 1);
    EXPECT_NE(connector, first);
    EXPECT_EQ(first->get_descriptor(), -1);
    EXPECT_GE(connector->get_descriptor(), 0);
}

TEST_F(TheFrameworkSockets, CloseNothingWhenNothingIsOpen)
{
    EXPECT_EQ(close(), 0);
    EXPECT_EQ(IMS_fwk_util::close_framework_sockets(nullptr, nullptr), 0);
    EXPECT_EQ(IMS_fwk_util::open_framework_sockets(nullptr, nullptr, "1", "2", &sock), 0);
}

TEST_F(TheFrameworkSockets, LetAMockGoUntouched)
{
    AConfigurationInterface mock;
    intf = &mock;
    EXPECT_EQ(close(), 1);
    EXPECT_EQ(intf, nullptr);
}

TEST_F(TheFrameworkSockets, WorkWithoutASocketObject)
{
    ASSERT_EQ(IMS_fwk_util::open_framework_sockets(&connector, &intf, daemon.sync_text().c_str(),
                                                   daemon.async_text().c_str(), nullptr),
              1);
    EXPECT_GE(connector->get_descriptor(), 0);
}
