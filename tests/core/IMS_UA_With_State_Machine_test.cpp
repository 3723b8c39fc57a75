#include "core/IMS_UA_With_State_Machine.h"

#include "tests/support/child.h"
#include "tests/support/log_records.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

namespace {

using Records = std::vector<LogRecord>;

LogRecord traced(const std::string& number, const std::string& state)
{
    return {5, "handle_event", "handle_event : msg_id=" + number + " curr_state=" + state};
}

class Daemon : public IMS_UA_With_State_Machine {
public:
    using IMS_UA_With_State_Machine::process_one_message;
    unsigned int get_event_id_from_message(void* element) override
    {
        return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
    }
};

// What an event carries here: its handlers write down that they ran.
struct Message {
    std::string handlers;
    std::function<void()> inside; // runs within the handler "talk"
};

// Writes its letter down and returns `Next`.
template <char Name, std::uint32_t Next = 0>
std::uint32_t note(void* data)
{
    static_cast<Message*>(data)->handlers += Name;
    return Next;
}

// Runs the message's function and returns `Next`.
template <std::uint32_t Next = 0>
std::uint32_t talk(void* data)
{
    static_cast<Message*>(data)->inside();
    return Next;
}

int calls_without_data = 0;

std::uint32_t expect_no_data(void* data)
{
    if (data == nullptr) ++calls_without_data;
    return 0;
}

enum State : unsigned short { ANY, IDLE, BUSY, DEAF, STATES };
constexpr std::uint32_t LARGEST = 0xFFFFFFFFu;

constexpr IMS_STATE_TBL_T any[] = {
    {10, note<'E'>, 0},    // everywhere
    {11, note<'R'>, IDLE}, // everywhere, and back to idle
    {2, note<'x'>, BUSY},  // IDLE and BUSY have rows of their own
    {9, note<'x'>, BUSY},  // so they do for 9, without a handler
    {50, note<'z', 51>, 0},
    {0, note<'x'>, BUSY}, // event 0 is never dispatched
    {IMS_TABLE_END, note<'x'>, BUSY},
};
constexpr IMS_STATE_TBL_T idle[] = {
    {1, note<'a'>, BUSY},
    {2, note<'b'>, 0},
    {2, note<'x'>, BUSY}, // never reached: the first row counts
    {3, nullptr, BUSY},
    {9, nullptr, 0},
    {4, note<'c', 5>, BUSY}, // 5 is known in BUSY only
    {6, note<'d', 10>, 0},   // 10 is in the list of state 0
    {7, note<'e', 77>, BUSY},
    {8, note<'f', 3>, 0}, // 3 has a row without a handler
    {20, talk<>, BUSY},
    {21, talk<1>, 0},
    {22, expect_no_data, 0},
    {30, note<'g'>, 100}, // beyond the count
    {31, note<'h', 10>, 100},
    {40, note<'i', 255>, 0},
    {LARGEST, note<'m'>, 0},
    {0, note<'x'>, BUSY},
    {IMS_TABLE_END, note<'x'>, BUSY},
    {60, note<'x'>, BUSY}, // behind the marker
    {IMS_TABLE_END, nullptr, 0},
};
constexpr IMS_STATE_TBL_T busy[] = {
    {1, note<'A'>, IDLE},      {2, note<'B'>, 0},           {5, note<'C', 1>, 0},
    {51, note<'y', 52>, DEAF}, {IMS_TABLE_END, nullptr, 0},
};
constexpr IMS_STATE_TBL_T deaf[] = {
    {52, note<'w'>, BUSY},
    {IMS_TABLE_END, nullptr, 0},
};
constexpr const IMS_STATE_TBL_T* lists[] = {any, idle, busy, deaf};

class AStateMachine : public ::testing::Test {
protected:
    AStateMachine() { agent.initialize_state_tbl(lists, IDLE, STATES); }

    // The state as the log tells it: event 0 dispatches nothing.
    LogRecord state_now()
    {
        agent.handle_event(0, nullptr);
        return log.all().back();
    }

    LogRecords log;
    Daemon agent;
    Message message;
};

} // namespace

// ---- one event ----

TEST_F(AStateMachine, CallsTheHandlerAndEntersTheNextState)
{
    EXPECT_EQ(agent.handle_event(1, &message), 1);
    EXPECT_EQ(message.handlers, "a");
    EXPECT_EQ(log.all(), (Records{traced("1", "2")}));
}

