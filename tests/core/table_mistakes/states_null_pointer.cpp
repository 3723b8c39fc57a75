#include "tests/core/table_mistakes/parts.h"

// wanted: null list: every state needs a list, if only with its end marker
// wanted: in_state<1>
// wanted: at_row<-1>
// wanted: for_event<-1>
constexpr const IMS_STATE_TBL_T* nothing = nullptr;
constexpr auto machine = imsua::state_table(BUSY, any, nothing, busy);
static_assert(imsua::is_sound<machine>);
