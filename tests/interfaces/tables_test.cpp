// The two table-driven agents, as a daemon that derives from them sees them.
#include "include/imsua.h"
#include "tests/interfaces/interface_checks.h"

#include <type_traits>

namespace {

using Event_tbl = IMS_UA_With_Event_Tbl;
using Machine = IMS_UA_With_State_Machine;

static_assert(std::is_base_of<IMS_User_Agent, Event_tbl>::value, "");
static_assert(std::is_base_of<IMS_User_Agent, Machine>::value, "");
static_assert(std::is_default_constructible<Event_tbl>::value, "");
static_assert(std::is_default_constructible<Machine>::value, "");
static_assert(!std::is_copy_constructible<Event_tbl>::value && !std::is_copy_assignable<Event_tbl>::value,
              "");
static_assert(!std::is_copy_constructible<Machine>::value && !std::is_copy_assignable<Machine>::value, "");
static_assert(std::has_virtual_destructor<Event_tbl>::value && std::has_virtual_destructor<Machine>::value,
              "");

TEST(TheTableDrivenAgents, OfferTheirTablesAndTheirDispatch)
{
    using Lists = const IMS_STATE_TBL_T* const*;
    using Old = const IMS_STATE_TBL_T*;
    offers<void (Event_tbl::*)(const IMS_EVENT_TABLE_T*)>(&Event_tbl::initialize_event_tbl);
    offers<unsigned short (Event_tbl::*)(unsigned int, void*)>(&Event_tbl::handle_event);
    offers<void (Machine::*)(Lists, unsigned short, unsigned short)>(&Machine::initialize_state_tbl);
    offers<void (Machine::*)(Old, unsigned short, unsigned short)>(&Machine::initialize_state_tbl);
    offers<unsigned short (Machine::*)(unsigned int, void*)>(&Machine::handle_event);
}

std::uint32_t count(void* data)
{
    ++*static_cast<int*>(data);
    return 0;
}

constexpr IMS_EVENT_TABLE_T events[] = {{5, count}, {IMS_TABLE_END, nullptr}};
constexpr IMS_STATE_TBL_T rows[] = {{5, count, 0}, {IMS_TABLE_END, nullptr, 0}};

// Arrays of pointers as daemons hold them: each finds the typed form without a cast.
TEST(AStateMachine, TakesItsListsHoweverConstTheirArrayIs)
{
    const IMS_STATE_TBL_T* plain[] = {rows};
    static constexpr const IMS_STATE_TBL_T* constant[] = {rows};
    int calls = 0;
    Machine machine;
    machine.initialize_state_tbl(plain, 0, 1);
    EXPECT_EQ(machine.handle_event(5, &calls), 1);
    machine.initialize_state_tbl(constant, 0, 1);
    EXPECT_EQ(machine.handle_event(5, &calls), 1);
    machine.initialize_state_tbl(reinterpret_cast<const IMS_STATE_TBL_T*>(constant), 0, 1);
    EXPECT_EQ(machine.handle_event(5, &calls), 1);
    EXPECT_EQ(calls, 3);
}

// ---- checked constants: their count and initial state come with them ----

constexpr IMS_STATE_TBL_T more_rows[] = {{6, count, 0}, {IMS_TABLE_END, nullptr, 0}};
constexpr auto machine_of_two = imsua::state_table(1, rows, more_rows);

void* give_back(TAC_MSG_S* message)
{
    return message->body;
}
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {{7, give_back}, {TAPI_TABLE_END, nullptr}};

static_assert(imsua::is_sound<events> && imsua::is_sound<machine_of_two> && imsua::is_sound<mapping>);
static_assert(std::is_same<decltype(machine_of_two), const imsua::State_table<2>>::value);
static_assert(machine_of_two.state_count == 2 && machine_of_two.initial_state == 1);
static_assert(machine_of_two.lists[0] == rows && machine_of_two.lists[1] == more_rows);
static_assert(machine_of_two.row_counts[1] == 2, "marker included");

TEST(TheTableDrivenAgents, TakeCheckedConstants)
{
    int calls = 0;
    Event_tbl by_event;
    by_event.initialize_event_tbl<events>();
    EXPECT_EQ(by_event.handle_event(5, &calls), 1);
    Machine by_state;
    by_state.initialize_state_tbl<machine_of_two>();
    EXPECT_EQ(by_state.handle_event(6, &calls), 1) << "a row of the initial state";
    EXPECT_EQ(by_state.handle_event(5, &calls), 1) << "a row of state 0";
    EXPECT_EQ(calls, 3);
}

TEST(TheTelephonyInterface, TakesACheckedConstant)
{
    unsigned char body = 0;
    TAC_MSG_S message = {0, {}, 0, 7, 1, &body};
    IMS_Tapi_ifc telephony(nullptr);
    telephony.initialize_event_tbl<mapping>();
    EXPECT_EQ(telephony.handle_tapi_event(&message), &body);
}

TEST(AStateGraph, IsDrawnOfTheTableItself)
{
    imsua::State_graph graph("two", machine_of_two);
    graph.states = {{1, "one"}};
    graph.events = {{5, "five"}, {6, "six"}};
    graph.handlers = {IMS_NAMED(count)};
    EXPECT_NE(graph.dot().find("s1 -> s1 [label=\"six / count\"]"), std::string::npos) << graph.dot();
}

// ---- deriving: a daemon overrides the numbering, and inherits the rest of the virtual table ----

template <typename Base>
class Derived : public Base {
public:
    using Base::process_one_message;
    unsigned int get_event_id_from_message(void* element) override
    {
        return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
    }
};

TEST(AnAgentWithAnEventTable, DispatchesItsQueueThroughTheTable)
{
    int calls = 0;
    Derived<Event_tbl> agent;
    agent.initialize_event_tbl(events);
    agent.fill_queue_and_send_signal(5, &calls);
    agent.process_one_message();
    EXPECT_EQ(calls, 1);
}

TEST(AnAgentWithAStateMachine, DispatchesItsQueueThroughTheTable)
{
    static constexpr const IMS_STATE_TBL_T* lists[] = {rows};
    int calls = 0;
    Derived<Machine> agent;
    agent.initialize_state_tbl(lists, 0, 1);
    agent.fill_queue_and_send_signal(5, &calls);
    agent.process_one_message();
    EXPECT_EQ(calls, 1);
}

// handle_event is entry 9 and get_event_id_from_message entry 10, as in every agent: nothing virtual was
// added.
TEST(TheTableDrivenAgents, KeepTheVirtualTableOfTheAgent)
{
    using Handle = unsigned short(void*, unsigned int, void*);
    using Number = unsigned int(void*, void*);
    int calls = 0;
    _Q_ELEMENT_T element = {5, nullptr};
    Derived<Event_tbl> by_event;
    by_event.initialize_event_tbl(events);
    EXPECT_EQ(table_entry<Handle>(&by_event, 9)(&by_event, 5, &calls), 1);
    EXPECT_EQ(table_entry<Number>(&by_event, 10)(&by_event, &element), 5u);
    static constexpr const IMS_STATE_TBL_T* lists[] = {rows};
    Derived<Machine> by_state;
    by_state.initialize_state_tbl(lists, 0, 1);
    EXPECT_EQ(table_entry<Handle>(&by_state, 9)(&by_state, 5, &calls), 1);
    EXPECT_EQ(table_entry<Number>(&by_state, 10)(&by_state, &element), 5u);
    EXPECT_EQ(calls, 2);
}

} // namespace
