#include "daemons/imsfwkd/store.h"

#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <filesystem>
#include <gtest/gtest.h>

using imsfwkd::Change;
using imsfwkd::Store;
using Paths = std::vector<std::string>;

namespace {

class AStore : public ::testing::Test {
protected:
    void open()
    {
        std::string why;
        ASSERT_TRUE(store.open(why)) << why;
    }
    void load()
    {
        open();
        while (store.load_next()) {
        }
    }
    std::string get(const std::string& document, const std::string& xpath)
    {
        std::string value = "(not found)";
        store.get(document, xpath, value);
        return value;
    }
    // The changes as "document path path".
    Paths changes()
    {
        Paths lines;
        for (const Change& change : store.take_changes()) {
            lines.push_back(change.document);
            for (const auto& path : change.paths)
                lines.back() += " " + path;
        }
        return lines;
    }

    LogRecords log;
    TempDir dir;
    Store store{dir.path()};
};

} // namespace

TEST_F(AStore, LoadsOneDocumentAfterTheOther)
{
    dir.write("a.xml", "<a>1</a>");
    dir.write("b.xml", "<b>2</b>");
    open();
    EXPECT_FALSE(store.is_loaded());
    EXPECT_TRUE(store.load_next());
    EXPECT_FALSE(store.is_loaded());
    EXPECT_FALSE(store.load_next());
    EXPECT_TRUE(store.is_loaded());
    EXPECT_EQ(get("a", "/a") + get("b", "/b"), "12");
    EXPECT_EQ(changes(), Paths{});
}

TEST_F(AStore, IsLoadedAtOnceWhenItIsEmpty)
{
    load();
    EXPECT_TRUE(store.is_loaded());
    EXPECT_EQ(get("a", "/a"), "(not found)");
}

TEST_F(AStore, ServesADocumentBeforeItsTurnToBeLoaded)
{
    dir.write("a.xml", "<a>1</a>");
    dir.write("z.xml", "<z>1</z>");
    open();
    EXPECT_EQ(get("z", "/z"), "1");
    EXPECT_TRUE(store.set("z", "/z", "2"));
    EXPECT_EQ(changes(), Paths{"z /z"});
    EXPECT_TRUE(store.load_next());
    EXPECT_FALSE(store.load_next());
    EXPECT_EQ(get("z", "/z"), "2");
    EXPECT_EQ(changes(), Paths{});
}

TEST_F(AStore, ChangesTheFileBeforeItSaysSo)
{
    dir.write("a.xml", "<a><b>1</b></a>");
    load();
    EXPECT_TRUE(store.set("a", "/a/b", "2"));
    EXPECT_EQ(dir.read("a.xml"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a><b>2</b></a>\n");
    EXPECT_EQ(get("a", "/a/b"), "2");
    EXPECT_EQ(changes(), Paths{"a /a/b"});
    EXPECT_TRUE(store.set("a", "/a/c/d", "3"));
    EXPECT_EQ(get("a", "/a/c/d"), "3");
    EXPECT_EQ(changes(), Paths{"a /a/c/d"});
}

TEST_F(AStore, LeavesTheFileAloneWhenTheValueIsThere)
{
    dir.write("a.xml", "<a><b>1</b></a>");
    load();
    EXPECT_TRUE(store.set("a", "/a/b", "1"));
    EXPECT_EQ(dir.read("a.xml"), "<a><b>1</b></a>");
    EXPECT_EQ(changes(), Paths{});
}

TEST_F(AStore, RefusesDocumentsThatItDoesNotHave)
{
    load();
    for (const char* name : {"none", "", "../a", "/etc/passwd", ".a"}) {
        EXPECT_FALSE(store.set(name, "/a", "1")) << name;
        EXPECT_EQ(get(name, "/a"), "(not found)") << name;
    }
    EXPECT_EQ(std::filesystem::is_empty(dir.path()), true);
}

TEST_F(AStore, NoticesAChangedFile)
{
    dir.write("a.xml", "<a><b>1</b><c>1</c></a>");
    load();
    dir.write("a.xml", "<a><b>2</b><c>1</c></a>");
    store.reload("a");
    EXPECT_EQ(get("a", "/a/b"), "2");
    EXPECT_EQ(changes(), Paths{"a /a/b"});
    store.reload("a");
    EXPECT_EQ(changes(), Paths{});
}

TEST_F(AStore, NoticesFilesThatComeAndGo)
{
    load();
    dir.write("a.xml", "<a>1</a>");
    store.reload("a");
    EXPECT_EQ(changes(), Paths{"a /"});
    EXPECT_EQ(get("a", "/a"), "1");
    std::filesystem::remove(dir.file("a.xml"));
    store.reload("a");
    EXPECT_EQ(changes(), Paths{"a /"});
    EXPECT_EQ(get("a", "/a"), "(not found)");
    store.reload("a");
    EXPECT_EQ(changes(), Paths{});
}

TEST_F(AStore, LooksAtEverythingWhenNoticesWereLost)
{
    dir.write("a.xml", "<a>1</a>");
    dir.write("b.xml", "<b>1</b>");
    load();
    std::filesystem::remove(dir.file("a.xml"));
    dir.write("b.xml", "<b>2</b>");
    dir.write("c.xml", "<c>1</c>");
    store.reload_all();
    EXPECT_EQ(changes(), (Paths{"a /", "b /b", "c /"}));
}

TEST_F(AStore, KeepsTheLastGoodVersionOfABrokenFile)
{
    dir.write("a.xml", "<a><b>1</b></a>");
    load();
    dir.write("a.xml", "<a><b>broken");
    store.reload("a");
    EXPECT_EQ(get("a", "/a/b"), "1");
    EXPECT_EQ(changes(), Paths{});
    EXPECT_TRUE(log.has(4, "store", "document a cannot be used: not well-formed XML"));
    EXPECT_FALSE(store.set("a", "/a/b", "2")); // would overwrite what somebody is editing
    EXPECT_EQ(dir.read("a.xml"), "<a><b>broken");
    dir.write("a.xml", "<a><b>3</b></a>");
    store.reload("a");
    EXPECT_EQ(changes(), Paths{"a /a/b"});
    EXPECT_TRUE(store.set("a", "/a/b", "4"));
}

TEST_F(AStore, DoesWithoutAFileThatWasNeverGood)
{
    dir.write("a.xml", "broken");
    load();
    EXPECT_TRUE(store.is_loaded());
    EXPECT_EQ(get("a", "/a"), "(not found)");
    EXPECT_FALSE(store.set("a", "/a", "1"));
}

// The notice of an edit may come later than a request.
TEST_F(AStore, NeverOverwritesAnEditThatItHasNotSeen)
{
    dir.write("a.xml", "<a><b>1</b><c>1</c></a>");
    load();
    dir.write("a.xml", "<a><b>1</b><c>edited</c></a>");
    EXPECT_TRUE(store.set("a", "/a/b", "2"));
    EXPECT_EQ(get("a", "/a/c"), "edited");
    EXPECT_EQ(changes(), (Paths{"a /a/c", "a /a/b"}));
}

TEST_F(AStore, HasALimitOfDocuments)
{
    for (std::size_t i = 0; i <= imsfwkd::MAX_DOCUMENTS; ++i)
        dir.write(std::to_string(1000 + i) + ".xml", "<a/>");
    load();
    EXPECT_TRUE(log.has(4, "store", "1256.xml ignored: more than 256 documents"));
    EXPECT_EQ(get("1255", "/a"), "");
    EXPECT_EQ(get("1256", "/a"), "(not found)");
}
