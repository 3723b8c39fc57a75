#include "core/state_graph.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace {

const std::string docs = IMSUA_DOCS;

std::string content_of(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct Outcome {
    Process::End end;
    std::string out, err;
};

Outcome run(const std::vector<std::string>& arguments, const std::vector<std::string>& env = {})
{
    ProcessStart start;
    start.argv = {IMSGRAPH_EXAMPLE};
    start.argv.insert(start.argv.end(), arguments.begin(), arguments.end());
    start.env = env;
    Process process(start);
    const Process::End end = process.wait();
    return {end, process.output(), process.log()};
}

// The texts of an SVG picture: names of states, labels of arrows. Where they stand differs between machines.
std::multiset<std::string> texts_of(const std::string& svg)
{
    std::multiset<std::string> texts;
    for (std::size_t at = svg.find("<text"); at != std::string::npos; at = svg.find("<text", at + 1)) {
        const std::size_t begin = svg.find('>', at) + 1;
        texts.insert(svg.substr(begin, svg.find('<', begin) - begin));
    }
    return texts;
}

} // namespace

TEST(TheManualOfTables, ShowsTheWholeExample)
{
    const std::string manual = content_of(docs + "tables.md");
    const std::string example = content_of(docs + "tables-example.cpp");
    ASSERT_NE(example, "");
    EXPECT_NE(manual.find("```cpp\n" + example + "```"), std::string::npos);
}

// The manual and its picture show what the program really draws.
TEST(TheManualOfTables, ShowsWhatIsDrawnOfTheExample)
{
    const Outcome drawn = run({});
    EXPECT_EQ(drawn.end.status, 0) << drawn.err;
    EXPECT_NE(content_of(docs + "tools/imsgraph.md").find("```dot\n" + drawn.out + "```"), std::string::npos)
        << drawn.out;
    const TempDir dir;
    const Outcome pictured = run({"--svg", dir.file("line.svg")});
    EXPECT_EQ(pictured.end.status, 0) << pictured.err;
    EXPECT_EQ(pictured.out, "");
    const std::multiset<std::string> texts = texts_of(dir.read("line.svg"));
    EXPECT_EQ(texts.count("RINGING"), 1u);
    EXPECT_EQ(texts, texts_of(content_of(docs + "tables-example.svg")));
}

TEST(AProgramThatDrawsAStateTable, SaysWhatItTakes)
{
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.end.status, 0);
    EXPECT_NE(help.out.find("--svg FILE"), std::string::npos);
    for (const std::vector<std::string>& wrong :
         std::vector<std::vector<std::string>>{{"--svg"}, {"--nothing"}, {""}, {"--svg", "a", "b"}}) {
        const Outcome refused = run(wrong);
        EXPECT_EQ(refused.end.status, 2);
        EXPECT_EQ(refused.out, "");
        EXPECT_NE(refused.err.find("--svg FILE"), std::string::npos);
    }
}

TEST(AProgramThatDrawsAStateTable, FailsWhenThePictureCannotBeWritten)
{
    const TempDir dir;
    const Outcome failed = run({"--svg", dir.file("missing/line.svg")});
    EXPECT_EQ(failed.end.status, 1);
    EXPECT_NE(failed.err.find("dot could not write " + dir.file("missing/line.svg")), std::string::npos)
        << failed.err;
}

TEST(AProgramThatDrawsAStateTable, FailsWithoutGraphvizAndSaysSo)
{
    const TempDir dir;
    const Outcome failed = run({"--svg", dir.file("line.svg")}, {"PATH=" + dir.path()});
    EXPECT_EQ(failed.end.status, 1);
    EXPECT_NE(failed.err.find("dot cannot be run (package graphviz): No such file"), std::string::npos)
        << failed.err;
}

TEST(AProgramThatDrawsAStateTable, FailsWhenItsOutputIsFull)
{
    ProcessStart start;
    start.argv = {"sh", "-c", std::string(IMSGRAPH_EXAMPLE) + " > /dev/full"};
    Process process(start);
    EXPECT_EQ(process.wait().status, 1);
}

// Whatever the names hold, the graph stays one that Graphviz understands.
TEST(AStateGraph, IsAlwaysAGraphForGraphviz)
{
    static constexpr IMS_STATE_TBL_T rows[] = {{1, nullptr, 0}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr auto machine = imsua::state_table(1, rows, rows);
    imsua::State_graph graph("\"};\n\\\a", machine);
    graph.states = {{1, "<b>&\"];\\\n\x7F"}};
    graph.events = {{1, "\\"}};
    const TempDir dir;
    dir.write("graph.dot", graph.dot());
    std::string drawn;
    ProcessStart start;
    start.argv = {"dot", "-Tplain", dir.file("graph.dot")};
    EXPECT_EQ(run_process(start, &drawn).status, 0);
    EXPECT_NE(drawn.find("node s1 "), std::string::npos) << drawn;
}
