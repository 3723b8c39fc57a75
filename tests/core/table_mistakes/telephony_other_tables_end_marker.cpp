#include "tests/core/table_mistakes/parts.h"

// wanted: no end marker: the last row must be the table's end marker
// wanted: in_state<-1>
// wanted: at_row<1>
// wanted: for_event<255>

// 255 ends the other tables; here it is an ordinary message.
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {{1, map}, {IMS_TABLE_END, map}};
static_assert(imsua::is_sound<mapping>);
