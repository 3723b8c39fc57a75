#include "tests/core/sip_fakes.h"
#include "tests/core/test_agent.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_records.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

namespace {

using Records = std::vector<LogRecord>;

const LogRecord overflow = {4, "enqueue", "Message queue overflow! - Enqueue operation failed"};
const LogRecord refused = {4, "fill_queue_and_send_signal", "Enqueue operation failed"};
const LogRecord underflow = {4, "dequeue", "Message queue underflow! - Dequeue operation failed"};
const LogRecord nothing_there = {4, "handle_message", "Dequeue operation failed"};

LogRecord recognised(int status)
{
    return {5, "handle_message", "Message Recognition status=" + std::to_string(status)};
}

template <typename T>
T* allocated()
{
    return static_cast<T*>(std::calloc(1, sizeof(T)));
}

TAC_MSG_S* raw_message()
{
    auto* message = allocated<TAC_MSG_S>();
    message->body_len = 4;
    message->body = static_cast<unsigned char*>(std::malloc(4));
    return message;
}

// What the queue allocated for the only message in it.
_Q_ELEMENT_T* queued_element(TestAgent& agent)
{
    _Q_ELEMENT_T* element = nullptr;
    agent.queue_.dequeue(&element);
    agent.queue_.enqueue(element);
    return element;
}

// For a child that ends: tells on its standard output how many watched blocks were freed by then.
void tell_freed_at_exit()
{
    std::atexit([] { std::printf("freed %d", Watched::freed()); });
}

IMS_MAPPED_MSG_S* mapped_message()
{
    auto* message = allocated<IMS_MAPPED_MSG_S>();
    message->body_len = 4;
    message->body = std::malloc(4);
    return message;
}

DialogMessageRecord* dialog_record(int result, SIPLIB_SIPObject* object)
{
    auto* record = allocated<DialogMessageRecord>();
    record->result_code = result;
    record->object = object;
    return record;
}

class AMainLoop : public testing::Test {
protected:
    // Whoever queued an element owns it until it was dispatched: nothing may stay behind.
    ~AMainLoop() override
    {
        agent.on_event = nullptr;
        agent.on_event_id = nullptr;
        while (!agent.queue_.isEmpty())
            agent.process_one_message();
    }
    void turn(int times = 1)
    {
        for (int i = 0; i < times; ++i)
            agent.process_one_message();
    }
    // Elements of a kind that nobody frees.
    void fill(int count)
    {
        for (int i = 0; i < count; ++i)
            agent.fill_queue_and_send_signal(3, &numbers[i]);
    }
    int numbers[60] = {};
    LogRecords log;
    TestAgent agent;
};

// ---- dispatch ----

TEST_F(AMainLoop, HandsOverEveryKindInTheOrderOfArrival)
{
    for (MSG_TYPE kind : {3, 8, 4, 7, 5, 6, 12, -5})
        agent.fill_queue_and_send_signal(kind, &numbers[0]);
    turn(8);
    ASSERT_EQ(agent.events.size(), 8u);
    const MSG_TYPE kinds[] = {3, 8, 4, 7, 5, 6, 12, -5};
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(agent.events[i].kind, kinds[i]);
        EXPECT_EQ(agent.events[i].id, 1000u + static_cast<unsigned int>(kinds[i]));
        EXPECT_EQ(agent.events[i].data, &numbers[0]);
    }
}

TEST_F(AMainLoop, LogsWhatTheHandlerAnswered)
{
    agent.status = 65535;
    agent.fill_queue_and_send_signal(3, nullptr);
    turn();
    EXPECT_EQ(log.all(), (Records{recognised(65535)}));
}

TEST_F(AMainLoop, AsksForTheNumberWithTheWholeElement)
{
    agent.on_event_id = [&](const _Q_ELEMENT_T& element) {
        EXPECT_EQ(element.msg_type, 5);
        EXPECT_EQ(element.data, &numbers[2]);
    };
    agent.fill_queue_and_send_signal(5, &numbers[2]);
    turn();
    EXPECT_EQ(agent.events.size(), 1u);
}

