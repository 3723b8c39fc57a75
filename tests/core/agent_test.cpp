#include "core/IMS_UA_SipServerConnListener.h"
#include "tests/core/class_wide.h"
#include "tests/core/sip_fakes.h"
#include "tests/core/test_agent.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_records.h"

#include <cstdlib>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace {

// The slot of a virtual operation, as the C++ ABI of both hosts encodes it in a pointer to member: an offset
// into the table, plus one on x86-64 (where bit 0 says "virtual"), plain on ARM (where the adjustment says
// it).
template <typename Member>
std::size_t slot_of(Member member)
{
    std::uintptr_t code = 0;
    static_assert(sizeof member >= sizeof code, "pointer to member function");
    std::memcpy(&code, &member, sizeof code);
    return code / sizeof(void*);
}

TEST(AnAgent, KeepsTheOrderOfItsVirtualOperations)
{
    using A = IMS_User_Agent;
    EXPECT_EQ(slot_of(&A::print_usage), 0u);
    // 1 and 2: the destructor
    EXPECT_EQ(slot_of(&A::handle_notify_tcp_request), 3u);
    EXPECT_EQ(slot_of(&A::handle_notify_tcp_response), 4u);
    EXPECT_EQ(slot_of(&A::handle_notify_tcp_incoming_conn), 5u);
    EXPECT_EQ(slot_of(&A::handle_notify_tcp_conn_closed), 6u);
    EXPECT_EQ(slot_of(&A::handle_notify_udp_message), 7u);
    EXPECT_EQ(slot_of(&A::open_local_notifier), 8u);
    EXPECT_EQ(slot_of(&A::handle_event), 9u);
    EXPECT_EQ(slot_of(&A::get_event_id_from_message), 10u);
}

TEST(AnAgent, IsBornWithAnEmptyQueueAndNoThread)
{
    TestAgent agent;
    EXPECT_TRUE(agent.queue_.isEmpty());
    ASSERT_NE(agent.ext_thread_, nullptr);
    EXPECT_FALSE(agent.ext_thread_->is_running());
    EXPECT_EQ(agent.tapi_ifc_, nullptr);
    EXPECT_EQ(agent.server_listener_, nullptr);
}

TEST(AnAgent, IgnoresRawTransportEvents)
{
    LogRecords log;
    TestAgent agent;
    FakeServerConnection conn;
    agent.handle_notify_tcp_request(&conn);
    agent.handle_notify_tcp_response(&conn);
    agent.handle_notify_tcp_incoming_conn(&conn);
    agent.handle_notify_tcp_conn_closed(nullptr);
    agent.handle_notify_udp_message(nullptr);
    EXPECT_TRUE(agent.queue_.isEmpty());
    EXPECT_TRUE(log.all().empty());
}

TEST(AnAgent, TakesATelephonyInterface)
{
    TestAgent agent;
    char somewhere = 0; // only its address matters
    auto* const ifc = reinterpret_cast<IMS_Tapi_ifc*>(&somewhere);
    agent.install_tapi_ifc(ifc);
    EXPECT_EQ(agent.tapi_ifc_, ifc);
    agent.install_tapi_ifc(nullptr);
    EXPECT_EQ(agent.tapi_ifc_, nullptr);
}

// ---- the end of an agent ----

TEST(ADyingAgent, TakesItsListenerOutOfEveryNotifierItOpened)
{
    ClassWide members;
    FakeConnector connector;
    FakeNotifier first, second;
    FakeNotifier* next = &first;
    connector.answer = [&](const std::string&) { return next; };
    {
        TestAgent agent;
        ASSERT_EQ(agent.open_local_notifier(5070), &first);
        next = &second;
        ASSERT_EQ(agent.open_local_notifier(5080), &second);
        EXPECT_EQ(first.listeners, second.listeners) << "one listener serves both";
    }
    for (const FakeNotifier* notifier : {&first, &second}) {
        ASSERT_EQ(notifier->listeners.size(), 2u);
        EXPECT_NE(notifier->listeners[0], nullptr);
        EXPECT_EQ(notifier->listeners[1], nullptr);
    }
}

// Whoever queued an element without seeing it dispatched still owns it.
TEST(ADyingAgent, LeavesQueuedElementsAlone)
{
    _Q_ELEMENT_T element = {MSG_TYPE_FWK, nullptr}; // freeing it would end the test
    {
        TestAgent agent;
        agent.queue_.enqueue(&element);
    }
    EXPECT_EQ(element.msg_type, MSG_TYPE_FWK);
}

// As the external-interface thread lives: cancellation only at its one test point, blocked in _select.
struct Watcher {
    static void* run(void* self)
    {
        auto* const watcher = static_cast<Watcher*>(self);
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        watcher->started.set_value();
        for (;;) {
            std::vector<int> readable;
            IMS_User_Agent::__ua_sock._select("rw", readable);
            ::pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
            watcher->thread->testCancel();
            ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        }
        return nullptr;
    }
    IMS_thread_utility* thread = nullptr;
    std::promise<void> started;
};

TEST(ADyingAgent, StopsItsThreadAndWaitsForItsEnd)
{
    Watcher watcher;
    IMS_thread_utility* thread = nullptr;
    {
        TestAgent agent;
        thread = agent.ext_thread_;
        watcher.thread = thread;
        ASSERT_EQ(thread->create_thread(&Watcher::run, &watcher), 0);
        watcher.started.get_future().wait();
        EXPECT_TRUE(thread->is_running());
    }
    EXPECT_FALSE(thread->is_running()) << "the thread object itself is not deleted";
}

void* delete_the_agent(void* agent)
{
    delete static_cast<TestAgent*>(agent);
    return nullptr;
}

TEST(ADyingAgent, DoesNotWaitForItsOwnThread)
{
    auto* const agent = new TestAgent;
    IMS_thread_utility* const thread = agent->ext_thread_;
    ASSERT_EQ(thread->create_thread(&delete_the_agent, agent), 0);
    thread->wait_until_ended();
    EXPECT_FALSE(thread->is_running());
}

TEST(AnAgentWithoutMemory, EndsTheProcessWith255)
{
    const ChildResult child = run_in_child([] {
        void* const storage = std::malloc(sizeof(TestAgent));
        Failing failing(Call::operator_new, 2); // after the queue's
        new (storage) TestAgent;
    });
    EXPECT_EQ(child.status, 255) << child.err;
    EXPECT_NE(child.err.find("[3] IMS_User_Agent: "), std::string::npos) << child.err;
}

} // namespace
