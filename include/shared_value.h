// Plain variables that one thread writes while another reads them: descriptors and pointers whose type is
// fixed.
//
// Both sides go through these two functions, so that what was written before the store is seen after the
// load, and a race detector knows that it is meant.
#ifndef IMSUA_SHARED_VALUE_H_INCLUDED
#define IMSUA_SHARED_VALUE_H_INCLUDED

namespace imsua {

// What `variable` holds now. Any thread.
template <typename T>
T load_shared(const T& variable)
{
    return __atomic_load_n(&variable, __ATOMIC_ACQUIRE);
}

// Makes `value` what every later load_shared(variable) gives. Any thread.
template <typename T, typename Value>
void store_shared(T& variable, Value value)
{
    const T converted = value;
    __atomic_store_n(&variable, converted, __ATOMIC_RELEASE);
}

} // namespace imsua

#endif
