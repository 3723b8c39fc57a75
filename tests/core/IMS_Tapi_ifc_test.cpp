#include "core/IMS_Tapi_ifc.h"

#include "tests/core/full_holds.h"
#include "tests/core/telephony_agent.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/log_records.h"

#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Records = std::vector<LogRecord>;

// ---- the lines that are contract ----

const LogRecord entered = {5, "handle_tapi_message", "In handle_tapi_message\n"};
const LogRecord incomplete = {4, "handle_tapi_message", "Incomplete bytes for TAPI message"};
const LogRecord no_memory = {3, "handle_tapi_message", "cannot allocate memory for tapi message !"};
const LogRecord no_body_memory = {4, "handle_tapi_message", "cannot allocate memory for tapi message body!"};
const LogRecord is_raw = {5, "handle_tapi_message", "handle_tapi_message: Msg to be sent = tapi_message\n"};
const LogRecord sent = {5, "handle_tapi_message", "handle_tapi_message: Msg Sent to UA\n"};
const LogRecord forwarding = {
    5, "handle_tapi_message",
    "handle_tapi_message: tapi_map_ptr is not NULL - forwarding event to derive IFC class\n"};
const LogRecord in_event = {5, "handle_tapi_event", "In handle_tapi_event\n"};
const LogRecord has_function = {5, "handle_tapi_event", "handle_tapi_event: found match and function\n"};

LogRecord remaining(int bytes)
{
    return {5, "handle_tapi_message",
            "handle_tapi_message: len remaining: " + std::to_string(bytes) + ", sizeof(TAC_MSG_S): 16"};
}
LogRecord message_id(int id)
{
    return {5, "handle_tapi_message", "handle_tapi_message: TapiMsgID=" + std::to_string(id) + "\n"};
}
LogRecord record_number(int number)
{
    return {5, "handle_tapi_message", "handle_tapi_message: IMSMsgID=" + std::to_string(number) + "\n"};
}
LogRecord match(int id)
{
    return {5, "handle_tapi_event",
            "handle_tapi_event: found match - TapiMsgID=" + std::to_string(id) + "\n"};
}

// ---- actions ----

void* map_to_1000_more(TAC_MSG_S* msg)
{
    const char* const body = reinterpret_cast<const char*>(msg->body);
    return new_record(1000u + msg->msg_id, body ? std::string(body, msg->body_len) : std::string());
}

void* map_to_nothing(TAC_MSG_S*)
{
    return nullptr;
}

// The daemon keeps the received body as its record's own.
void* take_the_body(TAC_MSG_S* msg)
{
    IMS_MAPPED_MSG_S* const record = new_record(7);
    record->body = msg->body;
    record->body_len = msg->body_len;
    msg->body = nullptr;
    return record;
}

void* map_to_the_largest_number(TAC_MSG_S*)
{
    return new_record(0xffffffffu);
}

constexpr TAPI_EVENT_ACTION_TABLE_T table[] = {
    {1, &map_to_1000_more},
    {2, &map_to_nothing},
    {3, &take_the_body},
    {1, &map_to_nothing}, // never reached: the first row counts
    {4, &map_to_the_largest_number},
    {65535, &map_to_1000_more},
    {TAPI_TABLE_END, nullptr},
    {5, &map_to_1000_more}, // behind the end
};
constexpr TAPI_EVENT_ACTION_TABLE_T empty_table[] = {{TAPI_TABLE_END, &map_to_1000_more}};

class ATelephonyInterface : public testing::Test {
protected:
    // From a block of exactly that size, at an odd address: what lies beyond or a cast is told by a
    // sanitizer.
    void receive(const std::string& bytes)
    {
        const std::unique_ptr<unsigned char[]> block(new unsigned char[bytes.size() + 1]);
        std::memcpy(block.get() + 1, bytes.data(), bytes.size());
        ifc.handle_tapi_message(block.get() + 1, static_cast<int>(bytes.size()));
    }
    std::vector<Seen> dispatched()
    {
        agent.drain();
        return agent.seen;
    }
    LogRecords log;
    TelephonyAgent agent;
    IMS_Tapi_ifc ifc{&agent};
};

// ---- the object ----

