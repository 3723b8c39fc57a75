// Dispatch tables that cannot be wrong: one static_assert beside a constant table, and every mistake in it is
// a compile error that names the mistake and where it stands.
//
//     constexpr IMS_STATE_TBL_T anywhere[] = {{RESET, on_reset, IDLE}, {IMS_TABLE_END, nullptr, 0}};
//     constexpr IMS_STATE_TBL_T idle[] = {{CALL, on_call, BUSY}, {IMS_TABLE_END, nullptr, 0}};
//     constexpr IMS_STATE_TBL_T busy[] = {{CALL, refuse, 0}, {IMS_TABLE_END, nullptr, 0}};
//     constexpr auto machine = imsua::state_table(IDLE, anywhere, idle, busy); // state 0, 1, 2
//     static_assert(imsua::is_sound<machine>);
//
// An event table (IMS_EVENT_TABLE_T[]) and a telephony mapping (TAPI_EVENT_ACTION_TABLE_T[]) are checked in
// the same way: static_assert(imsua::is_sound<events>). docs/tables.md lists the mistakes and their messages.
//
// Cost     none at run time.
// Memory   everything points at the tables themselves, which are constants of the program.
// Limits   a mistake that only running shows stays unseen: which event a handler returns, for one.
#ifndef IMSUA_TABLE_CHECKS_H_INCLUDED
#define IMSUA_TABLE_CHECKS_H_INCLUDED

#include "core/state_table.h"
#include "include/ims_types.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace imsua {

namespace table_checks {

enum class Mistake {
    none,
    null_list,
    list_without_length,
    no_end_marker,
    early_end_marker,
    handler_on_end_marker,
    two_rows_for_one_event,
    row_for_event_0,
    next_state_beyond_count,
    initial_state_beyond_count,
    unreachable_state,
    row_without_action
};

// The first mistake of a table and where it stands; -1 where that says nothing.
struct Finding {
    Mistake mistake = Mistake::none;
    std::int64_t state = -1, row = -1, event = -1;
};

// Whether `pointer` is null, for the compiler's evaluation only. With g++'s sanitizers comparing an address
// with null is no constant expression any more; to this built-in null is a constant, and an address is not.
template <typename Pointer>
constexpr bool is_null(const Pointer& pointer)
{
    return __builtin_constant_p(pointer);
}

// ---- what the three kinds of rows have in common ----

template <typename Row>
constexpr std::uint32_t event_of(const Row& row)
{
    return row.event;
}
constexpr std::uint32_t event_of(const TAPI_EVENT_ACTION_TABLE_T& row)
{
    return row.tapi_msg_id;
}

template <typename Row>
constexpr bool has_handler(const Row& row)
{
    return !is_null(row.handler);
}
constexpr bool has_handler(const TAPI_EVENT_ACTION_TABLE_T& row)
{
    return !is_null(row.action);
}

template <typename Row>
inline constexpr std::uint32_t end_marker = IMS_TABLE_END;
template <>
inline constexpr std::uint32_t end_marker<TAPI_EVENT_ACTION_TABLE_T> = TAPI_TABLE_END;

template <typename Row>
constexpr Finding at(Mistake mistake, const Row* rows, std::size_t row, std::int64_t state)
{
    return {mistake, state, static_cast<std::int64_t>(row), event_of(rows[row])};
}

// The marker ends the rows, and only that; `count` includes it.
template <typename Row>
constexpr Finding find_marker_mistake(const Row* rows, std::size_t count, std::int64_t state)
{
    const std::size_t last = count - 1;
    if (event_of(rows[last]) != end_marker<Row>) return at(Mistake::no_end_marker, rows, last, state);
    for (std::size_t i = 0; i < last; ++i)
        if (event_of(rows[i]) == end_marker<Row>) return at(Mistake::early_end_marker, rows, i, state);
    if (has_handler(rows[last])) return at(Mistake::handler_on_end_marker, rows, last, state);
    return {};
}

template <typename Row>
constexpr Finding find_second_row(const Row* rows, std::size_t count, std::int64_t state)
{
    for (std::size_t i = 1; i + 1 < count; ++i)
        for (std::size_t earlier = 0; earlier < i; ++earlier)
            if (event_of(rows[i]) == event_of(rows[earlier]))
                return at(Mistake::two_rows_for_one_event, rows, i, state);
    return {};
}

template <typename Row>
constexpr Finding find_row_mistake(const Row* rows, std::size_t count, std::int64_t state)
{
    const Finding marker = find_marker_mistake(rows, count, state);
    return marker.mistake != Mistake::none ? marker : find_second_row(rows, count, state);
}

// ---- event tables and telephony mappings ----

template <std::size_t Count>
constexpr Finding find_mistake(const IMS_EVENT_TABLE_T (&table)[Count])
{
    return find_row_mistake(table, Count, -1);
}

template <std::size_t Count>
constexpr Finding find_mistake(const TAPI_EVENT_ACTION_TABLE_T (&table)[Count])
{
    const Finding found = find_row_mistake(table, Count, -1);
    if (found.mistake != Mistake::none) return found;
    for (std::size_t i = 0; i + 1 < Count; ++i)
        if (!has_handler(table[i])) return at(Mistake::row_without_action, table, i, -1);
    return {};
}

// ---- state machines ----

// What can be wrong with the list of one state by itself.
constexpr Finding find_list_mistake(const IMS_STATE_TBL_T* rows, std::size_t count, std::int64_t state,
                                    std::size_t state_count)
{
    if (is_null(rows)) return {Mistake::null_list, state, -1, -1};
    if (count == 0) return {Mistake::list_without_length, state, -1, -1};
    const Finding found = find_row_mistake(rows, count, state);
    if (found.mistake != Mistake::none) return found;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        if (rows[i].event == 0) return at(Mistake::row_for_event_0, rows, i, state);
        if (rows[i].next_state >= state_count) return at(Mistake::next_state_beyond_count, rows, i, state);
    }
    return {};
}

