#include "siplib/spares.h"

#include <gtest/gtest.h>

#include <string>

using siplib::Spares;

namespace {

TEST(SomeSpares, GiveBackTheMemoryThatCameLast)
{
    Spares<std::string> spares(4);
    std::string first(100, 'a');
    std::string second(200, 'b');
    const char* const memory = second.data();
    EXPECT_TRUE(spares.give(first));
    EXPECT_TRUE(spares.give(second));
    EXPECT_EQ(spares.take().data(), memory);
    EXPECT_EQ(spares.take(), std::string(100, 'a'));
}

TEST(SomeSpares, GiveANewOneWhenThereIsNone)
{
    Spares<std::string> spares(4);
    EXPECT_EQ(spares.take(), "");
}

TEST(SomeSpares, KeepNoMoreThanTheyMay)
{
    Spares<std::string> spares(2);
    std::string texts[3] = {"a", "b", "c"};
    EXPECT_TRUE(spares.give(texts[0]));
    EXPECT_TRUE(spares.give(texts[1]));
    EXPECT_FALSE(spares.give(texts[2]));
    EXPECT_EQ(texts[2], "c");
    EXPECT_EQ(spares.kept(), 2u);
    spares.drop_all();
    EXPECT_EQ(spares.kept(), 0u);
    EXPECT_TRUE(spares.give(texts[2]));
}

} // namespace
