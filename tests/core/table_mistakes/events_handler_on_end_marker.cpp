#include "tests/core/table_mistakes/parts.h"

// wanted: handler on the end marker: the marker's number can never be dispatched
// wanted: in_state<-1>
// wanted: at_row<1>
// wanted: for_event<255>
constexpr IMS_EVENT_TABLE_T events[] = {{CALL, act}, {IMS_TABLE_END, act}};
static_assert(imsua::is_sound<events>);
