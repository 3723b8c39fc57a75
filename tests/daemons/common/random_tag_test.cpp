#include "daemons/common/random_tag.h"

#include <gtest/gtest.h>
#include <set>

namespace {

TEST(ARandomTag, IsNeverTheSame)
{
    std::set<std::string> tags;
    for (int i = 0; i < 1000; ++i)
        tags.insert(random_tag());
    EXPECT_EQ(tags.size(), 1000u);
    EXPECT_EQ(tags.begin()->size(), 16u);
}

} // namespace
