#include "tests/core/table_mistakes/parts.h"

// wanted: unreachable state: no row leads to it from the initial state
// wanted: in_state<2>
// wanted: at_row<-1>
// wanted: for_event<-1>
constexpr IMS_STATE_TBL_T stays[] = {{CALL, act, 0}, {IMS_TABLE_END, nullptr, 0}};
constexpr auto machine = imsua::state_table(IDLE, any, stays, busy);
static_assert(imsua::is_sound<machine>);