class CountsItsEnd : public IMS_Tapi_ifc {
public:
    explicit CountsItsEnd(int& ends) : IMS_Tapi_ifc(nullptr), ends_(ends) {}
    ~CountsItsEnd() override { ++ends_; }
    int create_listener() override { return 12; }
    using IMS_Tapi_ifc::tapi_map_ptr;
    using IMS_Tapi_ifc::ua_;

private:
    int& ends_;
};

TEST_F(ATelephonyInterface, HasNothingToSetUpItself)
{
    EXPECT_EQ(ifc.create_listener(), 0);
    EXPECT_TRUE(log.all().empty());
}

TEST_F(ATelephonyInterface, IsMeantToBeDerivedFrom)
{
    int ends = 0;
    {
        const std::unique_ptr<IMS_Tapi_ifc> derived = std::make_unique<CountsItsEnd>(ends);
        EXPECT_EQ(derived->create_listener(), 12);
    }
    EXPECT_EQ(ends, 1);
}

TEST_F(ATelephonyInterface, KnowsItsAgentAndItsTable)
{
    int ends = 0;
    CountsItsEnd derived(ends);
    EXPECT_EQ(derived.ua_, nullptr);
    EXPECT_EQ(derived.tapi_map_ptr, nullptr);
    derived.initialize_event_tbl(table);
    EXPECT_EQ(derived.tapi_map_ptr, table);
    derived.initialize_event_tbl(nullptr);
    EXPECT_EQ(derived.tapi_map_ptr, nullptr);
}

// ---- raw messages ----

TEST_F(ATelephonyInterface, QueuesAMessageWithoutABody)
{
    receive(bytes_of({100, "", 0x01020304, 9}));
    EXPECT_EQ(log.all(), (Records{entered, remaining(0), is_raw, sent}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(100, "", 0x01020304, 9)}));
}

TEST_F(ATelephonyInterface, QueuesAMessageWithItsBody)
{
    receive(bytes_of({65535, "a body", 0xffffffff, 255}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(65535, "a body", 0xffffffff, 255)}));
}

TEST_F(ATelephonyInterface, KeepsZeroBytesOfABody)
{
    const std::string body("\0\0x\0", 4);
    receive(bytes_of({1, body}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(1, body)}));
}

TEST_F(ATelephonyInterface, NeverTakesAPointerFromThePeer)
{
    agent.on_event = [](void* data) { EXPECT_EQ(static_cast<TAC_MSG_S*>(data)->body, nullptr); };
    WireMessage message;
    message.slot = 0x41414141;
    receive(bytes_of(message));
    EXPECT_EQ(dispatched().size(), 1u);
}

TEST_F(ATelephonyInterface, KeepsTheReservedBytes)
{
    std::string bytes = bytes_of({1});
    bytes[1] = 'a';
    bytes[3] = 'c';
    agent.on_event = [](void* data) {
        EXPECT_EQ(static_cast<TAC_MSG_S*>(data)->reserved[0], 'a');
        EXPECT_EQ(static_cast<TAC_MSG_S*>(data)->reserved[2], 'c');
    };
    receive(bytes);
    EXPECT_EQ(dispatched().size(), 1u);
}

TEST_F(ATelephonyInterface, QueuesTwoMessagesOfOneReadInTheirOrder)
{
    receive(bytes_of({{1, "first"}, {2, ""}}));
    EXPECT_EQ(log.all(), (Records{entered, remaining(16), is_raw, sent, remaining(0), is_raw, sent}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(1, "first"), seen_raw(2)}));
}

TEST_F(ATelephonyInterface, DropsFourTrailingBytes)
{
    receive(bytes_of({1}) + "abcd");
    EXPECT_EQ(log.all(), (Records{entered, remaining(4), is_raw, sent}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(1)}));
}

TEST_F(ATelephonyInterface, DropsFifteenTrailingBytesButNotSixteen)
{
    receive(bytes_of({1}) + std::string(15, 'x'));
    EXPECT_EQ(dispatched().size(), 1u);
    receive(bytes_of({1}) + bytes_of({2}));
    EXPECT_EQ(dispatched().size(), 3u);
}

