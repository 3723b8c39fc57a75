#include "tests/core/table_mistakes/parts.h"

// wanted: handler on the end marker: the marker's number can never be dispatched
// wanted: in_state<-1>
// wanted: at_row<1>
// wanted: for_event<34559>
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {{1, map}, {TAPI_TABLE_END, map}};
static_assert(imsua::is_sound<mapping>);