TEST_F(AStateMachine, FindsTheSameEventInItsNewState)
{
    agent.handle_event(1, &message);
    EXPECT_EQ(agent.handle_event(1, &message), 1);
    EXPECT_EQ(message.handlers, "aA");
    EXPECT_EQ(log.all(), (Records{traced("1", "2"), traced("1", "1")}));
}

TEST_F(AStateMachine, StaysWhereTheNextStateIs0)
{
    EXPECT_EQ(agent.handle_event(2, &message), 1);
    EXPECT_EQ(message.handlers, "b");
    EXPECT_EQ(log.all(), (Records{traced("2", "1")}));
}

TEST_F(AStateMachine, MovesWithoutAHandlerButHandlesNothing)
{
    EXPECT_EQ(agent.handle_event(3, &message), 0);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("3", "2")}));
}

TEST_F(AStateMachine, DoesNotRecogniseAnUnknownEvent)
{
    EXPECT_EQ(agent.handle_event(99, &message), 0);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("99", "1")}));
}

TEST_F(AStateMachine, CallsHandlersWithoutDataToo)
{
    const int before = calls_without_data;
    EXPECT_EQ(agent.handle_event(22, nullptr), 1);
    EXPECT_EQ(calls_without_data, before + 1);
}

TEST_F(AStateMachine, ComparesAll32Bits)
{
    EXPECT_EQ(agent.handle_event(LARGEST, &message), 1);
    EXPECT_EQ(agent.handle_event(256 + 1, &message), 0);
    EXPECT_EQ(agent.handle_event(0x10001, &message), 0);
    EXPECT_EQ(message.handlers, "m");
    EXPECT_EQ(log.all(), (Records{traced("-1", "1"), traced("257", "1"), traced("65537", "1")}));
}

TEST_F(AStateMachine, NeverDispatchesEvent0)
{
    EXPECT_EQ(agent.handle_event(0, &message), 0);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("0", "1")}));
}

TEST_F(AStateMachine, NeverHandlesEvent255)
{
    EXPECT_EQ(agent.handle_event(255, &message), 0);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("255", "1")}));
}

TEST_F(AStateMachine, EndsAListAtItsFirstMarker)
{
    EXPECT_EQ(agent.handle_event(60, &message), 0);
    EXPECT_EQ(log.all(), (Records{traced("60", "1")}));
}

// ---- the rows valid everywhere ----

TEST_F(AStateMachine, FallsBackToTheRowsOfState0)
{
    EXPECT_EQ(agent.handle_event(10, &message), 1);
    agent.handle_event(1, &message);
    EXPECT_EQ(agent.handle_event(10, &message), 1);
    EXPECT_EQ(message.handlers, "EaE");
    EXPECT_EQ(log.all(), (Records{traced("10", "1"), traced("1", "2"), traced("10", "2")}));
}

TEST_F(AStateMachine, EntersTheNextStateOfARowOfState0)
{
    agent.handle_event(1, &message);
    EXPECT_EQ(agent.handle_event(11, &message), 1);
    EXPECT_EQ(message.handlers, "aR");
    EXPECT_EQ(log.all().back(), traced("11", "1"));
}

TEST_F(AStateMachine, PrefersItsOwnRowEvenWithoutAHandler)
{
    EXPECT_EQ(agent.handle_event(2, &message), 1);
    EXPECT_EQ(agent.handle_event(9, &message), 0);
    EXPECT_EQ(message.handlers, "b");
    EXPECT_EQ(log.all().back(), traced("9", "1"));
}

TEST_F(AStateMachine, MayStartInState0AndLeaveItForGood)
{
    agent.initialize_state_tbl(lists, ANY, STATES);
    EXPECT_EQ(agent.handle_event(10, &message), 1);
    EXPECT_EQ(agent.handle_event(1, &message), 0) << "only IDLE and BUSY know it";
    EXPECT_EQ(agent.handle_event(11, &message), 1);
    EXPECT_EQ(agent.handle_event(10, &message), 1);
    EXPECT_EQ(message.handlers, "ERE");
    EXPECT_EQ(log.all(),
              (Records{traced("10", "0"), traced("1", "0"), traced("11", "1"), traced("10", "1")}));
}

// ---- chains ----

TEST_F(AStateMachine, DispatchesWhatAHandlerReturnsInTheStateEnteredByItsRow)
{
    EXPECT_EQ(agent.handle_event(4, &message), 1);
    EXPECT_EQ(message.handlers, "cCA") << "4 enters BUSY, 5 stays there, 1 leaves it";
    EXPECT_EQ(log.all(), (Records{traced("4", "1")})) << "one line a call, with the event passed in";
}