TEST_F(AMainLoop, LetsAHandlerQueueMore)
{
    agent.on_event = [&](void* data) {
        if (data == &numbers[0]) agent.fill_queue_and_send_signal(3, &numbers[1]);
    };
    agent.fill_queue_and_send_signal(3, &numbers[0]);
    turn(2);
    EXPECT_EQ(agent.events.back().data, &numbers[1]);
}

TEST_F(AMainLoop, LetsAnotherThreadQueueWhileAHandlerRuns)
{
    agent.on_event = [&](void* data) {
        if (data == &numbers[0])
            std::thread([&] { agent.fill_queue_and_send_signal(3, &numbers[1]); }).join();
    };
    agent.fill_queue_and_send_signal(3, &numbers[0]);
    turn(2);
    EXPECT_EQ(agent.events.back().data, &numbers[1]);
}

TEST_F(AMainLoop, LetsAnotherThreadQueueWhileItReceivesAndAsksForTheNumber)
{
    FakeClientConnection response;
    const auto queue_elsewhere = [&] {
        std::thread([&] { agent.fill_queue_and_send_signal(3, &numbers[1]); }).join();
    };
    response.on_receive = queue_elsewhere;
    agent.on_event_id = [&](const _Q_ELEMENT_T& element) {
        if (element.data == static_cast<SIPLIB_SIPConnection*>(&response)) queue_elsewhere();
    };
    agent.handle_notify_response(&response);
    turn(3);
    EXPECT_EQ(agent.events.size(), 3u);
}

// What is freed here is proven by the leak checker.
TEST_F(AMainLoop, FreesTheKindsThatPassToTheQueue)
{
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_RAW, raw_message());
    agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, dialog_record(19, nullptr));
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_MAPPED, mapped_message());
    agent.fill_queue_and_send_signal(MSG_TYPE_FWK, ::strdup("header\n/a/b\n"));
    turn(4);
    EXPECT_EQ(agent.events.size(), 4u);
}

// That the payloads are freed is proven by the leak checker.
TEST_F(AMainLoop, DropsWhatIsQueuedWithoutDispatchingIt)
{
    FakeClientConnection response;
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_RAW, raw_message());
    agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, dialog_record(0, &response));
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_MAPPED, mapped_message());
    agent.fill_queue_and_send_signal(MSG_TYPE_FWK, ::strdup("header\n/a/b\n"));
    agent.handle_notify_response(&response);
    agent.drop_queued();
    EXPECT_TRUE(agent.queue_.isEmpty());
    EXPECT_TRUE(agent.events.empty());
    EXPECT_EQ(response.receives, 0);
}

// The answer is logged while the message still exists, which is freed before the next turn.
TEST(ADispatchedMessage, IsFreedOnceItsAnswerWasLogged)
{
    const ChildResult child = run_in_child([] {
        TestAgent agent;
        agent.fill_queue_and_send_signal(MSG_TYPE_FWK, ::strdup("text"));
        const _Q_ELEMENT_T* const element = queued_element(agent);
        Watched::watch(element);
        Watched::watch(element->data);
        IMS_log::set_sink([](void*, int, const char*, const char*) { std::printf("%d ", Watched::freed()); },
                          nullptr);
        agent.process_one_message();
        std::printf("%d", Watched::freed());
        std::fflush(stdout);
    });
    EXPECT_EQ(child.out, "0 2") << child.err;
}

TEST_F(AMainLoop, FreesThePayloadInTheStateTheHandlerLeft)
{
    void* taken = nullptr;
    agent.on_event = [&](void* data) {
        auto* message = static_cast<TAC_MSG_S*>(data);
        taken = message->body;
        message->body = nullptr;
    };
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_RAW, raw_message());
    turn();
    ASSERT_NE(taken, nullptr);
    std::free(taken); // the handler's now
}

TEST_F(AMainLoop, DispatchesNullDataOfEveryKind)
{
    for (MSG_TYPE kind = 0; kind <= 12; ++kind)
        agent.fill_queue_and_send_signal(kind, nullptr);
    turn(13);
    ASSERT_EQ(agent.events.size(), 13u);
    for (const auto& event : agent.events)
        EXPECT_EQ(event.data, nullptr);
}

