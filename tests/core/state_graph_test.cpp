#include "core/state_graph.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::uint32_t act(void*)
{
    return 0;
}
std::uint32_t other(void*)
{
    return 1;
}

enum State : std::uint16_t { ANY, IDLE, BUSY };
enum Event : std::uint32_t { CALL = 1, RELEASE, RESET, STATUS };

constexpr IMS_STATE_TBL_T any[] = {{RESET, act, IDLE}, {STATUS, other, 0}, {IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T idle[] = {{CALL, act, BUSY}, {IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T busy[] = {
    {RELEASE, other, IDLE}, {CALL, nullptr, 0}, {99, nullptr, IDLE}, {IMS_TABLE_END, nullptr, 0}};
constexpr IMS_STATE_TBL_T empty[] = {{IMS_TABLE_END, nullptr, 0}};
constexpr auto machine = imsua::state_table(IDLE, any, idle, busy);

bool has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// The graph without its head, which is the same in all.
std::string body_of(const imsua::State_graph& graph)
{
    const std::string text = graph.dot();
    return text.substr(text.find("    start -> "));
}

} // namespace

TEST(AStateGraph, DrawsEveryStateAndRowOfTheTable)
{
    imsua::State_graph graph("line", machine);
    graph.states = {IMS_NAMED(IDLE), {BUSY, "on the phone"}};
    graph.events = {IMS_NAMED(CALL), IMS_NAMED(RELEASE), IMS_NAMED(RESET), {STATUS, "status?"}};
    graph.handlers = {IMS_NAMED(act), {other, "other()"}};
    EXPECT_EQ(graph.dot(), R"dot(digraph "line" {
    labelloc=t;
    fontname="Helvetica";
    node [shape=box, style=rounded, fontname="Helvetica"];
    edge [fontname="Helvetica", fontsize=10];
    start [shape=point, width=0.15];
    label="line";
    start -> s1;
    s0 [label="from any state", style="rounded,dashed"];
    s1 [label="IDLE"];
    s2 [label="on the phone"];
    s0 -> s1 [label="RESET / act", style=dashed];
    s0 -> s0 [label="status? / other()", style=dashed];
    s1 -> s2 [label="CALL / act"];
    s2 -> s1 [label="RELEASE / other()\nevent 99 (no handler)"];
    s2 -> s2 [label="CALL (no handler)"];
}
)dot");
}

TEST(AStateGraph, DrawsNumbersWhereThereAreNoNames)
{
    EXPECT_EQ(body_of(imsua::State_graph("", machine)), R"dot(    start -> s1;
    s0 [label="from any state", style="rounded,dashed"];
    s1 [label="state 1"];
    s2 [label="state 2"];
    s0 -> s1 [label="event 3", style=dashed];
    s0 -> s0 [label="event 4", style=dashed];
    s1 -> s2 [label="event 1"];
    s2 -> s1 [label="event 2\nevent 99 (no handler)"];
    s2 -> s2 [label="event 1 (no handler)"];
}
)dot");
}

TEST(AStateGraph, LeavesState0OutWhenItHasNoRowsAndNothingStartsThere)
{
    static constexpr auto table = imsua::state_table(1, empty, empty);
    EXPECT_EQ(body_of(imsua::State_graph("", table)), "    start -> s1;\n    s1 [label=\"state 1\"];\n}\n");
}

TEST(AStateGraph, NamesState0WhenItIsTheInitialOne)
{
    static constexpr auto table = imsua::state_table(ANY, empty);
    imsua::State_graph graph("", table);
    graph.states = {{ANY, "off"}};
    EXPECT_EQ(body_of(graph),
              "    start -> s0;\n    s0 [label=\"off\\nfrom any state\", style=\"rounded,dashed\"];\n}\n");
}

TEST(AStateGraph, MakesEveryNameASafeText)
{
    imsua::State_graph graph("a \"title\" \\ of\ntwo lines", machine);
    graph.states = {{IDLE, "\"];} \\N"}, {BUSY, "tab\there, bell\a, Bj\xC3\xB6rn\x7F"}};
    graph.events = {{CALL, "\\"}};
    const std::string text = graph.dot();
    EXPECT_TRUE(has(text, "digraph \"a \\\"title\\\" \\\\ of\\ntwo lines\" {\n")) << text;
    EXPECT_TRUE(has(text, "s1 [label=\"\\\"];} \\\\N\"];\n")) << text;
    EXPECT_TRUE(has(text, "s2 [label=\"tab here, bell , Bj\xC3\xB6rn \"];\n")) << text;
    EXPECT_TRUE(has(text, "s1 -> s2 [label=\"\\\\\"];\n")) << text;
}

// What is_sound would refuse is drawn as far as it goes, without reading beyond it.
TEST(AStateGraph, DrawsUnsoundTablesToo)
{
    static constexpr IMS_STATE_TBL_T open[] = {{CALL, act, 9}};
    static constexpr IMS_STATE_TBL_T split[] = {
        {CALL, act, 1}, {IMS_TABLE_END, nullptr, 0}, {RELEASE, act, 1}, {IMS_TABLE_END, nullptr, 0}};
    static constexpr auto table = imsua::state_table(7, nullptr, open, split);
    EXPECT_EQ(body_of(imsua::State_graph("", table)), R"dot(    start -> s7;
    s1 [label="state 1"];
    s2 [label="state 2"];
    s1 -> s9 [label="event 1"];
    s2 -> s1 [label="event 1"];
}
)dot");
}
