#include "tests/core/table_mistakes/parts.h"

// wanted: unreachable state: no row leads to it from the initial state
// wanted: in_state<3>
// wanted: at_row<-1>
// wanted: for_event<-1>

// Two states that lead to each other, but nothing leads to either.
constexpr IMS_STATE_TBL_T third[] = {{CALL, act, 4}, {IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T fourth[] = {{CALL, act, 3}, {IMS_TABLE_END, nullptr, 0}};
constexpr auto machine = imsua::state_table(IDLE, any, idle, busy, third, fourth);
static_assert(imsua::is_sound<machine>);
