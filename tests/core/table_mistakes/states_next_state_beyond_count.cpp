#include "tests/core/table_mistakes/parts.h"

// wanted: next_state beyond the count: it must be below the number of states
// wanted: in_state<1>
// wanted: at_row<0>
// wanted: for_event<1>
constexpr IMS_STATE_TBL_T far[] = {{CALL, act, 3}, {RELEASE, act, BUSY}, {IMS_TABLE_END, nullptr, 0}};
constexpr auto machine = imsua::state_table(IDLE, any, far, busy);
static_assert(imsua::is_sound<machine>);
