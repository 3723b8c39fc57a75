#include "baseuafw/kept_text.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(AKeptText, OutlivesItsOrigin)
{
    char origin[] = "of the command line";
    const char* kept = baseuafw::kept_text(origin);
    std::memset(origin, 'x', sizeof origin - 1);
    EXPECT_STREQ(kept, "of the command line");
}

TEST(AKeptText, IsSharedByEqualTexts)
{
    const char* first = baseuafw::kept_text("same");
    EXPECT_EQ(baseuafw::kept_text("same"), first);
    EXPECT_NE(baseuafw::kept_text("other"), first);
}

TEST(AKeptText, MayBeEmpty)
{
    EXPECT_STREQ(baseuafw::kept_text(""), "");
}

TEST(AKeptText, IsTakenByManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                const std::string text = std::to_string(t) + "/" + std::to_string(i % 50);
                EXPECT_EQ(baseuafw::kept_text(text.c_str()), text);
            }
        });
    for (auto& thread : threads)
        thread.join();
}

} // namespace
