#include "tests/core/table_mistakes/parts.h"

// wanted: null list: every state needs a list, if only with its end marker
// wanted: in_state<2>
// wanted: at_row<-1>
// wanted: for_event<-1>
constexpr auto machine = imsua::state_table(IDLE, any, idle, nullptr);
static_assert(imsua::is_sound<machine>);
