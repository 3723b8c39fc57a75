#include "tests/core/table_mistakes/parts.h"

// wanted: end marker before the last row: what follows is never read
// wanted: in_state<-1>
// wanted: at_row<0>
// wanted: for_event<34559>
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {
    {TAPI_TABLE_END, nullptr}, {1, map}, {TAPI_TABLE_END, nullptr}};
static_assert(imsua::is_sound<mapping>);
