// Dispatch through a table, beside a hand-written switch that calls the same handlers and logs the same line.
//
// Every case has 32 rows, and the events are evenly distributed and in random order, so that every row is
// hit. Both sides are agents, entered through the virtual handle_event as the main loop does it. The log's
// level is that of a deployed daemon, so the line at level 5 is refused. Handlers are functions of their own
// that are never inlined, and return no further event.
#include "bench/support/ratios.h"
#include "core/IMS_UA_With_Event_Tbl.h"
#include "core/IMS_UA_With_State_Machine.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <random>
#include <vector>

namespace {

// Row number to event number; the order is that of the table, not that of the numbers.
// clang-format off
#define ROWS(X) \
    X(0, 17) X(1, 4) X(2, 29) X(3, 11) X(4, 8) X(5, 23) X(6, 2) X(7, 31) \
    X(8, 14) X(9, 26) X(10, 6) X(11, 19) X(12, 1) X(13, 22) X(14, 9) X(15, 32) \
    X(16, 13) X(17, 28) X(18, 5) X(19, 20) X(20, 16) X(21, 3) X(22, 30) X(23, 10) \
    X(24, 25) X(25, 7) X(26, 18) X(27, 27) X(28, 12) X(29, 21) X(30, 24) X(31, 15)
// clang-format on

// What every handler does: a little work on the message.
template <int Row>
__attribute__((noinline)) std::uint32_t handler(void* data)
{
    *static_cast<std::uint64_t*>(data) += Row;
    benchmark::ClobberMemory();
    return 0;
}

// ---- one flat table ----

#define TABLE_ROW(row, event) {event, handler<row>},
#define CASE(row, event)                                                                                     \
    case event:                                                                                              \
        handled = 1;                                                                                         \
        handler<row>(data);                                                                                  \
        break;

constexpr IMS_EVENT_TABLE_T events[] = {ROWS(TABLE_ROW){IMS_TABLE_END, nullptr}};

struct Event_table : IMS_UA_With_Event_Tbl {
    Event_table() { initialize_event_tbl<events>(); }
};

struct Event_switch : IMS_User_Agent {
    unsigned short handle_event(unsigned int event_id, void* data) override
    {
        unsigned short handled = 0;
        switch (event_id) {
            ROWS(CASE)
        default: break;
        }
        IMS_log::loginfo(5, "handle_event", "handle_event : msg_id=%d", static_cast<int>(event_id));
        return handled;
    }
};

// ---- one state with 32 rows ----

#define STATE_ROW(row, event) {event, handler<row>, 0},
#define STATE_CASE(row, event)                                                                               \
    case event:                                                                                              \
        handled = 1;                                                                                         \
        result = handler<row>(data);                                                                         \
        break;

constexpr IMS_STATE_TBL_T nothing[] = {{IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T all[] = {ROWS(STATE_ROW){IMS_TABLE_END, nullptr, 0}};
constexpr auto one_state = imsua::state_table(1, nothing, all);

struct One_state_table : IMS_UA_With_State_Machine {
    One_state_table() { initialize_state_tbl<one_state>(); }
};

struct One_state_switch : IMS_User_Agent {
    unsigned short handle_event(unsigned int event_id, void* data) override
    {
        unsigned short handled = 0;
        std::uint32_t event = event_id;
        while (event != 0) {
            std::uint32_t result = 0;
            switch (event) {
                ROWS(STATE_CASE)
            default: break;
            }
            event = result;
        }
        IMS_log::loginfo(5, "handle_event", "handle_event : msg_id=%d curr_state=%d",
                         static_cast<int>(event_id), state);
        return handled;
    }
    unsigned short state = 1;
};

// ---- four states with six rows each, and eight rows valid everywhere: every other event changes the state
// ----

#define EVERYWHERE(X) X(0, 17) X(1, 4) X(2, 29) X(3, 11) X(4, 8) X(5, 23) X(6, 2) X(7, 31)
#define OWN(X, to, stay, base)                                                                               \
    X(base + 0, 14, to)                                                                                      \
    X(base + 1, 26, stay) X(base + 2, 6, to) X(base + 3, 19, stay) X(base + 4, 1, to) X(base + 5, 22, stay)
#define MOVE_ROW(row, event, next) {event, handler<row>, next},
#define MOVE_CASE(row, event, to)                                                                            \
    case event:                                                                                              \
        handled = 1;                                                                                         \
        result = handler<row>(data);                                                                         \
        next = to;                                                                                           \
        break;

constexpr IMS_STATE_TBL_T everywhere[] = {EVERYWHERE(STATE_ROW){IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T first[] = {OWN(MOVE_ROW, 2, 0, 8){IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T second[] = {OWN(MOVE_ROW, 3, 0, 14){IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T third[] = {OWN(MOVE_ROW, 4, 0, 20){IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T fourth[] = {OWN(MOVE_ROW, 1, 0, 26){IMS_TABLE_END, nullptr, 0}};
constexpr auto four_states = imsua::state_table(1, everywhere, first, second, third, fourth);

struct Four_states_table : IMS_UA_With_State_Machine {
    Four_states_table() { initialize_state_tbl<four_states>(); }
};

struct Four_states_switch : IMS_User_Agent {
    unsigned short handle_event(unsigned int event_id, void* data) override
    {
        unsigned short handled = 0;
        std::uint32_t event = event_id;
        while (event != 0)
            event = step(event, data, handled);
        IMS_log::loginfo(5, "handle_event", "handle_event : msg_id=%d curr_state=%d",
                         static_cast<int>(event_id), state);
        return handled;
    }
    std::uint32_t step(std::uint32_t event, void* data, unsigned short& handled)
    {
        std::uint32_t result = 0;
        unsigned short next = 0;
        switch (event) {
            EVERYWHERE(STATE_CASE)
        default:
            switch (state) {
            case 1:
                switch (event) {
                    OWN(MOVE_CASE, 2, 0, 8)
                }
                break;
            case 2:
                switch (event) {
                    OWN(MOVE_CASE, 3, 0, 14)
                }
                break;
            case 3:
                switch (event) {
                    OWN(MOVE_CASE, 4, 0, 20)
                }
                break;
            case 4:
                switch (event) {
                    OWN(MOVE_CASE, 1, 0, 26)
                }
                break;
            }
        }
        if (next != 0) state = next;
        return result;
    }
    unsigned short state = 1;
};

// ---- running ----

constexpr std::size_t EVENTS = 4096; // a power of two; too many for a branch predictor to learn by heart

std::vector<std::uint32_t> random_events(const IMS_STATE_TBL_T* rows, const IMS_STATE_TBL_T* more)
{
    std::vector<std::uint32_t> known;
    for (const IMS_STATE_TBL_T* list : {rows, more})
        for (; list->event != IMS_TABLE_END; ++list)
            known.push_back(list->event);
    std::mt19937 random(4711);
    std::uniform_int_distribution<std::size_t> any(0, known.size() - 1);
    std::vector<std::uint32_t> chosen(EVENTS);
    for (auto& event : chosen)
        event = known[any(random)];
    return chosen;
}

template <typename Agent>
void dispatch(benchmark::State& state, const IMS_STATE_TBL_T* rows, const IMS_STATE_TBL_T* more)
{
    IMS_log::set_level(4);
    const std::vector<std::uint32_t> chosen = random_events(rows, more);
    const std::unique_ptr<IMS_User_Agent> agent = std::make_unique<Agent>();
    IMS_User_Agent* opaque = agent.get();
    benchmark::DoNotOptimize(opaque);
    std::uint64_t work = 0;
    std::size_t i = 0;
    unsigned int handled = 0;
    for (auto _ : state)
        handled += opaque->handle_event(chosen[i++ % EVENTS], &work);
    if (handled != state.iterations()) state.SkipWithError("an event was not handled");
    state.SetItemsProcessed(state.iterations());
}

template <typename Agent>
void add(const char* name, const IMS_STATE_TBL_T* rows, const IMS_STATE_TBL_T* more)
{
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) { dispatch<Agent>(state, rows, more); });
}

} // namespace

int main(int argc, char** argv)
{
    add<Event_table>("EventTable_ours", all, nothing);
    add<Event_switch>("EventTable_switch", all, nothing);
    add<One_state_table>("OneState_ours", all, nothing);
    add<One_state_switch>("OneState_switch", all, nothing);
    add<Four_states_table>("FourStates_ours", first, everywhere);
    add<Four_states_switch>("FourStates_switch", first, everywhere);
    return bench::run_with_ratios(
        argc, argv,
        {{"event table, 32 rows", "EventTable_ours", "EventTable_switch", 0.5},
         {"state machine, a list of 32 rows", "OneState_ours", "OneState_switch", 0.5},
         {"state machine, 4 states, 32 rows in all", "FourStates_ours", "FourStates_switch", 0.5}});
}
