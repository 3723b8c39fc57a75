#include "core/IMS_thread_utility.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_records.h"

#include <atomic>
#include <cerrno>
#include <future>
#include <gtest/gtest.h>
#include <memory>

namespace {

using Records = std::vector<LogRecord>;

// A thread that stays until it is told to go, and counts how often its routine was entered.
struct Body {
    static void* run(void* self)
    {
        auto* const body = static_cast<Body*>(self);
        ++body->entered;
        body->detach_state.set_value(own_detach_state());
        body->may_go.get_future().wait();
        body->detach_state_at_end = own_detach_state();
        if (body->thread) body->on_thread = body->thread->is_this_thread();
        return nullptr;
    }
    static int own_detach_state()
    {
        int state = -1;
        pthread_attr_t attributes;
        if (::pthread_getattr_np(::pthread_self(), &attributes) != 0) return state;
        ::pthread_attr_getdetachstate(&attributes, &state);
        ::pthread_attr_destroy(&attributes);
        return state;
    }
    // For a thread that its wrapper lets go of: the thread owns the body, too.
    static void* run_shared(void* owner)
    {
        const std::unique_ptr<std::shared_ptr<Body>> body(static_cast<std::shared_ptr<Body>*>(owner));
        return run(body->get());
    }
    IMS_thread_utility* thread = nullptr;
    std::atomic<int> entered{0};
    std::atomic<bool> on_thread{false};
    std::promise<int> detach_state;
    std::atomic<int> detach_state_at_end{-1};
    std::promise<void> may_go;
};

// Only leaves by cancellation.
struct Endless {
    static void* run(void* self)
    {
        auto* const body = static_cast<Endless*>(self);
        body->started.set_value();
        for (;;)
            body->thread->testCancel();
        return nullptr;
    }
    IMS_thread_utility* thread = nullptr;
    std::promise<void> started;
};

void* leave_by_exit(void*)
{
    ::pthread_exit(nullptr);
}

class AThread : public testing::Test {
protected:
    LogRecords log;
};

TEST_F(AThread, IsDetachedByDefault)
{
    Body body;
    IMS_thread_utility thread;
    ASSERT_EQ(thread.create_thread(&Body::run, &body), 0);
    EXPECT_EQ(body.detach_state.get_future().get(), PTHREAD_CREATE_DETACHED);
    body.may_go.set_value();
    thread.wait_until_ended();
}

TEST_F(AThread, IsDetachedForType0AndJoinableForAnyOther)
{
    for (THREAD_TYPE type : {0, 1, -1}) {
        Body body;
        IMS_thread_utility thread(type);
        ASSERT_EQ(thread.create_thread(&Body::run, &body), 0);
        EXPECT_EQ(body.detach_state.get_future().get(),
                  type == 0 ? PTHREAD_CREATE_DETACHED : PTHREAD_CREATE_JOINABLE);
        body.may_go.set_value();
        thread.wait_until_ended();
    }
}

TEST_F(AThread, SaysThatItWasCreated)
{
    Body body;
    body.may_go.set_value();
    IMS_thread_utility thread;
    thread.create_thread(&Body::run, &body);
    thread.wait_until_ended();
    const auto records = log.all();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].level, 4);
    EXPECT_EQ(records[0].function, "create_thread");
    EXPECT_EQ(records[0].text.rfind("Thread created. Thread id: ", 0), 0u) << records[0].text;
}

TEST_F(AThread, IsCreatedOnlyOncePerObject)
{
    Body body;
    IMS_thread_utility thread;
    ASSERT_EQ(thread.create_thread(&Body::run, &body), 0);
    EXPECT_EQ(thread.create_thread(&Body::run, &body), 0);
    body.may_go.set_value();
    thread.wait_until_ended();
    EXPECT_EQ(thread.create_thread(&Body::run, &body), 0) << "also after it has ended";
    EXPECT_EQ(body.entered, 1);
    EXPECT_EQ(log.all().size(), 1u);
}

TEST_F(AThread, CanBeCreatedAgainAfterItsAttributesWerePreparedAnew)
{
    const auto first = std::make_shared<Body>();
    Body second;
    IMS_thread_utility thread(1);
    ASSERT_EQ(thread.create_thread(&Body::run_shared, new std::shared_ptr<Body>(first)), 0);
    thread.init_attributes(0);
    EXPECT_FALSE(thread.is_running()) << "the first goes on by itself";
    ASSERT_EQ(thread.create_thread(&Body::run, &second), 0);
    second.may_go.set_value();
    thread.wait_until_ended();
    EXPECT_EQ(second.entered, 1);
    first->detach_state.get_future().wait();
    first->may_go.set_value();
}

