#include "core/IMS_UA_With_Event_Tbl.h"

#include "tests/support/log_records.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Records = std::vector<LogRecord>;

LogRecord traced(const std::string& number)
{
    return {5, "handle_event", "handle_event : msg_id=" + number};
}

// What an event carries here: its handlers write down that they ran.
struct Message {
    std::string handlers;
    std::function<void()> inside; // runs within the handler "talk"
};

template <char Name>
std::uint32_t note(void* data)
{
    static_cast<Message*>(data)->handlers += Name;
    return 7; // would be a further event, were this a state machine
}

std::uint32_t talk(void* data)
{
    static_cast<Message*>(data)->inside();
    return 0;
}

int calls_without_data = 0;

std::uint32_t expect_no_data(void* data)
{
    if (data == nullptr) ++calls_without_data;
    return 0;
}

constexpr std::uint32_t LARGEST = 0xFFFFFFFFu;

constexpr IMS_EVENT_TABLE_T table[] = {
    {7, note<'a'>},  {3, note<'b'>},           {9, nullptr},
    {9, note<'x'>}, // never reached: the first row counts
    {0, note<'0'>},  {LARGEST, note<'m'>},     {256, note<'c'>},
    {20, talk},      {21, expect_no_data},     {IMS_TABLE_END, note<'x'>},
    {30, note<'x'>}, {IMS_TABLE_END, nullptr},
};

class Daemon : public IMS_UA_With_Event_Tbl {
public:
    using IMS_UA_With_Event_Tbl::process_one_message;
    using IMS_UA_With_Event_Tbl::queue_;
    unsigned int get_event_id_from_message(void* element) override
    {
        return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
    }
};

class AnEventTable : public ::testing::Test {
protected:
    AnEventTable() { agent.initialize_event_tbl(table); }

    LogRecords log;
    Daemon agent;
    Message message;
};

} // namespace

TEST_F(AnEventTable, CallsTheHandlerOfTheEventWithItsData)
{
    EXPECT_EQ(agent.handle_event(3, &message), 1);
    EXPECT_EQ(message.handlers, "b");
    EXPECT_EQ(log.all(), (Records{traced("3")}));
}

TEST_F(AnEventTable, IgnoresWhatTheHandlerReturns)
{
    EXPECT_EQ(agent.handle_event(7, &message), 1);
    EXPECT_EQ(message.handlers, "a") << "7 is the table's own first event";
}

TEST_F(AnEventTable, DoesNotRecogniseAnUnknownEvent)
{
    EXPECT_EQ(agent.handle_event(4, &message), 0);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("4")}));
}

TEST_F(AnEventTable, StopsAtAMatchingRowWithoutAHandler)
{
    EXPECT_EQ(agent.handle_event(9, &message), 0);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("9")}));
}

TEST_F(AnEventTable, HasARowForEvent0)
{
    EXPECT_EQ(agent.handle_event(0, &message), 1);
    EXPECT_EQ(message.handlers, "0");
    EXPECT_EQ(log.all(), (Records{traced("0")}));
}

TEST_F(AnEventTable, ComparesAll32Bits)
{
    EXPECT_EQ(agent.handle_event(256, &message), 1);
    EXPECT_EQ(agent.handle_event(LARGEST, &message), 1);
    EXPECT_EQ(agent.handle_event(256 + 7, &message), 0);
    EXPECT_EQ(agent.handle_event(0x10007, &message), 0);
    EXPECT_EQ(message.handlers, "cm");
    EXPECT_EQ(log.all()[1], traced("-1"));
}

TEST_F(AnEventTable, NeverHandlesEvent255)
{
    EXPECT_EQ(agent.handle_event(255, &message), 0);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("255")}));
}

TEST_F(AnEventTable, EndsAtItsFirstMarker)
{
    EXPECT_EQ(agent.handle_event(30, &message), 0);
    EXPECT_EQ(message.handlers, "");
}

