#include "tests/core/table_mistakes/parts.h"

// wanted: two rows for one event: only the first one is ever used
// wanted: in_state<-1>
// wanted: at_row<2>
// wanted: for_event<1>
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {{1, map}, {2, map}, {1, map}, {TAPI_TABLE_END, nullptr}};
static_assert(imsua::is_sound<mapping>);
