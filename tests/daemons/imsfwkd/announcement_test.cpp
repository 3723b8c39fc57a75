#include "daemons/imsfwkd/announcement.h"

#include <gtest/gtest.h>

using imsfwkd::announcements;
using Texts = std::vector<std::string>;

TEST(AnAnnouncement, IsAHeaderAndALineForEachPath)
{
    EXPECT_EQ(announcements({"config", {"/a/b", "/a/c"}}), Texts{"CHANGED config\n/a/b\n/a/c\n"});
}

TEST(AnAnnouncement, IsSplitWhereOneReadWouldNotTakeIt)
{
    imsfwkd::Change change{"config", {}};
    for (int i = 0; i < 64; ++i)
        change.paths.push_back("/" + std::string(60, 'x') + std::to_string(i));
    std::size_t lines = 0;
    for (const std::string& text : announcements(change)) {
        EXPECT_LE(text.size(), imsfwkd::MAX_ANNOUNCEMENT);
        EXPECT_EQ(text.compare(0, 15, "CHANGED config\n"), 0);
        EXPECT_EQ(text.back(), '\n');
        for (const char c : text)
            lines += c == '\n';
        --lines; // the header
    }
    EXPECT_EQ(lines, change.paths.size());
    EXPECT_GT(announcements(change).size(), 1u);
}

TEST(AnAnnouncement, NamesTheWholeDocumentForAPathThatFitsInNoText)
{
    const std::size_t room = imsfwkd::MAX_ANNOUNCEMENT - std::string("CHANGED c\n\n").size();
    const std::string fits(room, 'x');
    EXPECT_EQ(announcements({"c", {fits}}), Texts{"CHANGED c\n" + fits + "\n"});
    EXPECT_EQ(announcements({"c", {fits + "x"}}), Texts{"CHANGED c\n/\n"});
}
