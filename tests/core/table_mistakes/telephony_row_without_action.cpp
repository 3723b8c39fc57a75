#include "tests/core/table_mistakes/parts.h"

// wanted: row without an action: a telephony message that matches it would never be done
// wanted: in_state<-1>
// wanted: at_row<1>
// wanted: for_event<2>
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {{1, map}, {2, nullptr}, {TAPI_TABLE_END, nullptr}};
static_assert(imsua::is_sound<mapping>);
