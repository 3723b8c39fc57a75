// A state machine as a picture, drawn from the table that the daemon runs on: a Graphviz graph of its states
// and rows. Header-only, so that nothing of it is in a daemon that draws nothing.
//
//     imsua::State_graph imsua_state_graph()
//     {
//         imsua::State_graph graph("a line", machine);
//         graph.states = {IMS_NAMED(IDLE), IMS_NAMED(BUSY)};
//         graph.events = {IMS_NAMED(CALL), {RELEASE, "release"}};
//         graph.handlers = {IMS_NAMED(on_call)};
//         return graph;
//     }
//
// docs/tables.md tells how to build a program of it, docs/tools/imsgraph.md how the picture is to be read.
//
// Memory   copies the rows and the names. Meant for tools: it allocates, and throws only when memory ends.
#ifndef IMSUA_STATE_GRAPH_H_INCLUDED
#define IMSUA_STATE_GRAPH_H_INCLUDED

#include "core/state_table.h"
#include "include/ims_types.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

// A state, event or handler under its own name: {CALL, "CALL"}.
#define IMS_NAMED(thing)                                                                                     \
    {                                                                                                        \
        thing, #thing                                                                                        \
    }

namespace imsua {

class State_graph {
public:
    // Names to draw; what has none is drawn as a number, a handler without one is not drawn. UTF-8.
    std::map<std::uint32_t, std::string> states;
    std::map<std::uint32_t, std::string> events;
    std::vector<std::pair<IMS_HANDLER_T, std::string>> handlers;

    // `machine` need not be sound (core/table_checks.h): a list is drawn up to its first end marker, or its
    // end; a null one is drawn as empty.
    template <std::size_t States>
    State_graph(std::string title, const State_table<States>& machine)
        : title_(std::move(title)), initial_(machine.initial_state), lists_(States)
    {
        for (std::size_t state = 0; state < States; ++state)
            if (machine.lists[state])
                copy_rows(machine.lists[state], machine.row_counts[state], lists_[state]);
    }

    // The whole graph in Graphviz's language. Equal input gives equal text.
    std::string dot() const
    {
        std::string out = "digraph " + quoted(title_) + " {\n" + HEAD;
        out += "    label=" + quoted(title_) + ";\n    start -> " + node(initial_) + ";\n";
        for (std::uint32_t state = 0; state < lists_.size(); ++state)
            out += drawn_state(state);
        for (std::uint32_t state = 0; state < lists_.size(); ++state)
            out += drawn_rows(state);
        return out + "}\n";
    }

private:
    using Rows = std::vector<IMS_STATE_TBL_T>;

    static constexpr const char* HEAD = "    labelloc=t;\n"
                                        "    fontname=\"Helvetica\";\n"
                                        "    node [shape=box, style=rounded, fontname=\"Helvetica\"];\n"
                                        "    edge [fontname=\"Helvetica\", fontsize=10];\n"
                                        "    start [shape=point, width=0.15];\n";

    static void copy_rows(const IMS_STATE_TBL_T* rows, std::size_t count, Rows& out)
    {
        for (std::size_t i = 0; i < count && rows[i].event != IMS_TABLE_END; ++i)
            out.push_back(rows[i]);
    }

    static std::string node(std::uint32_t state) { return "s" + std::to_string(state); }

    // A string of Graphviz's language. Control characters become blanks, but a line feed stays one.
    static std::string quoted(const std::string& text)
    {
        std::string out = "\"";
        for (const char c : text) {
            if (c == '"' || c == '\\') out += '\\';
            if (c == '\n')
                out += "\\n";
            else
                out += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
        }
        return out + '"';
    }

    static std::string name_in(const std::map<std::uint32_t, std::string>& names, const char* what,
                               std::uint32_t number)
    {
        const auto found = names.find(number);
        return found != names.end() ? found->second : what + std::to_string(number);
    }

    // State 0 is where its rows are valid, which is everywhere; it is a state to be in only at the start.
    std::string drawn_state(std::uint32_t state) const
    {
        if (state != 0) return "    " + node(state) + " [label=" + quoted(state_name(state)) + "];\n";
        if (initial_ != 0 && lists_[0].empty()) return "";
        const std::string name = initial_ == 0 ? state_name(0) + "\n" : "";
        return "    " + node(0) + " [label=" + quoted(name + "from any state") +
               ", style=\"rounded,dashed\"];\n";
    }

    // One arrow for all rows that lead from `state` to the same state, in the order of the first of each.
    std::string drawn_rows(std::uint32_t state) const
    {
        std::vector<std::pair<std::uint32_t, std::string>> arrows; // where to, label
        for (const IMS_STATE_TBL_T& row : lists_[state]) {
            const std::uint32_t to = row.next_state != 0 ? row.next_state : state;
            std::string* label = nullptr;
            for (auto& arrow : arrows)
                if (arrow.first == to) label = &arrow.second;
            if (label)
                *label += "\n" + row_label(row);
            else
                arrows.emplace_back(to, row_label(row));
        }
        std::string out;
        for (const auto& arrow : arrows)
            out += "    " + node(state) + " -> " + node(arrow.first) + " [label=" + quoted(arrow.second) +
                   (state == 0 ? ", style=dashed];\n" : "];\n");
        return out;
    }

    std::string state_name(std::uint32_t state) const { return name_in(states, "state ", state); }

    std::string row_label(const IMS_STATE_TBL_T& row) const
    {
        std::string event = name_in(events, "event ", row.event);
        if (!row.handler) return event + " (no handler)";
        for (const auto& named : handlers)
            if (named.first == row.handler) return event + " / " + named.second;
        return event;
    }

    std::string title_;
    std::uint32_t initial_;
    std::vector<Rows> lists_; // by state, without the end markers
};

} // namespace imsua

// What a program made by the CMake function imsua_state_graph draws. Its sources define it.
imsua::State_graph imsua_state_graph();

#endif
