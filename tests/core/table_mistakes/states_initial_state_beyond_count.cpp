#include "tests/core/table_mistakes/parts.h"

// wanted: initial state beyond the count: it must be below the number of states
// wanted: in_state<3>
// wanted: at_row<-1>
// wanted: for_event<-1>
constexpr auto machine = imsua::state_table(3, any, idle, busy);
static_assert(imsua::is_sound<machine>);
