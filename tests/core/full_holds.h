// Brings the table of held records to where the next one needs memory.
#ifndef TESTS_CORE_FULL_HOLDS_H_INCLUDED
#define TESTS_CORE_FULL_HOLDS_H_INCLUDED

#include "core/mapped_records.h"
#include "tests/support/failing_calls.h"

// Holds one thing after the other until the table has to grow, which fails. For a process that ends.
inline bool fill_the_table_of_holds()
{
    static char places[10000];
    const Failing failing(Call::operator_new, 1);
    for (char& place : places)
        if (!imsua::hold_mapped(&place)) return true;
    return false;
}

#endif
