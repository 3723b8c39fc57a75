// The control: nothing here is a mistake, so it compiles without a word.
#include "core/IMS_Tapi_ifc.h"
#include "core/IMS_UA_With_Event_Tbl.h"
#include "core/IMS_UA_With_State_Machine.h"
#include "tests/core/table_mistakes/parts.h"

// Names of a daemon's own that the headers use inside: -Wshadow stays quiet.
extern int table, rows, count, row, list, lists, event, state, states, initial_state, mistake, found, reached,
    waiting, last, earlier;

constexpr auto machine = imsua::state_table(IDLE, any, idle, busy);
static_assert(imsua::is_sound<machine>);
static_assert(machine.state_count == 3 && machine.initial_state == IDLE && machine.lists[2] == busy);

// State 0 is entered by no row, and need not be; it may be the initial one.
constexpr auto from_0 = imsua::state_table(ANY, any, idle, busy);
static_assert(imsua::is_sound<from_0>);

// A single state, and lists of nothing but their marker.
constexpr IMS_STATE_TBL_T nothing[] = {{IMS_TABLE_END, nullptr, 0}};
constexpr auto alone = imsua::state_table(0, nothing);
static_assert(imsua::is_sound<alone>);

// BUSY is reached only by a row of state 0, which the initial state does not override.
constexpr IMS_STATE_TBL_T leads[] = {{CALL, nullptr, BUSY}, {RESET, act, 0}, {IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T stays[] = {{RESET, act, 0}, {IMS_TABLE_END, nullptr, 0}};
constexpr auto by_state_0 = imsua::state_table(IDLE, leads, stays, busy);
static_assert(imsua::is_sound<by_state_0>);

// Another state may have a row for the same event; rows without a handler are no mistake.
constexpr IMS_EVENT_TABLE_T events[] = {{0, act},
                                        {CALL, nullptr},
                                        {TAPI_TABLE_END, [](void*) -> std::uint32_t { return 0; }},
                                        {IMS_TABLE_END, nullptr}};
static_assert(imsua::is_sound<events>);
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {
    {0, map}, {IMS_TABLE_END, [](TAC_MSG_S*) -> void* { return nullptr; }}, {TAPI_TABLE_END, nullptr}};
static_assert(imsua::is_sound<mapping>);

// Tables of a class and of a function.
struct Daemon : IMS_UA_With_State_Machine {
    static std::uint32_t on_call(void*) { return 0; }
    static constexpr IMS_STATE_TBL_T own[] = {{CALL, on_call, 0}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr auto one_state = imsua::state_table(0, own);
    static_assert(imsua::is_sound<one_state>);
    Daemon() { initialize_state_tbl<one_state>(); }
};

void start(IMS_UA_With_Event_Tbl& by_event, IMS_UA_With_State_Machine& by_state, IMS_Tapi_ifc& telephony)
{
    static constexpr IMS_STATE_TBL_T local[] = {{CALL, act, 0}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr auto one_state = imsua::state_table(0, local);
    static_assert(imsua::is_sound<one_state>);
    by_state.initialize_state_tbl<one_state>();
    by_event.initialize_event_tbl<events>();
    telephony.initialize_event_tbl<mapping>();
}
