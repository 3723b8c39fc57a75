// How the tests of this folder look at an interface: from outside, as a program that was compiled against the
// headers and is linked with the shared libraries.
#ifndef TESTS_INTERFACES_INTERFACE_CHECKS_H_INCLUDED
#define TESTS_INTERFACES_INTERFACE_CHECKS_H_INCLUDED

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>

// The operation has exactly this type, and the library exports it: its address is really taken, so that the
// program does not link without it. Overloads are told apart by the type.
//
//     offers<bool (IMS_Message::*)(const char*, const char*)>(&IMS_Message::set_header);
template <typename Wanted>
void offers(Wanted operation)
{
    asm volatile("" : : "r"(&operation) : "memory");
    EXPECT_TRUE(operation != nullptr);
}

// Entry `slot` of the virtual table of `object`, as a function. A virtual destructor takes two entries.
template <typename Function>
Function* table_entry(const void* object, std::size_t slot)
{
    void* const* table = nullptr;
    std::memcpy(&table, object, sizeof table);
    Function* entry = nullptr;
    std::memcpy(&entry, &table[slot], sizeof entry);
    return entry;
}

// Where `field` lies inside `object`.
inline std::size_t place_of(const void* field, const void* object)
{
    return static_cast<std::size_t>(static_cast<const char*>(field) - static_cast<const char*>(object));
}

#endif
