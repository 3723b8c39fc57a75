#include "tests/core/table_mistakes/parts.h"

// wanted: handler on the end marker: the marker's number can never be dispatched
// wanted: in_state<1>
// wanted: at_row<1>
// wanted: for_event<255>
constexpr IMS_STATE_TBL_T last[] = {{CALL, act, BUSY}, {IMS_TABLE_END, act, 0}};
constexpr auto machine = imsua::state_table(IDLE, any, last, busy);
static_assert(imsua::is_sound<machine>);