TEST_F(AMainLoop, DispatchesWhatTheNotificationOperationsQueue)
{
    FakeClientConnection response;
    FakeServerConnection request;
    agent.handle_notify_response(&response);
    agent.handle_notify_request(&request);
    agent.handle_notify_response(nullptr);
    agent.handle_notify_request(nullptr);
    turn(4);
    EXPECT_EQ(agent.events[0].kind, MSG_TYPE_SIP_RESPONSE);
    EXPECT_EQ(static_cast<SIPLIB_SIPConnection*>(agent.events[0].data), &response);
    EXPECT_EQ(agent.events[1].kind, MSG_TYPE_SIP_REQUEST);
    EXPECT_EQ(agent.events[2].kind, MSG_TYPE_SIP_RESPONSE);
    EXPECT_EQ(agent.events[3].kind, MSG_TYPE_SIP_REQUEST);
}

// ---- receiving before dispatch ----

TEST_F(AMainLoop, ReceivesAResponseBeforeItAsksForTheNumber)
{
    FakeClientConnection response;
    agent.on_event_id = [&](const _Q_ELEMENT_T&) { EXPECT_EQ(response.receives, 1); };
    agent.handle_notify_response(&response);
    turn();
    EXPECT_EQ(agent.events.size(), 1u);
    EXPECT_EQ(response.receives, 1);
}

TEST_F(AMainLoop, DoesNotReceiveARequest)
{
    FakeServerConnection request;
    agent.handle_notify_request(&request);
    turn();
    EXPECT_EQ(request.receives, 0);
}

TEST_F(AMainLoop, ReceivesTheObjectOfADialogRecord)
{
    FakeDialog dialog;
    FakeClientConnection connection;
    agent.on_event_id = [&](const _Q_ELEMENT_T&) { EXPECT_GE(dialog.receives, 1); };
    for (int result : {0, 18, 20, 30, 32, -19})
        agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, dialog_record(result, &dialog));
    agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, dialog_record(0, &connection));
    turn(7);
    EXPECT_EQ(dialog.receives, 6);
    EXPECT_EQ(connection.receives, 1);
}

TEST_F(AMainLoop, DoesNotReceiveADialogRecordWithResult19Or31)
{
    FakeDialog dialog;
    dialog.result = 1; // would end the process
    agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, dialog_record(19, &dialog));
    agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, dialog_record(31, &dialog));
    turn(2);
    EXPECT_EQ(dialog.receives, 0);
    EXPECT_EQ(agent.events.size(), 2u);
}

TEST_F(AMainLoop, DispatchesADialogRecordWithoutAnObject)
{
    agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, dialog_record(0, nullptr));
    turn();
    EXPECT_EQ(agent.events.size(), 1u);
}

// The third virtual operation in the table itself: the destructor takes two entries.
TEST(TheReceiveOperation, IsTheThirdVirtualOperationOfConnectionsAndDialogs)
{
    FakeClientConnection connection;
    FakeDialog dialog;
    SIPLIB_SIPObject* const objects[] = {&connection, &dialog};
    using Receive = int (*)(SIPLIB_SIPObject*);
    for (SIPLIB_SIPObject* object : objects) {
        void** table = nullptr;
        std::memcpy(&table, static_cast<void*>(object), sizeof table);
        Receive third = nullptr;
        std::memcpy(&third, &table[3], sizeof third);
        EXPECT_EQ(third(object), 0);
    }
    EXPECT_EQ(connection.receives, 1);
    EXPECT_EQ(dialog.receives, 1);
}

TEST(AFailedReceive, OfAResponseEndsTheProcessWith1)
{
    const ChildResult child = run_in_child([] {
        FakeClientConnection response;
        response.result = 108;
        TestAgent agent;
        agent.handle_notify_response(&response);
        Watched::watch(queued_element(agent));
        tell_freed_at_exit();
        agent.handle_message();
    });
    EXPECT_EQ(child.status, 1) << child.err;
    EXPECT_EQ(child.out, "freed 1") << "the element";
    EXPECT_NE(child.err.find("[3] handle_message: client_connection receive failed status: 108\n"),
              std::string::npos)
        << child.err;
}

