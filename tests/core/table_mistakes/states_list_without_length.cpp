#include "tests/core/table_mistakes/parts.h"

// wanted: list without a length: give the array of rows itself, not a pointer to it
// wanted: in_state<1>
// wanted: at_row<-1>
// wanted: for_event<-1>
constexpr const IMS_STATE_TBL_T* pointer = idle;
constexpr auto machine = imsua::state_table(IDLE, any, pointer, busy);
static_assert(imsua::is_sound<machine>);
