#include "tests/core/table_mistakes/parts.h"

// wanted: two rows for one event: only the first one is ever used
// wanted: in_state<1>
// wanted: at_row<2>
// wanted: for_event<1>
constexpr IMS_STATE_TBL_T twice[] = {
    {CALL, act, BUSY}, {RELEASE, act, 0}, {CALL, nullptr, 0}, {IMS_TABLE_END, nullptr, 0}};
constexpr auto machine = imsua::state_table(IDLE, any, twice, busy);
static_assert(imsua::is_sound<machine>);
