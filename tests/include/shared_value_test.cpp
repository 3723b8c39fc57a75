#include "include/shared_value.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

using imsua::load_shared;
using imsua::store_shared;

TEST(ASharedValue, HoldsWhatWasStoredLast)
{
    int number = -1;
    store_shared(number, 7);
    EXPECT_EQ(load_shared(number), 7);
    EXPECT_EQ(number, 7);
    const char* text = "x";
    store_shared(text, nullptr);
    EXPECT_EQ(load_shared(text), nullptr);
}

// The thread sanitizer would report either variable without the order that the two functions give.
TEST(ASharedValue, BringsAlongWhatWasWrittenBeforeIt)
{
    int payload = 0;
    int published = 0;
    std::thread writer([&] {
        payload = 5;
        store_shared(published, 1);
    });
    while (load_shared(published) == 0)
        std::this_thread::yield();
    EXPECT_EQ(payload, 5);
    writer.join();
}

} // namespace
