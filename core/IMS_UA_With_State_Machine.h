// An agent whose behaviour is a constant state machine: for each state a list of rows, each naming an event,
// a handler and the state to enter. A handler may return a further event, which is dispatched at once.
//
// A daemon derives from it, overrides get_event_id_from_message to number its events, and hands over its
// table before the main loop starts. docs/tables.md shows one, how the compiler checks it and how it draws
// itself.
//
// Thread   as IMS_User_Agent: everything on the main thread. A handler may queue more messages.
// Memory   only points at the table, which must live as long as events are dispatched.
#ifndef IMS_UA_WITH_STATE_MACHINE_H_INCLUDED
#define IMS_UA_WITH_STATE_MACHINE_H_INCLUDED

#include "core/IMS_User_Agent.h"
#include "core/state_table.h"
#include "core/table_checks.h"
#include "include/ims_types.h"
#include "include/imsua_export.h"

class IMSUA_API IMS_UA_With_State_Machine : public IMS_User_Agent {
public:
    // An agent without a table: it recognises nothing.
    IMS_UA_With_State_Machine();

    // Frees nothing but the agent itself.
    ~IMS_UA_With_State_Machine() override;

    // Takes the table and enters `initial_state`. `lists` has one row list for each of `state_count` states,
    // each ending with the event IMS_TABLE_END (255). The list of state 0 holds the rows that are valid in
    // every state. No list may be null: the first search that meets a null one never ends (it looks again
    // every 100 ms). A null `lists`, or a state that is not below the count, stops all dispatch until the
    // next call of this operation.
    //
    // A handler may call it. The row being handled is then finished with its own next_state, if it has one,
    // and further events of the chain are looked up in the new table.
    void initialize_state_tbl(const IMS_STATE_TBL_T* const* lists, unsigned short initial_state,
                              unsigned short state_count);

    // The same in its old spelling, for callers that cast: `lists` is that array of pointers, not a row.
    void initialize_state_tbl(const IMS_STATE_TBL_T* lists, unsigned short initial_state,
                              unsigned short state_count);

    // The same from a constant that the compiler checks (core/table_checks.h): a table with a mistake, or
    // with another table's number of states, does not compile. `Table` is a constexpr imsua::State_table.
    //
    //     agent.initialize_state_tbl<machine>();
    template <const auto& Table>
    void initialize_state_tbl()
    {
        static_assert(imsua::is_sound<Table>);
        initialize_state_tbl(Table.lists, static_cast<unsigned short>(Table.initial_state),
                             Table.state_count);
    }

    // Dispatches `event_id`, then the event that its handler returned, and so on until a handler returns 0,
    // an event has no row, or a row has no handler. Each is looked up in the list of the current state and,
    // only when that has no row for it, in that of state 0. The handler is called with `data` and still sees
    // the old state; then the row's next_state is entered, 0 meaning stay. There is no limit on the chain.
    //
    // 1 when at least one handler was called, else 0; always 0 for the events 0 and 255. Every call is logged
    // at level 5, after the chain: "handle_event : msg_id=%d curr_state=%d" with `event_id` and the state
    // reached.
    unsigned short handle_event(unsigned int event_id, void* data) override;

private:
    const IMS_STATE_TBL_T* const* state_tbl_; // null until set
    unsigned short current_state_;
    unsigned short state_count_;
};

#endif