TEST_F(AStateMachine, ChainsIntoTheRowsOfState0AndOutOfThem)
{
    EXPECT_EQ(agent.handle_event(6, &message), 1);
    EXPECT_EQ(message.handlers, "dE");
    agent.handle_event(1, &message);
    EXPECT_EQ(agent.handle_event(50, &message), 1);
    EXPECT_EQ(message.handlers, "dEazyw");
    EXPECT_EQ(log.all().back(), traced("50", "2")) << "BUSY, DEAF and back";
}

TEST_F(AStateMachine, EndsAChainAtAnUnknownEvent)
{
    EXPECT_EQ(agent.handle_event(7, &message), 1);
    EXPECT_EQ(message.handlers, "e");
    EXPECT_EQ(log.all(), (Records{traced("7", "2")}));
}

TEST_F(AStateMachine, EndsAChainAtARowWithoutAHandlerButEntersItsState)
{
    EXPECT_EQ(agent.handle_event(8, &message), 1) << "a handler was called earlier in the chain";
    EXPECT_EQ(message.handlers, "f");
    EXPECT_EQ(log.all(), (Records{traced("8", "2")}));
}

TEST_F(AStateMachine, EndsAChainAtEvent255)
{
    EXPECT_EQ(agent.handle_event(40, &message), 1);
    EXPECT_EQ(message.handlers, "i");
    EXPECT_EQ(log.all(), (Records{traced("40", "1")}));
}

