#include "tests/platform/baseuafw/failing_new.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool limited = false;
thread_local bool refused = false;
thread_local int left = 0;

void* allocate(std::size_t size) noexcept
{
    if (limited && left-- <= 0) {
        refused = true;
        return nullptr;
    }
    return std::malloc(size > 0 ? size : 1);
}

} // namespace

FailingNew::FailingNew(int granted)
{
    left = granted;
    refused = false;
    limited = true;
}

FailingNew::~FailingNew()
{
    limited = false;
}

bool FailingNew::failed() const
{
    return refused;
}

void* operator new(std::size_t size)
{
    if (void* memory = allocate(size)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
