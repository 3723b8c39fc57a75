#include "core/IMS_Tapi_ifc.h"
#include "tests/core/table_mistakes/parts.h"

// wanted: row without an action: a telephony message that matches it would never be done
// wanted: in_state<-1>
// wanted: at_row<0>
// wanted: for_event<1>

// Handing the table over checks it, too.
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {{1, nullptr}, {TAPI_TABLE_END, nullptr}};

void start(IMS_Tapi_ifc& telephony)
{
    telephony.initialize_event_tbl<mapping>();
}