// Which states the machine can be in, found by walking the rows from the initial one.
template <std::size_t States>
struct Reached {
    bool states[States] = {};
    std::size_t waiting[States] = {}; // reached, rows not walked yet
    std::size_t waiting_count = 0;

    constexpr void add(std::size_t state)
    {
        if (states[state]) return;
        states[state] = true;
        waiting[waiting_count++] = state;
    }

    constexpr bool has_row(const State_table<States>& table, std::size_t state, std::uint32_t event) const
    {
        for (std::size_t i = 0; i + 1 < table.row_counts[state]; ++i)
            if (table.lists[state][i].event == event) return true;
        return false;
    }

    // The states that a machine in `from` can enter by the rows of `list`: its own, or those of state 0 for
    // events that it has no row for.
    constexpr void follow(const State_table<States>& table, std::size_t list, std::size_t from)
    {
        for (std::size_t i = 0; i + 1 < table.row_counts[list]; ++i) {
            const IMS_STATE_TBL_T& row = table.lists[list][i];
            if (row.next_state == 0 || states[row.next_state]) continue;
            if (list == from || !has_row(table, from, row.event)) add(row.next_state);
        }
    }

    constexpr void walk(const State_table<States>& table)
    {
        add(table.initial_state);
        while (waiting_count > 0) {
            const std::size_t state = waiting[--waiting_count];
            follow(table, state, state);
            follow(table, 0, state);
        }
    }
};

// What can be wrong with how the lists, each sound by itself, work together.
template <std::size_t States>
constexpr Finding find_way_mistake(const State_table<States>& table)
{
    if (table.initial_state >= States)
        return {Mistake::initial_state_beyond_count, table.initial_state, -1, -1};
    Reached<States> reached;
    reached.walk(table);
    // No row enters state 0: it need not be reached, its list is used in every state.
    for (std::size_t state = 1; state < States; ++state)
        if (!reached.states[state])
            return {Mistake::unreachable_state, static_cast<std::int64_t>(state), -1, -1};
    return {};
}

// ---- any table ----

// Each list is an evaluation of its own: compilers limit the steps of one.
template <const auto& Table, std::size_t State>
inline constexpr Finding finding_in_list = find_list_mistake(Table.lists[State], Table.row_counts[State],
                                                             static_cast<std::int64_t>(State),
                                                             Table.state_count);

template <const auto& Table, std::size_t... State>
constexpr Finding find_in_lists(std::index_sequence<State...>)
{
    Finding first;
    static_cast<void>(((first = finding_in_list<Table, State>, first.mistake != Mistake::none) || ...));
    return first;
}

template <const auto& Table>
constexpr Finding find_mistake_of()
{
    if constexpr (std::is_array<std::remove_reference_t<decltype(Table)>>::value) {
        return find_mistake(Table);
    } else {
        constexpr Finding found = find_in_lists<Table>(std::make_index_sequence<Table.state_count>());
        if constexpr (found.mistake != Mistake::none)
            return found;
        else
            return find_way_mistake(Table);
    }
}

// ---- the error message: its text, and the place as types that a compiler prints ----

template <std::int64_t>
struct in_state {
};
template <std::int64_t>
struct at_row {
};
template <std::int64_t>
struct for_event {
};

template <Mistake M, typename State, typename Row, typename Event>
constexpr bool table_has_a_mistake()
{
    static_assert(M != Mistake::null_list,
                  "null list: every state needs a list, if only with its end marker");
    static_assert(M != Mistake::list_without_length,
                  "list without a length: give the array of rows itself, not a pointer to it");
    static_assert(M != Mistake::no_end_marker, "no end marker: the last row must be the table's end marker");
    static_assert(M != Mistake::early_end_marker,
                  "end marker before the last row: what follows is never read");
    static_assert(M != Mistake::handler_on_end_marker,
                  "handler on the end marker: the marker's number can never be dispatched");
    static_assert(M != Mistake::two_rows_for_one_event,
                  "two rows for one event: only the first one is ever used");
    static_assert(M != Mistake::row_for_event_0, "row for event 0: a state machine never dispatches event 0");
    static_assert(M != Mistake::next_state_beyond_count,
                  "next_state beyond the count: it must be below the number of states");
    static_assert(M != Mistake::initial_state_beyond_count,
                  "initial state beyond the count: it must be below the number of states");
    static_assert(M != Mistake::unreachable_state,
                  "unreachable state: no row leads to it from the initial state");
    static_assert(M != Mistake::row_without_action,
                  "row without an action: a telephony message that matches it would never be done");
    return true;
}

template <const auto& Table>
constexpr bool report()
{
    constexpr Finding found = find_mistake_of<Table>();
    if constexpr (found.mistake != Mistake::none)
        return table_has_a_mistake<found.mistake, in_state<found.state>, at_row<found.row>,
                                   for_event<found.event>>();
    return true;
}

} // namespace table_checks

// True for a table without a mistake; for any other the program does not compile. `Table` is a constexpr
// variable: a State_table, an IMS_EVENT_TABLE_T[] or a TAPI_EVENT_ACTION_TABLE_T[].
template <const auto& Table>
inline constexpr bool is_sound = table_checks::report<Table>();

} // namespace imsua

#endif
