// A state machine as one constant: its row lists and their number, and the state in which it starts.
//
//     constexpr auto machine = imsua::state_table(IDLE, anywhere, idle, busy);
//     static_assert(imsua::is_sound<machine>);      // core/table_checks.h
//     agent.initialize_state_tbl<machine>();        // core/IMS_UA_With_State_Machine.h
//     imsua::State_graph graph("line", machine);    // core/state_graph.h
//
// Memory   points at the lists, which are constants of the program.
#ifndef IMSUA_STATE_TABLE_H_INCLUDED
#define IMSUA_STATE_TABLE_H_INCLUDED

#include "include/ims_types.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace imsua {

// The row list of one state as it was given: an array, marker included, or (a mistake) a null or bare
// pointer.
struct Row_list {
    const IMS_STATE_TBL_T* rows;
    std::size_t count; // 0: unknown
};

template <std::size_t Count>
constexpr Row_list row_list(const IMS_STATE_TBL_T (&rows)[Count])
{
    return {rows, Count};
}
constexpr Row_list row_list(std::nullptr_t)
{
    return {nullptr, 0};
}
// Not for arrays, which know their length.
template <typename Pointer, typename = std::enable_if_t<std::is_pointer<Pointer>::value>>
constexpr Row_list row_list(const Pointer& rows)
{
    return {rows, 0};
}

// A whole state machine: its row lists by state number, and where it starts. Made by state_table().
template <std::size_t States>
struct State_table {
    static_assert(States <= 0xFFFF, "too many states: their numbers have 16 bits");
    static constexpr std::uint16_t state_count = static_cast<std::uint16_t>(States);

    std::uint32_t initial_state;
    const IMS_STATE_TBL_T* lists[States]; // what initialize_state_tbl takes
    std::size_t row_counts[States];       // marker included
};

// The machine whose state 0, 1, 2... has the first, second, third... of `lists`, arrays of rows. The list of
// state 0 holds the rows that are valid in every state.
template <typename... Lists>
constexpr State_table<(sizeof...(Lists) > 0 ? sizeof...(Lists) : 1)> state_table(std::uint32_t initial_state,
                                                                                 const Lists&... lists)
{
    static_assert(sizeof...(Lists) > 0, "no row list: the list of state 0 comes first");
    return {initial_state, {row_list(lists).rows...}, {row_list(lists).count...}};
}

} // namespace imsua

#endif