TEST_F(ATelephonyInterface, RefusesFewerThanSixteenBytes)
{
    unsigned char bytes[16] = {};
    for (int len : {15, 1, 0, -1, -2147483647 - 1}) {
        log.clear();
        ifc.handle_tapi_message(bytes, len);
        EXPECT_EQ(log.all(), (Records{entered, incomplete})) << len;
    }
    EXPECT_TRUE(dispatched().empty());
}

TEST_F(ATelephonyInterface, RefusesANullBuffer)
{
    ifc.handle_tapi_message(nullptr, 64);
    EXPECT_EQ(log.all(), (Records{entered, incomplete}));
}

TEST_F(ATelephonyInterface, FillsABodyThatWasCutWithZeros)
{
    WireMessage cut = {1, "abcd"};
    cut.claimed = 10;
    receive(bytes_of(cut));
    EXPECT_EQ(log.all(), (Records{entered, remaining(-6), is_raw, sent}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(1, "abcd" + std::string(6, '\0'))}));
}

TEST_F(ATelephonyInterface, AllocatesTheLargestBodyThatIsClaimedWithoutBeingThere)
{
    WireMessage cut = {1, ""};
    cut.claimed = 65535;
    receive(bytes_of(cut));
    EXPECT_EQ(log.all(), (Records{entered, remaining(-65535), is_raw, sent}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(1, std::string(65535, '\0'))}));
}

TEST_F(ATelephonyInterface, TakesTheBodyOfACutMessageFromWhatFollows)
{
    WireMessage cut = {1, ""};
    cut.claimed = 17;
    receive(bytes_of(cut) + bytes_of({2}));
    EXPECT_EQ(log.all(), (Records{entered, remaining(-1), is_raw, sent}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(1, bytes_of({2}) + std::string(1, '\0'))}));
}

TEST_F(ATelephonyInterface, QueuesAsManyMessagesAsOneReadCanHold)
{
    std::string bytes;
    for (std::uint16_t i = 0; i < 50; ++i)
        bytes += bytes_of({i});
    receive(bytes);
    const std::vector<Seen> seen = dispatched();
    ASSERT_EQ(seen.size(), 50u);
    for (std::uint32_t i = 0; i < 50; ++i)
        EXPECT_EQ(seen[i].id, i);
}

TEST_F(ATelephonyInterface, LosesWhatTheQueueHasNoRoomFor)
{
    std::string bytes;
    for (std::uint16_t i = 0; i < 60; ++i)
        bytes += bytes_of({i, "body"});
    receive(bytes);
    EXPECT_EQ(log.of("fill_queue_and_send_signal").size(), 9u);
    EXPECT_EQ(dispatched().size(), 51u);
    EXPECT_EQ(agent.seen.back(), seen_raw(50, "body"));
}

TEST_F(ATelephonyInterface, WithoutAnAgentFreesWhatItSplit)
{
    IMS_Tapi_ifc alone(nullptr);
    std::string bytes = bytes_of({{1, "body"}, {2}});
    alone.handle_tapi_message(reinterpret_cast<unsigned char*>(&bytes[0]), static_cast<int>(bytes.size()));
    EXPECT_EQ(log.all(), (Records{entered, remaining(16), is_raw, remaining(0), is_raw}));
    alone.initialize_event_tbl(table);
    log.clear();
    bytes = bytes_of({{1, "body"}});
    alone.handle_tapi_message(reinterpret_cast<unsigned char*>(&bytes[0]), static_cast<int>(bytes.size()));
    EXPECT_EQ(log.all(), (Records{entered, remaining(0), forwarding, message_id(1), in_event, match(1),
                                  has_function, record_number(1001)}));
}

// ---- mapped messages ----

class AMappingInterface : public ATelephonyInterface {
protected:
    AMappingInterface() { ifc.initialize_event_tbl(table); }
};

TEST_F(AMappingInterface, QueuesTheRecordOfTheAction)
{
    receive(bytes_of({1, "body"}));
    EXPECT_EQ(log.all(), (Records{entered, remaining(0), forwarding, message_id(1), in_event, match(1),
                                  has_function, record_number(1001), sent}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_mapped(1001, "body")}));
}

