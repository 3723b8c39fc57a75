#include "tests/core/table_mistakes/parts.h"

// wanted: no end marker: the last row must be the table's end marker
// wanted: in_state<-1>
// wanted: at_row<1>
// wanted: for_event<2>
constexpr IMS_EVENT_TABLE_T events[] = {{CALL, act}, {RELEASE, act}};
static_assert(imsua::is_sound<events>);
