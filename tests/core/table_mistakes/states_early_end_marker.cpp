#include "tests/core/table_mistakes/parts.h"

// wanted: end marker before the last row: what follows is never read
// wanted: in_state<0>
// wanted: at_row<1>
// wanted: for_event<255>
constexpr IMS_STATE_TBL_T split[] = {
    {RESET, act, IDLE}, {IMS_TABLE_END, nullptr, 0}, {RELEASE, act, 0}, {IMS_TABLE_END, nullptr, 0}};
constexpr auto machine = imsua::state_table(IDLE, split, idle, busy);
static_assert(imsua::is_sound<machine>);
