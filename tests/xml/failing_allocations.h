// Makes libxml2's allocations fail, and counts what it holds.
#ifndef TESTS_XML_FAILING_ALLOCATIONS_H_INCLUDED
#define TESTS_XML_FAILING_ALLOCATIONS_H_INCLUDED

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlmemory.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

// While a test of this fixture runs, libxml2's memory goes through here.
class FailingAllocations : public testing::Test {
protected:
    FailingAllocations()
    {
        xmlCleanupParser();
        xmlMemGet(&free_, &malloc_, &realloc_, &strdup_);
        left = -1;
        held = most = 0;
        xmlMemSetup(release, allocate, reallocate, duplicate);
    }
    ~FailingAllocations() override
    {
        left = -1;
        xmlCleanupParser();
        xmlMemSetup(free_, malloc_, realloc_, strdup_);
    }

    enum Then { ALL_FAIL, ALL_SUCCEED };
    // The next `count` allocations succeed, the one behind them fails, and then all or none. libxml2 2.9.14
    // loses a converter when its start-up lacks memory, so that is over and done with.
    static void fail_after(int count, Then then = ALL_FAIL)
    {
        xmlInitParser();
        left = count;
        later = then;
        failed = false;
    }
    static void fail_never() { left = -1; }
    static bool has_failed() { return failed; } // since fail_after

    static std::size_t most_held() { return most; } // bytes, at the worst moment
    static void forget_most_held() { most = held; }

private:
    static bool allowed()
    {
        if (left < 0) return true;
        if (left-- > 0) return true;
        failed = true;
        left = later == ALL_FAIL ? 0 : -1;
        return false;
    }
    static void* count(void* block)
    {
        if (block) held += malloc_usable_size(block);
        most = std::max(most, held);
        return block;
    }
    static void release(void* block)
    {
        if (block) held -= malloc_usable_size(block);
        std::free(block);
    }
    static void* allocate(std::size_t size) { return allowed() ? count(std::malloc(size)) : nullptr; }
    static void* reallocate(void* block, std::size_t size)
    {
        if (!allowed()) return nullptr;
        if (block) held -= malloc_usable_size(block);
        return count(std::realloc(block, size));
    }
    static char* duplicate(const char* text)
    {
        return allowed() ? static_cast<char*>(count(strdup(text))) : nullptr;
    }

    static inline int left = -1;
    static inline Then later = ALL_FAIL;
    static inline bool failed = false;
    static inline std::size_t held = 0;
    static inline std::size_t most = 0;
    xmlFreeFunc free_ = nullptr;
    xmlMallocFunc malloc_ = nullptr;
    xmlReallocFunc realloc_ = nullptr;
    xmlStrdupFunc strdup_ = nullptr;
};

#endif