TEST_F(AStateMachine, HasNoLimitOnAChain)
{
    struct Countdown {
        static std::uint32_t step(void* left) { return --*static_cast<int*>(left) > 0 ? 1 : 0; }
    };
    static constexpr IMS_STATE_TBL_T steps[] = {{1, Countdown::step, 0}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr const IMS_STATE_TBL_T* machine[] = {steps};
    agent.initialize_state_tbl(machine, 0, 1);
    int left = 1000000;
    EXPECT_EQ(agent.handle_event(1, &left), 1);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(log.all().size(), 1u);
}

// ---- what a handler sees and may do ----

TEST_F(AStateMachine, IsStillInTheOldStateWhileTheHandlerRuns)
{
    message.inside = [&] { EXPECT_EQ(state_now(), traced("0", "1")); };
    EXPECT_EQ(agent.handle_event(20, &message), 1);
    EXPECT_EQ(state_now(), traced("0", "2"));
}

TEST_F(AStateMachine, LetsItsHandlersQueueMore)
{
    message.inside = [&] { agent.fill_queue_and_send_signal(5, &message); };
    agent.fill_queue_and_send_signal(20, &message);
    agent.process_one_message();
    EXPECT_EQ(message.handlers, "") << "queued, not called at once";
    agent.process_one_message();
    EXPECT_EQ(message.handlers, "CA") << "in the state that the first row entered";
    EXPECT_EQ(log.all(), (Records{traced("20", "2"),
                                  {5, "handle_message", "Message Recognition status=1"},
                                  traced("5", "1"),
                                  {5, "handle_message", "Message Recognition status=1"}}));
}

TEST_F(AStateMachine, ResetByAHandlerStillFinishesTheRow)
{
    message.inside = [&] { agent.initialize_state_tbl(lists, DEAF, STATES); };
    EXPECT_EQ(agent.handle_event(20, &message), 1);
    EXPECT_EQ(log.all(), (Records{traced("20", "2")})) << "the row's next state comes after the handler";
}

TEST_F(AStateMachine, ResetByAHandlerStaysWhereItWasPutIfTheRowStays)
{
    message.inside = [&] { agent.initialize_state_tbl(lists, DEAF, STATES); };
    EXPECT_EQ(agent.handle_event(21, &message), 1);
    EXPECT_EQ(message.handlers, "") << "the chained event 1 is unknown in DEAF";
    EXPECT_EQ(log.all(), (Records{traced("21", "3")}));
}

TEST_F(AStateMachine, ChainsInTheTableThatAHandlerInstalled)
{
    static constexpr IMS_STATE_TBL_T only[] = {{1, note<'n'>, 0}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr const IMS_STATE_TBL_T* other[] = {only};
    message.inside = [&] { agent.initialize_state_tbl(other, 0, 1); };
    EXPECT_EQ(agent.handle_event(21, &message), 1);
    EXPECT_EQ(message.handlers, "n");
    EXPECT_EQ(log.all(), (Records{traced("21", "0")}));
}

TEST_F(AStateMachine, StopsTheChainWhenAHandlerTakesItsTableAway)
{
    const IMS_STATE_TBL_T* const* const none = nullptr;
    message.inside = [&] { agent.initialize_state_tbl(none, IDLE, STATES); };
    EXPECT_EQ(agent.handle_event(21, &message), 1);
    EXPECT_EQ(message.handlers, "");
    EXPECT_EQ(log.all(), (Records{traced("21", "1")}));
}

TEST_F(AStateMachine, MayBeEnteredAgainByItsOwnHandler)
{
    message.inside = [&] { EXPECT_EQ(agent.handle_event(1, &message), 1); };
    EXPECT_EQ(agent.handle_event(20, &message), 1);
    EXPECT_EQ(message.handlers, "a");
    EXPECT_EQ(log.all(), (Records{traced("1", "2"), traced("20", "2")}));
}

// ---- beyond the count ----

TEST_F(AStateMachine, BeyondItsCountDispatchesNothingUntilItIsReset)
{
    EXPECT_EQ(agent.handle_event(30, &message), 1);
    EXPECT_EQ(agent.handle_event(10, &message), 0);
    EXPECT_EQ(agent.handle_event(1, &message), 0);
    EXPECT_EQ(message.handlers, "g");
    EXPECT_EQ(log.all(), (Records{traced("30", "100"), traced("10", "100"), traced("1", "100")}));
    agent.initialize_state_tbl(lists, IDLE, STATES);
    EXPECT_EQ(agent.handle_event(10, &message), 1);
    EXPECT_EQ(log.all().back(), traced("10", "1"));
}

TEST_F(AStateMachine, BeyondItsCountStopsAChain)
{
    EXPECT_EQ(agent.handle_event(31, &message), 1);
    EXPECT_EQ(message.handlers, "h") << "10 would be valid everywhere";
    EXPECT_EQ(log.all(), (Records{traced("31", "100")}));
}

TEST_F(AStateMachine, TakesAnInitialStateAtItsCountForBeyond)
{
    agent.initialize_state_tbl(lists, STATES, STATES);
    EXPECT_EQ(agent.handle_event(10, &message), 0);
    agent.initialize_state_tbl(lists, 65535, STATES);
    EXPECT_EQ(agent.handle_event(10, &message), 0);
    agent.initialize_state_tbl(lists, DEAF, STATES);
    EXPECT_EQ(agent.handle_event(10, &message), 1);
    EXPECT_EQ(log.all(), (Records{traced("10", "4"), traced("10", "65535"), traced("10", "3")}));
}

TEST_F(AStateMachine, WithACountOf0DispatchesNothing)
{
    agent.initialize_state_tbl(lists, 0, 0);
    EXPECT_EQ(agent.handle_event(10, &message), 0);
    EXPECT_EQ(log.all(), (Records{traced("10", "0")}));
}

// ---- the table itself ----

TEST_F(AStateMachine, WithoutAnArrayDispatchesNothing)
{
    const IMS_STATE_TBL_T* const* const none = nullptr;
    agent.initialize_state_tbl(none, IDLE, STATES);
    EXPECT_EQ(agent.handle_event(10, &message), 0);
    const IMS_STATE_TBL_T* const none_either = nullptr;
    agent.initialize_state_tbl(none_either, IDLE, STATES);
    EXPECT_EQ(agent.handle_event(10, &message), 0);
    EXPECT_EQ(log.all(), (Records{traced("10", "1"), traced("10", "1")}));
}

TEST_F(AStateMachine, TakesItsArrayInTheOldSpellingToo)
{
    Daemon old;
    old.initialize_state_tbl(reinterpret_cast<const IMS_STATE_TBL_T*>(lists), IDLE, STATES);
    EXPECT_EQ(old.handle_event(4, &message), 1);
    EXPECT_EQ(message.handlers, "cCA");
    EXPECT_EQ(log.all(), (Records{traced("4", "1")}));
}

TEST_F(AStateMachine, TakesACheckedTableAsItStands)
{
    static constexpr IMS_STATE_TBL_T everywhere[] = {{10, note<'E'>, 1}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr IMS_STATE_TBL_T first[] = {{1, note<'a', 2>, 2}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr IMS_STATE_TBL_T second[] = {{2, note<'b'>, 0}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr auto machine = imsua::state_table(1, everywhere, first, second);
    agent.initialize_state_tbl<machine>();
    EXPECT_EQ(agent.handle_event(1, &message), 1);
    EXPECT_EQ(agent.handle_event(10, &message), 1);
    EXPECT_EQ(message.handlers, "abE");
    EXPECT_EQ(log.all(), (Records{traced("1", "2"), traced("10", "1")}));
}

TEST_F(AStateMachine, IsNotCopied)
{
    IMS_STATE_TBL_T rows[] = {{1, note<'1'>, 0}, {IMS_TABLE_END, nullptr, 0}};
    const IMS_STATE_TBL_T* machine[] = {rows};
    agent.initialize_state_tbl(machine, 0, 1);
    rows[0] = {2, note<'2'>, 0};
    EXPECT_EQ(agent.handle_event(1, &message), 0);
    EXPECT_EQ(agent.handle_event(2, &message), 1);
    machine[0] = any;
    EXPECT_EQ(agent.handle_event(10, &message), 1);
    EXPECT_EQ(message.handlers, "2E");
}

TEST_F(AStateMachine, HandlesWhatTheMainLoopTakesFromTheQueue)
{
    agent.fill_queue_and_send_signal(4, &message);
    agent.process_one_message();
    EXPECT_EQ(message.handlers, "cCA");
    EXPECT_EQ(log.all(), (Records{traced("4", "1"), {5, "handle_message", "Message Recognition status=1"}}));
}

TEST(AnAgentWithoutAStateTable, RecognisesNothing)
{
    LogRecords log;
    IMS_UA_With_State_Machine agent;
    EXPECT_EQ(agent.handle_event(3, nullptr), 0);
    EXPECT_EQ(agent.handle_event(0, nullptr), 0);
    EXPECT_EQ(log.all(), (Records{traced("3", "0"), traced("0", "0")}));
}

// ---- a null list ----

namespace {

// Only for children, whose alarm rings 350 ms after they began and then ten times a second.
const IMS_STATE_TBL_T* broken[] = {any, nullptr};

void ring_soon(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGALRM, &action, nullptr);
    itimerval alarm = {};
    alarm.it_value.tv_usec = 350000;
    alarm.it_interval.tv_usec = 100000;
    ::setitimer(ITIMER_REAL, &alarm, nullptr);
}

// Once the child has slept three times, or worked for a second: tells which, and ends it by its id.
// Async-signal-safe.
void report_and_end(int)
{
    rusage used = {};
    ::getrusage(RUSAGE_SELF, &used);
    const bool sleeps = used.ru_nvcsw >= 3; // gave the processor up by itself, turn after turn
    const bool works = used.ru_utime.tv_sec > 0;
    if (!sleeps && !works) return;
    const char idle_text[] = "searching, idle\n";
    const char busy_text[] = "searching, busy\n";
    const bool written = ::write(STDOUT_FILENO, works ? busy_text : idle_text, sizeof idle_text - 1) > 0;
    ::kill(::getpid(), written ? SIGKILL : SIGABRT);
}

void repair(int)
{
    broken[1] = idle;
}

void dispatch_with_broken_lists(std::uint32_t event, unsigned short state)
{
    Daemon agent;
    Message message;
    agent.initialize_state_tbl(broken, state, 2);
    agent.handle_event(event, &message);
    std::printf("returned after %s\n", message.handlers.c_str());
}

} // namespace

TEST(ANullList, OfTheCurrentStateIsSearchedForEverWithoutWork)
{
    const ChildResult child = run_in_child([] {
        ring_soon(report_and_end);
        dispatch_with_broken_lists(10, 1);
    });
    EXPECT_EQ(child.out, "searching, idle\n") << child.err;
    EXPECT_EQ(child.signal, SIGKILL);
    EXPECT_EQ(child.err.find("handle_event"), std::string::npos) << "nothing is logged";
}

TEST(ANullList, OfState0IsSearchedForEverOnceTheStatesOwnHasNoRow)
{
    const ChildResult child = run_in_child([] {
        broken[0] = nullptr;
        broken[1] = idle;
        ring_soon(report_and_end);
        dispatch_with_broken_lists(99, 1);
    });
    EXPECT_EQ(child.out, "searching, idle\n") << child.err;
    EXPECT_EQ(child.signal, SIGKILL);
}

TEST(ANullList, OfState0IsNotLookedAtWhenTheStatesOwnHasARow)
{
    const ChildResult child = run_in_child([] {
        broken[0] = nullptr;
        broken[1] = idle;
        dispatch_with_broken_lists(2, 1);
    });
    EXPECT_EQ(child.out, "returned after b\n") << child.err;
    EXPECT_EQ(child.status, 0);
}

TEST(ANullList, IsReadAnewEachTime)
{
    const ChildResult child = run_in_child([] {
        ring_soon(repair);
        dispatch_with_broken_lists(1, 1);
    });
    EXPECT_EQ(child.out, "returned after a\n") << child.err;
    EXPECT_EQ(child.status, 0);
}