TEST_F(AThread, ReportsThatItCouldNotBeCreatedAndMayBeTriedAgain)
{
    Body body;
    body.may_go.set_value();
    IMS_thread_utility thread;
    {
        Failing failing(Call::pthread_create, 1);
        EXPECT_EQ(thread.create_thread(&Body::run, &body), EAGAIN);
    }
    EXPECT_EQ(log.all(), (Records{{4, "create_thread",
                                   "Thread could not be created! Error Code: " + std::to_string(EAGAIN)}}));
    EXPECT_FALSE(thread.is_running());
    thread.wait_until_ended(); // nothing to wait for
    EXPECT_EQ(thread.create_thread(&Body::run, &body), 0);
    thread.wait_until_ended();
    EXPECT_EQ(body.entered, 1);
}

TEST_F(AThread, ReportsMissingMemoryAsEnomem)
{
    Body body;
    body.may_go.set_value();
    IMS_thread_utility thread;
    for (int nth : {1, 2}) {
        Failing failing(Call::operator_new, nth);
        EXPECT_EQ(thread.create_thread(&Body::run, &body), ENOMEM);
    }
    const LogRecord wanted = {4, "create_thread",
                              "Thread could not be created! Error Code: " + std::to_string(ENOMEM)};
    EXPECT_EQ(log.all(), (Records{wanted, wanted}));
    EXPECT_EQ(body.entered, 0);
}

TEST_F(AThread, CarriesOnWithoutAttributes)
{
    Body body;
    Failing failing(Call::pthread_attr_init, 1);
    IMS_thread_utility thread;
    EXPECT_EQ(log.all(), (Records{{4, "init_attributes", "Thread attributes could not be initialized."}}));
    EXPECT_EQ(thread.create_thread(&Body::run, &body), 0);
    body.may_go.set_value();
    thread.wait_until_ended();
    EXPECT_EQ(body.entered, 1);
    EXPECT_EQ(body.detach_state_at_end, PTHREAD_CREATE_DETACHED);
}

TEST_F(AThread, EndsWhereItTestsForItsCancellation)
{
    Endless body;
    IMS_thread_utility thread;
    body.thread = &thread;
    ASSERT_EQ(thread.create_thread(&Endless::run, &body), 0);
    body.started.get_future().wait();
    EXPECT_TRUE(thread.is_running());
    thread.cancel_thread();
    thread.wait_until_ended();
    EXPECT_FALSE(thread.is_running());
}

TEST_F(AThread, CountsAsEndedAfterPthreadExit)
{
    IMS_thread_utility thread;
    ASSERT_EQ(thread.create_thread(&leave_by_exit, nullptr), 0);
    thread.wait_until_ended();
    EXPECT_FALSE(thread.is_running());
}

TEST_F(AThread, IgnoresItsCancellationBeforeAndAfterItsLife)
{
    Body body;
    body.may_go.set_value();
    IMS_thread_utility thread;
    thread.cancel_thread();
    ASSERT_EQ(thread.create_thread(&Body::run, &body), 0);
    thread.wait_until_ended();
    thread.cancel_thread();
    EXPECT_EQ(body.entered, 1);
}

TEST_F(AThread, KnowsWhetherItIsTheCaller)
{
    Body body;
    IMS_thread_utility thread;
    body.thread = &thread;
    ASSERT_EQ(thread.create_thread(&Body::run, &body), 0);
    EXPECT_FALSE(thread.is_this_thread());
    body.detach_state.get_future().wait(); // its routine runs: the start is complete
    body.may_go.set_value();
    thread.wait_until_ended();
    EXPECT_TRUE(body.on_thread);
    EXPECT_FALSE(thread.is_this_thread());
}

TEST_F(AThread, OutlivesItsWrapper)
{
    const auto body = std::make_shared<Body>();
    auto thread = std::make_unique<IMS_thread_utility>(1);
    ASSERT_EQ(thread->create_thread(&Body::run_shared, new std::shared_ptr<Body>(body)), 0);
    thread.reset();
    body->detach_state.get_future().wait();
    body->may_go.set_value();
    EXPECT_EQ(body->entered, 1);
}

// A second wrapper that is kept must not make the first unreachable: the leak checker tells.
TEST_F(AThread, StaysReachableWhenItIsKept)
{
    IMS_thread_utility::keep(new IMS_thread_utility);
    IMS_thread_utility::keep(new IMS_thread_utility);
}

} // namespace
