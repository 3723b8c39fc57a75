#include "tests/core/table_mistakes/parts.h"

// wanted: no end marker: the last row must be the table's end marker
// wanted: in_state<-1>
// wanted: at_row<0>
// wanted: for_event<1>
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {{1, map}};
static_assert(imsua::is_sound<mapping>);
