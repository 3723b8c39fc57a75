#include "baseuafw/created_files.h"

#include "tests/support/child.h"
#include "tests/support/temp_dir.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using baseuafw::remember_created_file;
using baseuafw::remove_created_files;

bool exists(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

TEST(ACreatedFile, IsRemovedOnRequest)
{
    TempDir dir;
    const std::string mine = dir.write("mine", "");
    const std::string other = dir.write("other", "");
    ASSERT_TRUE(remember_created_file(mine.c_str()));
    remove_created_files();
    EXPECT_FALSE(exists(mine));
    EXPECT_TRUE(exists(other));
}

TEST(ACreatedFile, IsRemovedOnceOnly)
{
    TempDir dir;
    const std::string path = dir.write("file", "");
    ASSERT_TRUE(remember_created_file(path.c_str()));
    remove_created_files();
    dir.write("file", "of somebody else");
    remove_created_files();
    EXPECT_TRUE(exists(path));
}

TEST(ACreatedFile, IsLeftWhenAnotherOneHasTakenItsPlace)
{
    TempDir dir;
    const std::string path = dir.write("file", "");
    ASSERT_TRUE(remember_created_file(path.c_str()));
    dir.write("fresh", "of somebody else");
    ASSERT_EQ(std::rename(dir.file("fresh").c_str(), path.c_str()), 0);
    remove_created_files();
    EXPECT_EQ(dir.read("file"), "of somebody else");
}

TEST(ACreatedFile, MayBeMadeAnew)
{
    TempDir dir;
    const std::string path = dir.write("file", "");
    for (int round = 0; round < 3; ++round) {
        dir.write("file", "");
        ASSERT_TRUE(remember_created_file(path.c_str()));
        ASSERT_TRUE(remember_created_file(path.c_str()));
        remove_created_files();
        EXPECT_FALSE(exists(path)) << round;
    }
}

TEST(ACreatedFile, IsFoundAgainAfterTheWorkingDirectoryChanged)
{
    TempDir dir;
    dir.write("relative", "");
    const ChildResult child = run_in_child([&] {
        if (::chdir(dir.path().c_str()) != 0 || !remember_created_file("relative")) ::_exit(1);
        if (::chdir("/") != 0) ::_exit(2);
        remove_created_files();
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_FALSE(exists(dir.file("relative")));
}

TEST(ACreatedFile, MustExist)
{
    TempDir dir;
    EXPECT_FALSE(remember_created_file(dir.file("absent").c_str()));
    EXPECT_FALSE(remember_created_file(""));
}

TEST(ACreatedFile, IsRemovedWhenTheProcessExits)
{
    TempDir dir;
    const std::string path = dir.write("file", "");
    const ChildResult child = run_in_child([&] {
        remember_created_file(path.c_str());
        std::exit(0);
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_FALSE(exists(path));
}

TEST(ACreatedFile, IsNotRemovedByAForkedChild)
{
    TempDir dir;
    const std::string path = dir.write("file", "");
    ASSERT_TRUE(remember_created_file(path.c_str()));
    const ChildResult child = run_in_child([] {
        remove_created_files();
        std::exit(0);
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_TRUE(exists(path));
    remove_created_files();
    EXPECT_FALSE(exists(path));
}

TEST(ACreatedFile, BelongsToTheChildThatAdoptsIt)
{
    TempDir dir;
    const std::string path = dir.write("file", "");
    ASSERT_TRUE(remember_created_file(path.c_str()));
    const pid_t parent = ::getpid();
    const ChildResult child = run_in_child([&] {
        baseuafw::adopt_created_files(parent);
        remove_created_files();
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_FALSE(exists(path));
}

TEST(ACreatedFile, IsRemovedOnceByThreadsThatCleanUpTogether)
{
    TempDir dir;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&dir, t] {
            for (int i = 0; i < 50; ++i) {
                const std::string name = std::to_string(t) + "-" + std::to_string(i % 5);
                remember_created_file(dir.write(name, "").c_str());
                remove_created_files();
            }
        });
    for (auto& thread : threads)
        thread.join();
    remove_created_files();
    for (int t = 0; t < 4; ++t)
        for (int i = 0; i < 5; ++i)
            EXPECT_FALSE(exists(dir.file(std::to_string(t) + "-" + std::to_string(i))));
}

} // namespace
