// What the small sources of this folder have in common: handlers, and numbers for states and events.
#ifndef TESTS_CORE_TABLE_MISTAKES_PARTS_H_INCLUDED
#define TESTS_CORE_TABLE_MISTAKES_PARTS_H_INCLUDED

#include "core/table_checks.h"

enum State : std::uint16_t { ANY, IDLE, BUSY };
enum Event : std::uint32_t { CALL = 1, RELEASE = 2, RESET = 3 };

inline std::uint32_t act(void*)
{
    return 0;
}
inline void* map(TAC_MSG_S*)
{
    return nullptr;
}

// Lists without a mistake; each source replaces one of them.
constexpr IMS_STATE_TBL_T any[] = {{RESET, act, IDLE}, {IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T idle[] = {{CALL, act, BUSY}, {IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T busy[] = {{RELEASE, act, IDLE}, {CALL, nullptr, 0}, {IMS_TABLE_END, nullptr, 0}};

#endif
