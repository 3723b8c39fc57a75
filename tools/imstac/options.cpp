#include "tools/imstac/options.h"

#include "tools/imstac/record.h"
#include "tools/imstac/script.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>
#include <map>

namespace imstac {
namespace {

constexpr const char* ABOUT =
    "Is the telephony controller of an agent: connects its asynchronous and then its synchronous channel, "
    "sends\n"
    "messages and prints what arrives. Steps are done in the order in which they stand on the command line.";

constexpr const char* FOOTER =
    "MESSAGE: CHANNEL ID [ref=N] [type=N] [hex=DIGITS|text=\"TEXT\"] [times=N], e.g. 'sync 0x1001 ref=7 "
    "text=hello'\n"
    "Exit status: 0 everything was sent and everything expected came; 1 something did not come, or "
    "something\n"
    "unexpected with --strict; 2 wrong command line, script or record; 3 the agent cannot be reached;\n"
    "4 it closed a channel that was still needed.";

// What stands for steps, and how it becomes them.
struct Source {
    CLI::Option* option = nullptr;
    std::vector<std::string> values;
    std::size_t taken = 0;
};

struct Command_line {
    CLI::App app{ABOUT, "imstac"};
    Source send, expect, script, replay;
    double within = 5, connect_within = 5, linger = 0;
    std::vector<std::string> order;
    bool check = false, fast = false;
};

void add_source(CLI::App& app, Source& source, const char* name, const char* value, const char* what)
{
    source.option = app.add_option(name, source.values, what)->type_name(value)->allow_extra_args(false);
}

void declare(Command_line& line, Options& o)
{
    CLI::App& app = line.app;
    app.footer(FOOTER);
    app.add_option("AGENT", o.agent, "name of the agent's program, or path of its socket")->required();
    add_source(app, line.send, "--send", "MESSAGE", "send this message");
    add_source(app, line.expect, "--expect", "MESSAGE",
               "wait for it; with ID 'any' or 'closed', and within=TIME");
    add_source(app, line.script, "--script", "FILE", "do the steps of this file");
    add_source(app, line.replay, "--replay", "FILE", "send again what --record wrote, at its times");
    app.add_flag("--fast", line.fast, "with --replay: as fast as the window allows");
    app.add_flag("--check", line.check, "with --replay: what arrived then is expected again");
    app.add_option("--record", o.record, "write what is sent and what arrives into this file")
        ->type_name("FILE");
    app.add_option("--within", line.within, "seconds to wait for answers and expected messages")
        ->check(CLI::Range(0.0, 3600.0))
        ->capture_default_str();
    app.add_option("--window", o.rules.window, "unanswered messages at a time")
        ->check(CLI::Range(1, 50))
        ->capture_default_str();
    app.add_flag("--strict", o.rules.strict, "a message that is not what is expected next is a failure");
    app.add_option("--connect-within", line.connect_within, "seconds for the agent to come up")
        ->check(CLI::Range(0.0, 3600.0))
        ->capture_default_str();
    app.add_option("--order", line.order, "the channels to connect, in order (async,sync)")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember({"async", "sync"}));
    app.add_option("--for", line.linger, "seconds to go on listening after the last step")
        ->check(CLI::Range(0.0, 1e6));
    app.add_option("--count", o.count, "end after so many messages have arrived");
    app.add_flag("--json", o.json, "one JSON object a line");
    app.add_flag("--quiet", o.quiet, "print failures only");
}

Duration seconds(double number)
{
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(number));
}

bool add_statement(const std::string& verb, const std::string& text, Steps& steps, std::string& why)
{
    Step step;
    std::string wrong;
    if (parse_step(verb + " " + text, step, wrong) != Parsed::step) {
        why = "--" + verb + " '" + text + "': " + wrong;
        return false;
    }
    step.source = "--" + verb;
    steps.push_back(std::move(step));
    return true;
}

bool add_file(const std::string& path, bool is_script, bool check, Steps& steps, std::string& why)
{
    std::ifstream in(path, std::ios::binary);
    // A directory opens, but its first read fails.
    if (!in.is_open() || (in.peek(), in.bad())) {
        why = path + ": cannot be read";
        return false;
    }
    in.clear();
    return is_script ? parse_script(in, path, steps, why) : parse_record(in, path, check, steps, why);
}

// CLI11 remembers in which order the options stood, and of each option its values.
bool gather_steps(Command_line& line, Steps& steps, std::string& why)
{
    for (const CLI::Option* option : line.app.parse_order()) {
        const auto next = [option](Source& source) -> const std::string* {
            return source.option == option ? &source.values.at(source.taken++) : nullptr;
        };
        const std::string* value = nullptr;
        bool good = true;
        if ((value = next(line.send)) != nullptr)
            good = add_statement("send", *value, steps, why);
        else if ((value = next(line.expect)) != nullptr)
            good = add_statement("expect", *value, steps, why);
        else if ((value = next(line.script)) != nullptr)
            good = add_file(*value, true, false, steps, why);
        else if ((value = next(line.replay)) != nullptr)
            good = add_file(*value, false, line.check, steps, why);
        if (!good) return false;
    }
    return true;
}

bool fill_order(const std::vector<std::string>& names, std::vector<Channel>& order, std::string& why)
{
    if (names.empty()) return true;
    order.clear();
    for (const std::string& name : names)
        order.push_back(name == "sync" ? Channel::sync : Channel::async);
    why = "--order names each channel once";
    return order.size() == 1 || (order.size() == 2 && order[0] != order[1]);
}

bool complete(Command_line& line, Options& o, std::string& why)
{
    o.rules.within = seconds(line.within);
    o.rules.timed = !line.fast;
    o.connect_within = seconds(line.connect_within);
    o.linger = seconds(line.linger);
    return fill_order(line.order, o.order, why) && gather_steps(line, o.steps, why);
}

} // namespace

bool parse_options(int argc, const char* const* argv, Options& options, int& status)
{
    Command_line line;
    declare(line, options);
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        status = line.app.exit(error) == 0 ? 0 : 2;
        return false;
    }
    std::string why;
    if (complete(line, options, why)) return true;
    std::cerr << "imstac: " << why << '\n';
    status = 2;
    return false;
}

} // namespace imstac
