#include "daemons/imsfwkd/document_diff.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using imsfwkd::Document;
using Paths = std::vector<std::string>;

namespace {

Paths changed(const std::string& before, const std::string& after)
{
    std::string why;
    const auto old_one = Document::parse(before, why);
    const auto new_one = Document::parse(after, why);
    if (!old_one || !new_one) return {why};
    return imsfwkd::changed_paths(*old_one, *new_one);
}

std::string many(int count, const std::string& text)
{
    std::string document = "<a>";
    for (int i = 0; i < count; ++i)
        document += "<b>" + text + "</b>";
    return document + "</a>";
}

} // namespace

TEST(TheChangedPaths, AreNoneWhereOnlyTheLayoutDiffers)
{
    EXPECT_EQ(changed("<a><b>1</b></a>", "<a>\n  <!-- c -->\n  <b>1</b>\n</a>"), Paths{});
    EXPECT_EQ(changed("<a><b x='1' y='2'/></a>", "<a><b y='2' x='1'></b></a>"), Paths{});
}

TEST(TheChangedPaths, NameTheElementsAndAttributesWithAnotherText)
{
    EXPECT_EQ(changed("<a><b>1</b><c>2</c></a>", "<a><b>1</b><c>3</c></a>"), Paths{"/a/c"});
    EXPECT_EQ(changed("<a x='1'><b y='1'/></a>", "<a x='2'><b y='2'/></a>"), (Paths{"/a/@x", "/a/b/@y"}));
    EXPECT_EQ(changed("<a>1</a>", "<a>2</a>"), Paths{"/a"});
}

TEST(TheChangedPaths, NameWhatWasAddedAndRemoved)
{
    EXPECT_EQ(changed("<a/>", "<a><b><c>1</c><d x='1'/></b></a>"),
              (Paths{"/a", "/a/b/c", "/a/b/d/@x", "/a/b/d"}));
    EXPECT_EQ(changed("<a><x/><b><c>1</c></b></a>", "<a><x/></a>"), Paths{"/a/b/c"});
    EXPECT_EQ(changed("<a><x/></a>", "<a><x/><b/></a>"), Paths{"/a/b"});
    EXPECT_EQ(changed("<a x='1' y='2'/>", "<a y='2' z='3'/>"), (Paths{"/a/@z", "/a/@x"}));
}

TEST(TheChangedPaths, NumberSiblingsOfOneName)
{
    EXPECT_EQ(changed("<a><b>1</b><b>2</b></a>", "<a><b>1</b><b>3</b></a>"), Paths{"/a/b[2]"});
    EXPECT_EQ(changed("<a><b>1</b></a>", "<a><b>1</b><b>2</b></a>"), Paths{"/a/b[2]"});
    EXPECT_EQ(changed("<a><b>1</b><b>2</b></a>", "<a><b>2</b></a>"), (Paths{"/a/b[1]", "/a/b[2]"}));
}

TEST(TheChangedPaths, TellATextThatBecameElements)
{
    EXPECT_EQ(changed("<a><b>1</b></a>", "<a><b><c>1</c></b></a>"), (Paths{"/a/b", "/a/b/c"}));
}

TEST(TheChangedPaths, AreEverythingWhenTheRootIsAnother)
{
    EXPECT_EQ(changed("<a/>", "<b/>"), imsfwkd::everything());
    EXPECT_EQ(changed("<a/>", "<a xmlns='u'/>"), imsfwkd::everything());
}

TEST(TheChangedPaths, AreEverythingWhenTheyWouldBeTooMany)
{
    const int limit = static_cast<int>(imsfwkd::MAX_CHANGED_PATHS);
    EXPECT_EQ(changed(many(limit, "1"), many(limit, "2")).size(), imsfwkd::MAX_CHANGED_PATHS);
    EXPECT_EQ(changed(many(limit + 1, "1"), many(limit + 1, "2")), imsfwkd::everything());
    EXPECT_EQ(changed(many(20000, "1"), many(20000, "2")), imsfwkd::everything());
}

TEST(TheChangedPaths, ShowPrefixesAsTheyStand)
{
    EXPECT_EQ(changed("<a xmlns:p='u'><p:b>1</p:b></a>", "<a xmlns:p='u'><p:b>2</p:b></a>"), Paths{"/a/p:b"});
}
