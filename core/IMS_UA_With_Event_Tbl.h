// An agent whose behaviour is one constant table: event number to handler.
//
// A daemon derives from it, overrides get_event_id_from_message to number its events, and hands over its
// table before the main loop starts. docs/tables.md shows one, and how the compiler checks it.
//
// Thread   as IMS_User_Agent: everything on the main thread. A handler may queue more messages.
// Memory   only points at the table, which must live as long as events are dispatched.
#ifndef IMS_UA_WITH_EVENT_TBL_H_INCLUDED
#define IMS_UA_WITH_EVENT_TBL_H_INCLUDED

#include "core/IMS_User_Agent.h"
#include "core/table_checks.h"
#include "include/ims_types.h"
#include "include/imsua_export.h"

class IMSUA_API IMS_UA_With_Event_Tbl : public IMS_User_Agent {
public:
    // An agent without a table: it recognises nothing.
    IMS_UA_With_Event_Tbl();

    // Frees nothing but the agent itself.
    ~IMS_UA_With_Event_Tbl() override;

    // Takes `table`, rows that end with the event IMS_TABLE_END (255). Null takes the table away. A handler
    // may call it: the event being handled is finished with the old table.
    void initialize_event_tbl(const IMS_EVENT_TABLE_T* table);

    // The same from a constant that the compiler checks (core/table_checks.h): a table with a mistake does
    // not compile. `Table` is a constexpr IMS_EVENT_TABLE_T[].
    //
    //     agent.initialize_event_tbl<events>();
    template <const auto& Table>
    void initialize_event_tbl()
    {
        static_assert(imsua::is_sound<Table>);
        initialize_event_tbl(Table);
    }

    // Calls the handler of the first row for `event_id` with `data` and ignores what it returns. 1 when a
    // handler was called; 0 for an event without a row, a row without a handler, no table, and always for
    // event 255. Every call is logged at level 5, after the handler: "handle_event : msg_id=%d".
    unsigned short handle_event(unsigned int event_id, void* data) override;

private:
    const IMS_EVENT_TABLE_T* event_tbl_; // null until set
};

#endif