TEST_F(AMappingInterface, LogsARecordsNumberAsASignedOne)
{
    receive(bytes_of({4}));
    EXPECT_TRUE(log.has(5, "handle_tapi_message", "handle_tapi_message: IMSMsgID=-1\n"));
}

TEST_F(AMappingInterface, QueuesNothingForAnActionThatReturnsNull)
{
    receive(bytes_of({2, "body"}));
    EXPECT_EQ(log.all(),
              (Records{entered, remaining(0), forwarding, message_id(2), in_event, match(2), has_function}));
    EXPECT_TRUE(dispatched().empty());
}

TEST_F(AMappingInterface, QueuesNothingForAnIdWithoutARow)
{
    for (std::uint16_t id : {std::uint16_t{99}, std::uint16_t{TAPI_TABLE_END}, std::uint16_t{5}}) {
        log.clear();
        receive(bytes_of({id}));
        EXPECT_EQ(log.all(), (Records{entered, remaining(0), forwarding, message_id(id), in_event}));
    }
    EXPECT_TRUE(dispatched().empty());
}

TEST_F(AMappingInterface, FindsNothingInAnEmptyTable)
{
    ifc.initialize_event_tbl(empty_table);
    receive(bytes_of({1}));
    EXPECT_TRUE(dispatched().empty());
}

TEST_F(AMappingInterface, LetsAnActionTakeTheBody)
{
    receive(bytes_of({3, "taken"}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_mapped(7, "taken")}));
}

TEST_F(AMappingInterface, QueuesTheLastRecordAgainForAMessageThatMapsToNothing)
{
    std::vector<void*> records;
    agent.on_event = [&](void* data) { records.push_back(data); };
    receive(bytes_of({{1, "kept"}, {2}}));
    EXPECT_EQ(log.all(), (Records{entered, remaining(16), forwarding, message_id(1), in_event, match(1),
                                  has_function, record_number(1001), sent, remaining(0), forwarding,
                                  message_id(2), in_event, match(2), has_function, sent}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_mapped(1001, "kept"), seen_mapped(1001, "kept")}));
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0], records[1]) << "the same record";
}

TEST_F(AMappingInterface, KeepsTheOrderOfRecordsThatAreQueuedAgain)
{
    receive(bytes_of({{2}, {1, "a"}, {99}, {65535, "b"}, {2}, {2}, {1, "c"}}));
    const Seen a = seen_mapped(1001, "a");
    const Seen b = seen_mapped(1000u + 65535u, "b");
    EXPECT_EQ(dispatched(), (std::vector<Seen>{a, a, b, b, b, seen_mapped(1001, "c")}));
}

TEST_F(AMappingInterface, ForgetsTheRecordAtTheEndOfTheRead)
{
    receive(bytes_of({1}));
    receive(bytes_of({2}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_mapped(1001)}));
}

TEST_F(AMappingInterface, LeavesARecordsBodyToAHandlerThatTakesIt)
{
    std::vector<void*> taken;
    agent.on_event = [&](void* data) {
        auto* const record = static_cast<IMS_MAPPED_MSG_S*>(data);
        if (record->body) taken.push_back(record->body);
        record->body = nullptr;
    };
    receive(bytes_of({{1, "mine"}, {2}}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_mapped(1001, "mine"), seen_mapped(1001)}));
    ASSERT_EQ(taken.size(), 1u);
    std::free(taken[0]);
}

// Told by the address sanitizer: the overflow frees neither too early nor too often.
TEST_F(AMappingInterface, FreesARecordOnceWhenTheQueueIsFull)
{
    std::string bytes = bytes_of({1, "body"});
    for (int i = 0; i < 60; ++i)
        bytes += bytes_of({2});
    receive(bytes);
    EXPECT_EQ(dispatched().size(), 51u);
    agent.seen.clear();
    receive(bytes_of({1, "after"}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_mapped(1001, "after")}));
}

TEST_F(AMappingInterface, FreesARecordThatFoundNoRoomAtAll)
{
    for (int i = 0; i < 51; ++i)
        agent.fill_queue_and_send_signal(3, nullptr);
    receive(bytes_of({{1, "body"}, {2}}));
    EXPECT_EQ(log.of("fill_queue_and_send_signal").size(), 2u);
    EXPECT_TRUE(dispatched().empty());
}