TEST(AFailedReceive, OfADialogEndsTheProcessWith1)
{
    const ChildResult child = run_in_child([] {
        FakeDialog dialog;
        dialog.result = -3;
        TestAgent agent;
        DialogMessageRecord* const record = dialog_record(0, &dialog);
        agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, record);
        Watched::watch(queued_element(agent));
        Watched::watch(record);
        tell_freed_at_exit();
        agent.handle_message();
    });
    EXPECT_EQ(child.status, 1) << child.err;
    EXPECT_EQ(child.out, "freed 2") << "the element and the record";
    EXPECT_NE(child.err.find("[3] handle_message: dialog receive failed status: -3\n"), std::string::npos)
        << child.err;
    EXPECT_EQ(child.err.find("Message Recognition"), std::string::npos) << "nothing was dispatched";
}

// ---- the bound ----

TEST_F(AMainLoop, AcceptsThe51stMessage)
{
    fill(51);
    EXPECT_TRUE(log.all().empty());
}

TEST_F(AMainLoop, DropsThe52ndMessageWithTwoLines)
{
    fill(52);
    EXPECT_EQ(log.all(), (Records{overflow, refused}));
    turn(51);
    EXPECT_EQ(agent.events.back().data, &numbers[50]);
    EXPECT_TRUE(agent.queue_.isEmpty());
}

// Freed or not: the leak checker and the free below tell.
TEST_F(AMainLoop, FreesARefusedPayloadOfKinds0And10And11)
{
    fill(51);
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_RAW, raw_message());
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_MAPPED, mapped_message());
    agent.fill_queue_and_send_signal(MSG_TYPE_FWK, ::strdup("text"));
    for (MSG_TYPE kind : {0, 10, 11})
        agent.fill_queue_and_send_signal(kind, nullptr);
    EXPECT_EQ(log.of("enqueue").size(), 6u);
    EXPECT_EQ(log.of("fill_queue_and_send_signal").size(), 6u);
}

TEST_F(AMainLoop, LeavesEveryOtherRefusedPayloadToItsProducer)
{
    fill(51);
    FakeDialog dialog;
    DialogMessageRecord* const record = dialog_record(4, &dialog);
    agent.fill_queue_and_send_signal(MSG_TYPE_DIALOG, record);
    FakeClientConnection connection;
    agent.handle_notify_response(&connection);
    agent.handle_notify_request(&connection);
    for (MSG_TYPE kind = 3; kind <= 8; ++kind)
        agent.fill_queue_and_send_signal(kind, &numbers[0]);
    EXPECT_EQ(record->result_code, 4);
    EXPECT_EQ(connection.receives, 0);
    std::free(record);
}

TEST_F(AMainLoop, TakesMessagesAgainOnceThereIsRoom)
{
    fill(52);
    turn();
    agent.fill_queue_and_send_signal(3, &numbers[59]);
    turn(51);
    EXPECT_EQ(agent.events.back().data, &numbers[59]);
}

// ---- waiting ----

TEST_F(AMainLoop, ReportsAWakeUpThatFindsNothing)
{
    // Repeats the signal until the loop has taken one: it may not be waiting yet when the first comes.
    std::mutex m;
    std::condition_variable changed;
    bool woken = false;
    std::thread loop([&] {
        agent.process_one_message();
        std::lock_guard<std::mutex> guard(m);
        woken = true;
        changed.notify_one();
    });
    std::unique_lock<std::mutex> lock(m);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!woken && std::chrono::steady_clock::now() < deadline) {
        agent.mutex_.lock();
        agent.mutex_.signal();
        agent.mutex_.unlock();
        changed.wait_for(lock, std::chrono::milliseconds(5));
    }
    lock.unlock();
    loop.join();
    EXPECT_EQ(log.all(), (Records{underflow, nothing_there}));
    EXPECT_TRUE(agent.events.empty());
    agent.fill_queue_and_send_signal(3, &numbers[0]); // would wait for ever if the mutex were still held
    turn();
    EXPECT_EQ(agent.events.size(), 1u);
}

