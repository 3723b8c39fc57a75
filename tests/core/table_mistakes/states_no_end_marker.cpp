#include "tests/core/table_mistakes/parts.h"

// wanted: no end marker: the last row must be the table's end marker
// wanted: in_state<2>
// wanted: at_row<1>
// wanted: for_event<1>
constexpr IMS_STATE_TBL_T open[] = {{RELEASE, act, IDLE}, {CALL, nullptr, 0}};
constexpr auto machine = imsua::state_table(IDLE, any, idle, open);
static_assert(imsua::is_sound<machine>);
