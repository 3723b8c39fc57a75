#include "tests/core/table_mistakes/parts.h"

// wanted: initial state beyond the count: it must be below the number of states
// wanted: in_state<65537>
// wanted: at_row<-1>
// wanted: for_event<-1>

// Cut to 16 bits it would be IDLE.
constexpr auto machine = imsua::state_table(65537, any, idle, busy);
static_assert(imsua::is_sound<machine>);
