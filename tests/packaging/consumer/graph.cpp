#include "core/state_graph.h"
#include "core/table_checks.h"

namespace {

constexpr std::uint32_t START = 1;
constexpr IMS_STATE_TBL_T off[] = {{START, nullptr, 1}, {IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T on[] = {{IMS_TABLE_END, nullptr, 0}};
constexpr auto machine = imsua::state_table(0, off, on);
static_assert(imsua::is_sound<machine>);

} // namespace

imsua::State_graph imsua_state_graph()
{
    imsua::State_graph graph("a switch", machine);
    graph.events = {IMS_NAMED(START)};
    return graph;
}
