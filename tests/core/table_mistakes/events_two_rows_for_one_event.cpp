#include "tests/core/table_mistakes/parts.h"

// wanted: two rows for one event: only the first one is ever used
// wanted: in_state<-1>
// wanted: at_row<2>
// wanted: for_event<1>
constexpr IMS_EVENT_TABLE_T events[] = {
    {CALL, nullptr}, {RELEASE, act}, {CALL, act}, {IMS_TABLE_END, nullptr}};
static_assert(imsua::is_sound<events>);