TEST_F(AMappingInterface, FreesARecordThatADaemonQueuedTwiceItself)
{
    IMS_MAPPED_MSG_S* const record = new_record(8, "x");
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_MAPPED, record);
    agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_MAPPED, record);
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_mapped(8, "x"), seen_mapped(8, "x")}));
}

// The main loop dispatches and frees while the read goes on: each record is seen as often as it was queued.
TEST_F(AMappingInterface, MayQueueARecordAgainThatTheMainLoopIsDoneWith)
{
    constexpr int reads = 500;
    const std::string bytes = bytes_of({{1, "body"}, {2}, {2}, {65535}, {99}});
    IMS_log::set_level(4);
    std::thread receiver([&] {
        for (int i = 0; i < reads; ++i) {
            while (agent.has_messages()) // five at a time: nothing is dropped
                std::this_thread::yield();
            receive(bytes);
        }
    });
    EXPECT_TRUE(agent.turns(5 * reads));
    receiver.join();
    IMS_log::set_level(5);
    ASSERT_EQ(agent.seen.size(), 5u * reads);
    for (std::size_t i = 0; i < agent.seen.size(); ++i)
        ASSERT_EQ(agent.seen[i], i % 5 < 3 ? seen_mapped(1001, "body") : seen_mapped(66535)) << i;
}

// ---- the table changes while a read is split ----

IMS_Tapi_ifc* ifc_of_action = nullptr;

void* remove_the_table(TAC_MSG_S* msg)
{
    ifc_of_action->initialize_event_tbl(nullptr);
    return map_to_1000_more(msg);
}

TEST_F(AMappingInterface, FinishesAReadWithTheTableItBeganWith)
{
    constexpr TAPI_EVENT_ACTION_TABLE_T removing[] = {
        {1, &remove_the_table}, {2, &map_to_1000_more}, {TAPI_TABLE_END, nullptr}};
    ifc.initialize_event_tbl(removing);
    ifc_of_action = &ifc;
    receive(bytes_of({{1}, {2}}));
    receive(bytes_of({3}));
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_mapped(1001), seen_mapped(1002), seen_raw(3)}));
}

// ---- mapping alone ----

TEST_F(AMappingInterface, GivesTheRecordOfTheFirstMatchingRow)
{
    TAC_MSG_S message = {};
    message.msg_id = 1;
    void* const record = ifc.handle_tapi_event(&message);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(static_cast<IMS_MAPPED_MSG_S*>(record)->msg_number, 1001u);
    EXPECT_EQ(log.all(), (Records{in_event, match(1), has_function}));
    std::free(record);
}

TEST_F(AMappingInterface, GivesNullWithoutARowATableOrAMessage)
{
    TAC_MSG_S message = {};
    message.msg_id = 99;
    EXPECT_EQ(ifc.handle_tapi_event(&message), nullptr);
    EXPECT_EQ(ifc.handle_tapi_event(nullptr), nullptr);
    ifc.initialize_event_tbl(nullptr);
    message.msg_id = 1;
    EXPECT_EQ(ifc.handle_tapi_event(&message), nullptr);
    EXPECT_EQ(log.all(), (Records{in_event, in_event, in_event}));
}

// A matching row without an action is not skipped. The process says on which row it stays, again and again.
TEST(AMatchingRowWithoutAnAction, IsNeverLeft)
{
    int pipe_ends[2];
    ASSERT_EQ(::pipe(pipe_ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(pipe_ends[1], STDERR_FILENO);
        constexpr TAPI_EVENT_ACTION_TABLE_T no_action[] = {
            {6, nullptr}, {6, &map_to_nothing}, {TAPI_TABLE_END, nullptr}};
        IMS_Tapi_ifc ifc(nullptr);
        ifc.initialize_event_tbl(no_action);
        TAC_MSG_S message = {};
        message.msg_id = 6;
        ifc.handle_tapi_event(&message);
        ::_exit(0);
    }
    ::close(pipe_ends[1]);
    const std::string line = "handle_tapi_event: handle_tapi_event: found match - TapiMsgID=6\n";
    std::string text;
    std::size_t visits = 0;
    char chunk[256];
    for (ssize_t n = 1; visits < 3 && n > 0;) {
        n = ::read(pipe_ends[0], chunk, sizeof chunk);
        if (n > 0) text.append(chunk, static_cast<std::size_t>(n));
        visits = 0;
        for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1))
            ++visits;
    }
    EXPECT_GE(visits, 3u) << text;
    EXPECT_EQ(text.find("found match and function"), std::string::npos) << text;
    EXPECT_EQ(::waitpid(child, nullptr, WNOHANG), 0) << "it is still there";
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(pipe_ends[0]);
}

