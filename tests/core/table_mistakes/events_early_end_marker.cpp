#include "tests/core/table_mistakes/parts.h"

// wanted: end marker before the last row: what follows is never read
// wanted: in_state<-1>
// wanted: at_row<0>
// wanted: for_event<255>
constexpr IMS_EVENT_TABLE_T events[] = {{IMS_TABLE_END, nullptr}, {CALL, act}, {IMS_TABLE_END, nullptr}};
static_assert(imsua::is_sound<events>);
