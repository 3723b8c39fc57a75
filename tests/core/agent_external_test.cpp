#include "tests/core/running_agent.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using Records = std::vector<LogRecord>;

const LogRecord peer_closed = {4, "wait_for_ext_message", "peer closed connection"};
const LogRecord to_framework = {5, "wait_for_ext_message",
                                "wait_for_ext_message: calling handle_fwk_message....\n"};
const LogRecord to_telephony = {5, "wait_for_ext_message",
                                "wait_for_ext_message: calling handle_tapi_message....\n"};

LogRecord received(int bytes)
{
    return {5, "wait_for_ext_message", "received " + std::to_string(bytes) + " bytes"};
}
LogRecord accepted_as(const char* name, int fd)
{
    return {5, "accept_incoming_connection", name + ("=" + std::to_string(fd))};
}

// ---- start ----

TEST_F(ARunningAgent, OpensItsSocketAndStartsItsThread)
{
    ASSERT_TRUE(start());
    EXPECT_GE(listening(), 0);
    struct stat found {};
    EXPECT_EQ(::stat("agent.sock", &found), 0);
    EXPECT_TRUE(S_ISSOCK(found.st_mode));
    EXPECT_TRUE(agent->ext_thread_->is_running());
    EXPECT_TRUE(log.has(5, "create_all_external_descriptors", "calling create_external_interface_thread"));
    EXPECT_TRUE(log.has(5, "create_external_interface_thread", "External thread created"));
    EXPECT_EQ(log.of("create_thread").size(), 1u);
}

TEST_F(ARunningAgent, StartsNoThreadWithoutItsSocket)
{
    const std::string name(200, 'n');
    IMS_daemon::__d_progname = name.c_str();
    EXPECT_EQ(agent->create_all_external_descriptors(), 0);
    EXPECT_LT(listening(), 0);
    EXPECT_FALSE(agent->ext_thread_->is_running());
    EXPECT_TRUE(log.of("create_all_external_descriptors").empty());
    EXPECT_TRUE(log.of("create_thread").empty());
}

TEST_F(ARunningAgent, OpensASocketWithoutAProgramName)
{
    IMS_daemon::__d_progname = nullptr;
    ASSERT_TRUE(start());
    EXPECT_TRUE(async_client.connect(".sock"));
}

TEST_F(ARunningAgent, SaysThatItsThreadCouldNotBeStarted)
{
    {
        const Failing failing(Call::pthread_create, 1);
        EXPECT_EQ(agent->create_all_external_descriptors(), 0);
    }
    EXPECT_TRUE(log.has(3, "create_external_interface_thread", "External thread could not be created"));
    EXPECT_EQ(agent->create_external_interface_thread(), 1) << "it may be tried again";
}

TEST_F(ARunningAgent, StartsItsThreadOnce)
{
    ASSERT_TRUE(start());
    EXPECT_EQ(agent->create_external_interface_thread(), 1);
    EXPECT_EQ(agent->ext_thread_->create_thread(&IMS_User_Agent::wrap_ext_thread, agent.get()), 0);
    EXPECT_EQ(log.of("create_thread").size(), 1u);
}

TEST_F(ARunningAgent, LivesWithoutSocketAndFramework)
{
    ASSERT_EQ(agent->create_external_interface_thread(), 1);
    stop(); // reached only if the thread, which watches nothing, can be stopped
}

TEST_F(ARunningAgent, IgnoresAThreadWithoutAnAgent)
{
    EXPECT_EQ(IMS_User_Agent::wrap_ext_thread(nullptr), nullptr);
}

// ---- telephony connections ----

TEST_F(ARunningAgent, TakesTheFirstConnectionAsTheAsynchronousOne)
{
    ASSERT_TRUE(start());
    ASSERT_TRUE(async_client.connect());
    ASSERT_TRUE(soon([] { return asynchronous() >= 0; }));
    EXPECT_EQ(synchronous(), -1);
    EXPECT_EQ(logged(accepted_as("__ua_tapi_asyncfd", asynchronous())), 1u);
    ASSERT_TRUE(sync_client.connect());
    ASSERT_TRUE(soon([] { return synchronous() >= 0; }));
    EXPECT_NE(synchronous(), asynchronous());
    EXPECT_EQ(logged(accepted_as("__ua_tapi_syncfd", synchronous())), 1u);
}

TEST_F(ARunningAgent, TakesTelephonyBytesFromBothConnections)
{
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(async_client.send(bytes_of({1, "event"})));
    ASSERT_TRUE(agent->turns(1));
    ASSERT_TRUE(sync_client.send(bytes_of({2, "request", 7})));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(1, "event"), seen_raw(2, "request", 7)}));
    EXPECT_EQ(log.of("wait_for_ext_message"),
              (Records{received(21), to_telephony, received(23), to_telephony}));
}

} // namespace
