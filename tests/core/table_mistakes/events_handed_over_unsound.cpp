#include "core/IMS_UA_With_Event_Tbl.h"
#include "tests/core/table_mistakes/parts.h"

// wanted: two rows for one event: only the first one is ever used
// wanted: in_state<-1>
// wanted: at_row<1>
// wanted: for_event<1>

// Handing the table over checks it, too.
constexpr IMS_EVENT_TABLE_T events[] = {{CALL, act}, {CALL, act}, {IMS_TABLE_END, nullptr}};

void start(IMS_UA_With_Event_Tbl& agent)
{
    agent.initialize_event_tbl<events>();
}
