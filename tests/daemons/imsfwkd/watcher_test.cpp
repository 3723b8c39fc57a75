#include "daemons/imsfwkd/watcher.h"

#include "tests/support/temp_dir.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>

using imsfwkd::Watcher;
using Names = std::set<std::string>;

namespace {

class AStoresWatcher : public ::testing::Test {
protected:
    AStoresWatcher()
    {
        std::string why;
        EXPECT_TRUE(watcher.open(dir.path(), why)) << why;
    }
    Names noticed()
    {
        pollfd p{watcher.descriptor(), POLLIN, 0};
        return ::poll(&p, 1, 5000) == 1 ? watcher.take().documents : Names{"(nothing)"};
    }
    TempDir dir;
    Watcher watcher;
};

} // namespace

TEST_F(AStoresWatcher, NoticesEachDocumentOnce)
{
    dir.write("a.xml", "1");
    dir.write("a.xml", "2");
    dir.write("b.xml", "1");
    EXPECT_EQ(noticed(), (Names{"a", "b"}));
}

TEST_F(AStoresWatcher, NoticesRenamedAndRemovedFiles)
{
    dir.write("new", "1");
    noticed();
    std::filesystem::rename(dir.file("new"), dir.file("a.xml"));
    EXPECT_EQ(noticed(), Names{"a"});
    std::filesystem::rename(dir.file("a.xml"), dir.file("b.xml"));
    EXPECT_EQ(noticed(), (Names{"a", "b"}));
    std::filesystem::remove(dir.file("b.xml"));
    EXPECT_EQ(noticed(), Names{"b"});
}

TEST_F(AStoresWatcher, OverlooksWhatIsNoDocument)
{
    dir.write(".a.xml.tmp", "1");
    dir.write("a.xml~", "1");
    EXPECT_EQ(noticed(), Names{});
}

TEST_F(AStoresWatcher, NeverWaits)
{
    const Watcher::Notice notice = watcher.take();
    EXPECT_TRUE(notice.documents.empty());
    EXPECT_FALSE(notice.all);
}

TEST_F(AStoresWatcher, SaysWhenTheDirectoryItselfIsGone)
{
    std::filesystem::remove(dir.path());
    pollfd p{watcher.descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&p, 1, 5000), 1);
    EXPECT_TRUE(watcher.take().all);
}

TEST(AWatcherOfNothing, SaysWhy)
{
    Watcher watcher;
    std::string why;
    EXPECT_FALSE(watcher.open("/nonexistent-directory", why));
    EXPECT_EQ(why, "/nonexistent-directory: No such file or directory");
    EXPECT_EQ(watcher.descriptor(), -1);
}
