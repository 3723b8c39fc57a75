#include "daemons/imsfwkd/store_dir.h"

#include "tests/support/child.h"
#include "tests/support/temp_dir.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using imsfwkd::FileStamp;
using imsfwkd::StoreDir;

namespace {

class AStoreDirectory : public ::testing::Test {
protected:
    void open()
    {
        opened = std::make_unique<StoreDir>(dir.path());
        ASSERT_TRUE(opened->open(why)) << why;
    }
    bool exists(const std::string& name) const { return std::filesystem::exists(dir.file(name)); }

    TempDir dir;
    std::unique_ptr<StoreDir> opened;
    std::string text;
    std::string why;
    FileStamp stamp;
};

} // namespace

TEST(ADocumentsName, HoldsOnlyWhatIsSafeInAFilesName)
{
    for (const char* name : {"config", "a", "A-1_b.c", "0"})
        EXPECT_TRUE(imsfwkd::is_document_name(name)) << name;
    for (const char* name : {"", ".", "..", ".hidden", "a/b", "../a", "a b", "a\nb", "\xc3\xa4", "a*"})
        EXPECT_FALSE(imsfwkd::is_document_name(name)) << name;
    EXPECT_TRUE(imsfwkd::is_document_name(std::string(64, 'x')));
    EXPECT_FALSE(imsfwkd::is_document_name(std::string(65, 'x')));
}

TEST(ADocumentsName, IsItsFilesNameWithoutTheEnding)
{
    EXPECT_EQ(imsfwkd::document_of_file("config.xml"), "config");
    for (const char* file : {"config", "config.xml~", ".config.xml.tmp", ".xml", "config.XML", "a b.xml"})
        EXPECT_EQ(imsfwkd::document_of_file(file), "") << file;
}

TEST_F(AStoreDirectory, ListsItsDocuments)
{
    dir.write("b.xml", "");
    dir.write("a.xml", "");
    dir.write("notes.txt", "");
    open();
    EXPECT_EQ(opened->documents(), (std::vector<std::string>{"a", "b"}));
}

TEST_F(AStoreDirectory, ReadsAFileUpToTheLimit)
{
    dir.write("a.xml", "12345");
    open();
    EXPECT_TRUE(opened->read("a", 5, text, stamp, why));
    EXPECT_EQ(text, "12345");
    EXPECT_EQ(stamp, opened->stamp("a"));
    EXPECT_FALSE(opened->read("a", 4, text, stamp, why));
    EXPECT_EQ(why, "a.xml: larger than 4 bytes");
}

TEST_F(AStoreDirectory, DoesNotHangOnWhatIsNoFile)
{
    ASSERT_EQ(::mkfifo(dir.file("pipe.xml").c_str(), 0600), 0);
    std::filesystem::create_directory(dir.file("folder.xml"));
    open();
    EXPECT_FALSE(opened->read("pipe", 10, text, stamp, why));
    EXPECT_EQ(why, "pipe.xml: not a regular file");
    EXPECT_FALSE(opened->read("folder", 10, text, stamp, why));
    EXPECT_FALSE(opened->read("none", 10, text, stamp, why));
    EXPECT_EQ(why, "none.xml: No such file or directory");
}

TEST_F(AStoreDirectory, ReplacesAFileAndKeepsItsMode)
{
    dir.write("a.xml", "old");
    ::chmod(dir.file("a.xml").c_str(), 0640);
    open();
    const FileStamp before = opened->stamp("a");
    ASSERT_TRUE(opened->replace("a", "new", why)) << why;
    EXPECT_EQ(dir.read("a.xml"), "new");
    EXPECT_NE(opened->stamp("a"), before);
    struct stat info {};
    ::stat(dir.file("a.xml").c_str(), &info);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_FALSE(exists(".a.xml.tmp"));
}

TEST_F(AStoreDirectory, RemovesWhatAnEndedProcessLeftHalfWritten)
{
    dir.write(".a.xml.tmp", "ha");
    dir.write("a.xml", "old");
    open();
    EXPECT_FALSE(exists(".a.xml.tmp"));
    EXPECT_EQ(dir.read("a.xml"), "old");
}

TEST_F(AStoreDirectory, IsServedByOneDaemonOnly)
{
    open();
    StoreDir second(dir.path());
    EXPECT_FALSE(second.open(why));
    EXPECT_EQ(why, dir.path() + ": another daemon serves this store");
    opened.reset();
    EXPECT_TRUE(second.open(why));
}

TEST_F(AStoreDirectory, MustExist)
{
    StoreDir missing(dir.file("none"));
    EXPECT_FALSE(missing.open(why));
    EXPECT_EQ(why, dir.file("none") + ": No such file or directory");
}

// The same as a full disk: the write fails half-way.
TEST_F(AStoreDirectory, KeepsTheOldFileWhenTheNewOneCannotBeWritten)
{
    dir.write("a.xml", "old");
    open();
    const ChildResult child = run_in_child([this] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100, 100};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        if (opened->replace("a", std::string(5000, 'x'), why)) ::_exit(1);
        if (why != ".a.xml.tmp: File too large") ::_exit(2);
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(dir.read("a.xml"), "old");
    EXPECT_FALSE(exists(".a.xml.tmp"));
}
