#include "tests/core/table_mistakes/parts.h"

// wanted: row for event 0: a state machine never dispatches event 0
// wanted: in_state<1>
// wanted: at_row<1>
// wanted: for_event<0>
constexpr IMS_STATE_TBL_T zero[] = {{CALL, act, BUSY}, {0, act, 0}, {IMS_TABLE_END, nullptr, 0}};
constexpr auto machine = imsua::state_table(IDLE, any, zero, busy);
static_assert(imsua::is_sound<machine>);
