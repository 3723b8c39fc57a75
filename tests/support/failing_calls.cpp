#include "tests/support/failing_calls.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <pthread.h>

namespace {

// How many calls of this thread until the one that fails; 0 when none will.
thread_local int remaining[static_cast<int>(Call::count)];

bool must_fail(Call call)
{
    int& left = remaining[static_cast<int>(call)];
    return left > 0 && --left == 0;
}

struct Block {
    std::atomic<const void*> address{nullptr};
    std::atomic<bool> is_freed{false};
};
Block watched[8];
std::atomic<bool> watching_copies{false};
std::atomic<unsigned> watched_count{0};

void note_freed(const void* address)
{
    if (!address) return;
    for (Block& block : watched)
        if (block.address == address) block.is_freed = true;
}

} // namespace

void Watched::watch(const void* block)
{
    watched[watched_count++ % 8].address = block;
}

void Watched::watch_copies()
{
    watching_copies = true;
}

int Watched::freed()
{
    int count = 0;
    for (const Block& block : watched)
        count += block.is_freed ? 1 : 0;
    return count;
}

Failing::Failing(Call call, int nth) : call_(call)
{
    remaining[static_cast<int>(call_)] = nth;
}

Failing::~Failing()
{
    remaining[static_cast<int>(call_)] = 0;
}

bool Failing::has_happened() const
{
    return remaining[static_cast<int>(call_)] == 0;
}

// The linker sends the program's calls of these here (--wrap); __real_ names the genuine ones. Visible, since
// the sanitizers' own libraries name some of them, too.
#pragma GCC visibility push(default)
extern "C" {
void* __real_malloc(std::size_t size);
void __real_free(void* block);
char* __real_strdup(const char* text);
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __real_pthread_attr_init(pthread_attr_t*);

void* __wrap_malloc(std::size_t size)
{
    return must_fail(Call::malloc) ? nullptr : __real_malloc(size);
}

void __wrap_free(void* block)
{
    note_freed(block);
    __real_free(block);
}

char* __wrap_strdup(const char* text)
{
    char* const copy = must_fail(Call::strdup) ? nullptr : __real_strdup(text);
    if (copy && watching_copies) Watched::watch(copy);
    return copy;
}

int __wrap_pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*routine)(void*), void* arg)
{
    return must_fail(Call::pthread_create) ? EAGAIN : __real_pthread_create(id, attributes, routine, arg);
}

int __wrap_pthread_attr_init(pthread_attr_t* attributes)
{
    return must_fail(Call::pthread_attr_init) ? EAGAIN : __real_pthread_attr_init(attributes);
}
}
#pragma GCC visibility pop

// All forms are replaced together, so that each delete meets the new that it belongs to.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return must_fail(Call::operator_new) ? nullptr : __real_malloc(size ? size : 1);
}

void* operator new(std::size_t size)
{
    void* const block = ::operator new(size, std::nothrow);
    if (!block) throw std::bad_alloc();
    return block;
}

void* operator new[](std::size_t size)
{
    return ::operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return ::operator new(size, std::nothrow);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete[](void* block) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}