TEST_F(AnEventTable, CallsHandlersWithoutDataToo)
{
    const int before = calls_without_data;
    EXPECT_EQ(agent.handle_event(21, nullptr), 1);
    EXPECT_EQ(calls_without_data, before + 1);
}

TEST_F(AnEventTable, IsLoggedAfterItsHandlerRan)
{
    message.inside = [&] { EXPECT_TRUE(log.all().empty()); };
    EXPECT_EQ(agent.handle_event(20, &message), 1);
    EXPECT_EQ(log.all(), (Records{traced("20")}));
}

TEST_F(AnEventTable, MayBeReplacedByItsOwnHandler)
{
    static constexpr IMS_EVENT_TABLE_T other[] = {{3, note<'o'>}, {IMS_TABLE_END, nullptr}};
    message.inside = [&] { agent.initialize_event_tbl(other); };
    EXPECT_EQ(agent.handle_event(20, &message), 1);
    EXPECT_EQ(agent.handle_event(3, &message), 1);
    EXPECT_EQ(agent.handle_event(7, &message), 0);
    EXPECT_EQ(message.handlers, "o");
}

TEST_F(AnEventTable, MayBeTakenAway)
{
    agent.initialize_event_tbl(nullptr);
    EXPECT_EQ(agent.handle_event(3, &message), 0);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("3")}));
}

TEST_F(AnEventTable, WithNothingButItsMarkerRecognisesNothing)
{
    static constexpr IMS_EVENT_TABLE_T empty[] = {{IMS_TABLE_END, nullptr}};
    agent.initialize_event_tbl(empty);
    EXPECT_EQ(agent.handle_event(3, &message), 0);
    EXPECT_EQ(agent.handle_event(255, &message), 0);
}

TEST_F(AnEventTable, IsTakenAsACheckedConstantToo)
{
    static constexpr IMS_EVENT_TABLE_T checked[] = {{4, note<'c'>}, {IMS_TABLE_END, nullptr}};
    agent.initialize_event_tbl<checked>();
    EXPECT_EQ(agent.handle_event(4, &message), 1);
    EXPECT_EQ(agent.handle_event(3, &message), 0);
    EXPECT_EQ(message.handlers, "c");
}

TEST_F(AnEventTable, IsNotCopied)
{
    IMS_EVENT_TABLE_T rows[] = {{1, note<'1'>}, {IMS_TABLE_END, nullptr}};
    agent.initialize_event_tbl(rows);
    rows[0] = {2, note<'2'>};
    EXPECT_EQ(agent.handle_event(1, &message), 0);
    EXPECT_EQ(agent.handle_event(2, &message), 1);
    EXPECT_EQ(message.handlers, "2");
}

TEST_F(AnEventTable, HandlesWhatTheMainLoopTakesFromTheQueue)
{
    agent.fill_queue_and_send_signal(3, &message);
    agent.fill_queue_and_send_signal(4, &message);
    agent.process_one_message();
    agent.process_one_message();
    EXPECT_EQ(message.handlers, "b");
    EXPECT_EQ(log.all(), (Records{traced("3"),
                                  {5, "handle_message", "Message Recognition status=1"},
                                  traced("4"),
                                  {5, "handle_message", "Message Recognition status=0"}}));
}

TEST_F(AnEventTable, LetsItsHandlersQueueMore)
{
    message.inside = [&] { agent.fill_queue_and_send_signal(3, &message); };
    agent.fill_queue_and_send_signal(20, &message);
    agent.process_one_message();
    EXPECT_EQ(message.handlers, "") << "queued, not called at once";
    agent.process_one_message();
    EXPECT_EQ(message.handlers, "b");
}

TEST(AnAgentWithoutAnEventTable, RecognisesNothing)
{
    LogRecords log;
    IMS_UA_With_Event_Tbl agent;
    EXPECT_EQ(agent.handle_event(3, nullptr), 0);
    EXPECT_EQ(agent.handle_event(255, nullptr), 0);
    EXPECT_EQ(log.all(), (Records{traced("3"), traced("255")}));
}