// ---- no memory ----

TEST_F(ATelephonyInterface, WithoutMemoryForAHeaderDropsTheRest)
{
    const std::string bytes = bytes_of({{1, "one"}, {2, "two"}});
    for (int nth : {1, 4}) { // after a header, a body and a queue element
        log.clear();
        const Failing failing(Call::malloc, nth);
        receive(bytes);
        EXPECT_EQ(log.up_to(4), (Records{no_memory})) << nth;
    }
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(1, "one")}));
}

TEST_F(ATelephonyInterface, WithoutMemoryForABodyDropsTheRest)
{
    const std::string bytes = bytes_of({{1, "one"}, {2, "two"}});
    for (int nth : {2, 5}) {
        log.clear();
        const Failing failing(Call::malloc, nth);
        receive(bytes);
        EXPECT_EQ(log.up_to(4), (Records{no_body_memory})) << nth;
    }
    EXPECT_EQ(dispatched(), (std::vector<Seen>{seen_raw(1, "one")}));
}

TEST(AMappedMessage, WithoutMemoryToHoldItsRecordDropsTheRest)
{
    const ChildResult child = run_in_child([] {
        TelephonyAgent agent;
        IMS_Tapi_ifc ifc(&agent);
        ifc.initialize_event_tbl(table);
        std::string bytes = bytes_of({{1, "x"}, {1, "y"}});
        if (!fill_the_table_of_holds()) ::_exit(2);
        const Failing failing(Call::operator_new, 1);
        ifc.handle_tapi_message(reinterpret_cast<unsigned char*>(&bytes[0]), static_cast<int>(bytes.size()));
        if (agent.has_messages()) ::_exit(3);
    });
    EXPECT_EQ(child.status, 0) << child.err;
    EXPECT_NE(child.err.find("[3] handle_tapi_message: cannot allocate memory for tapi message !\n"),
              std::string::npos)
        << child.err;
    EXPECT_EQ(child.err.find("Msg Sent to UA"), std::string::npos) << child.err;
}

TEST(AMappedRecord, WithoutMemoryToHoldItInTheQueueEndsTheProcessWith1)
{
    const ChildResult child = run_in_child([] {
        TelephonyAgent agent;
        IMS_MAPPED_MSG_S* const record = new_record(1, "x");
        Watched::watch(record);
        Watched::watch(record->body);
        std::atexit([] { std::printf("freed %d", Watched::freed()); });
        if (!fill_the_table_of_holds()) ::_exit(2);
        const Failing failing(Call::operator_new, 1);
        agent.fill_queue_and_send_signal(MSG_TYPE_TAPI_MAPPED, record);
    });
    EXPECT_EQ(child.status, 1) << child.err;
    EXPECT_EQ(child.out, "freed 2");
    EXPECT_NE(child.err.find("[3] fill_queue_and_send_signal: Could not allocate memory for queue node!\n"),
              std::string::npos)
        << child.err;
}

TEST(ATelephonyMessage, WithoutMemoryForItsQueueElementEndsTheProcessWith1)
{
    const ChildResult child = run_in_child([] {
        TelephonyAgent agent;
        IMS_Tapi_ifc ifc(&agent);
        std::string bytes = bytes_of({1, "body"});
        const Failing failing(Call::malloc, 3);
        ifc.handle_tapi_message(reinterpret_cast<unsigned char*>(&bytes[0]), static_cast<int>(bytes.size()));
    });
    EXPECT_EQ(child.status, 1) << child.err;
    EXPECT_NE(child.err.find("Could not allocate memory for queue node!"), std::string::npos) << child.err;
}

} // namespace
