#include "tests/support/child.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <unistd.h>
#include <vector>

namespace {

const std::string docs = IMSLADDER_DOCS;
const std::string example = docs + "imsladder-example.jsonl";

std::string content_of(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

ChildResult imsladder(std::vector<std::string> arguments)
{
    return run_in_child([&] {
        arguments.insert(arguments.begin(), IMSLADDER_PROGRAM);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(126);
    });
}

} // namespace

// The manual and its picture show what the program really prints.
TEST(TheProgramImsladder, DrawsTheExampleOfItsManual)
{
    const TempDir dir;
    const ChildResult run = imsladder({docs + "imsladder-example.jsonl", "--svg", dir.file("l.svg")});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_NE(content_of(docs + "imsladder.md").find("```text\n" + run.out + "```"), std::string::npos)
        << run.out;
    EXPECT_EQ(content_of(docs + "imsladder-example.svg"), dir.read("l.svg"));
}

TEST(TheProgramImsladder, WritesThePictureBesideTheText)
{
    const TempDir dir;
    const ChildResult run = imsladder({example, "--svg", dir.file("l.svg"), "--quiet"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(dir.read("l.svg").find("</svg>"), std::string::npos);
    EXPECT_EQ(imsladder({example, "--svg", dir.file("no/l.svg")}).status, 1);
}

TEST(TheProgramImsladder, MergesFilesAndShowsOneCallOnly)
{
    const TempDir dir;
    const std::string line =
        R"({"time":1,"program":"a","pid":1,"direction":"sent","transport":"udp","local":"h:1","peer":"h:2","message":")";
    const std::string one = dir.write("one", line + R"(BYE sip:a SIP/2.0\r\nCall-ID: one\r\n\r\n"})");
    const std::string two = dir.write("two", line + R"(BYE sip:a SIP/2.0\r\nCall-ID: two\r\n\r\n"})");
    EXPECT_NE(imsladder({one, two, "--json"}).out.find("\"two\""), std::string::npos);
    const ChildResult run = imsladder({one, two, "--json", "--call-id", "one"});
    EXPECT_NE(run.out.find("\"one\""), std::string::npos);
    EXPECT_EQ(run.out.find("\"two\""), std::string::npos);
}

TEST(TheProgramImsladder, ReportsBadLinesAndGoesOn)
{
    const TempDir dir;
    const std::string path = dir.write("r", "\n{\"time\":1,\"pro");
    const ChildResult run = imsladder({path, example});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "imsladder: " + path + ": 1 line skipped, the first is line 2: not JSON\n");
    EXPECT_NE(run.out.find("200 OK"), std::string::npos);
}

TEST(TheProgramImsladder, FailsWithoutAMessageOrAFile)
{
    const TempDir dir;
    EXPECT_EQ(imsladder({dir.write("empty", "")}).status, 1);
    EXPECT_EQ(imsladder({dir.path()}).status, 1);
    const ChildResult run = imsladder({dir.file("none"), example});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "imsladder: " + dir.file("none") + ": cannot be read\n");
    EXPECT_NE(run.out.find("200 OK"), std::string::npos) << "the other file is drawn all the same";
}

TEST(TheProgramImsladder, TellsWrongUsage)
{
    EXPECT_EQ(imsladder({}).status, 2);
    EXPECT_EQ(imsladder({example, "--nonsense"}).status, 2);
    EXPECT_EQ(imsladder({example, "--width", "3"}).status, 2);
    EXPECT_EQ(imsladder({"--help"}).status, 0);
}