TEST_F(AMainLoop, WakesUpForAMessage)
{
    std::thread producer([&] { agent.fill_queue_and_send_signal(3, &numbers[0]); });
    while (agent.events.empty())
        turn();
    producer.join();
    EXPECT_EQ(agent.events.back().data, &numbers[0]);
}

// ---- many producers ----

TEST(ManyProducers, LoseNothingAndKeepTheirOwnOrderBelowTheBound)
{
    constexpr int producers = 4;
    constexpr int each = 500;
    struct Numbered {
        int producer, number;
    };
    LogRecords log;
    TestAgent agent;
    std::mutex m;
    std::condition_variable room;
    int held = 0; // what producers have put in and the loop has not taken out
    Numbered payloads[producers][each] = {};
    int next[producers] = {};
    int wrong = 0;
    agent.on_event = [&](void* data) {
        const auto* got = static_cast<Numbered*>(data);
        if (got->number != next[got->producer]++) ++wrong;
        std::lock_guard<std::mutex> guard(m);
        --held;
        room.notify_one();
    };
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p)
        threads.emplace_back([&, p] {
            for (int i = 0; i < each; ++i) {
                std::unique_lock<std::mutex> lock(m);
                room.wait(lock, [&] { return held < 50; });
                ++held;
                lock.unlock();
                payloads[p][i] = {p, i};
                agent.fill_queue_and_send_signal(3, &payloads[p][i]);
            }
        });
    while (agent.events.size() < static_cast<std::size_t>(producers) * each)
        agent.process_one_message();
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    for (int p = 0; p < producers; ++p)
        EXPECT_EQ(next[p], each);
}

TEST(ManyProducers, AboveTheBoundEveryMessageIsEitherDispatchedOrReportedAsDropped)
{
    constexpr int producers = 4;
    constexpr int each = 500;
    LogRecords log;
    TestAgent agent;
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p)
        threads.emplace_back([&] {
            for (int i = 0; i < each; ++i)
                agent.fill_queue_and_send_signal(MSG_TYPE_FWK, ::strdup("text"));
        });
    for (auto& thread : threads)
        thread.join();
    while (!agent.queue_.isEmpty())
        agent.process_one_message();
    EXPECT_EQ(agent.events.size() + log.of("fill_queue_and_send_signal").size(),
              static_cast<std::size_t>(producers) * each);
    EXPECT_EQ(agent.events.size(), 51u);
}

// ---- the base class alone ----

class PlainAgent : public IMS_User_Agent {
public:
    using IMS_User_Agent::process_one_message;
};

TEST(ABareAgent, ConsumesAndFreesEveryElement)
{
    LogRecords log;
    PlainAgent agent;
    FakeClientConnection response;
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_RAW, raw_message());
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_MAPPED, mapped_message());
    agent.fill_queue_and_send_signal(MSG_TYPE_FWK, ::strdup("text"));
    agent.handle_notify_response(&response);
    for (int i = 0; i < 4; ++i)
        agent.process_one_message();
    EXPECT_EQ(log.all(), Records(4, recognised(0)));
}

TEST(ABareAgent, RecognisesNothing)
{
    PlainAgent agent;
    _Q_ELEMENT_T element = {MSG_TYPE_FWK, nullptr};
    EXPECT_EQ(agent.get_event_id_from_message(&element), 0u);
    EXPECT_EQ(agent.handle_event(7, nullptr), 0);
}

// ---- no memory ----

TEST(AProducerWithoutMemory, EndsTheProcessWith1)
{
    const ChildResult child = run_in_child([] {
        TestAgent agent;
        char* text = ::strdup("text");
        Watched::watch(text);
        tell_freed_at_exit();
        Failing failing(Call::malloc, 1);
        agent.fill_queue_and_send_signal(MSG_TYPE_FWK, text);
    });
    EXPECT_EQ(child.status, 1) << child.err;
    EXPECT_EQ(child.out, "freed 1") << "the text";
    EXPECT_NE(child.err.find("[3] fill_queue_and_send_signal: Could not allocate memory for queue node!\n"),
              std::string::npos)
        << child.err;
}

} // namespace
