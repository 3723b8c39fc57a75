#include "tests/core/table_mistakes/parts.h"

// wanted: no row list: the list of state 0 comes first
constexpr auto machine = imsua::state_table(IDLE);
