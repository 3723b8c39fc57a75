#include "tests/core/class_wide.h"
#include "tests/core/test_agent.h"
#include "tests/support/child.h"
#include "tests/support/log_records.h"

#include <gtest/gtest.h>

namespace {

struct CommandLine {
    const char* name;
    std::vector<const char*> arguments; // after the program's name
    const char *proxy, *tacsock, *syncport, *asyncport;
};

void PrintTo(const CommandLine& line, std::ostream* out)
{
    *out << line.name;
}

class ACommandLine : public testing::TestWithParam<CommandLine> {
protected:
    ClassWide members;
};

TEST_P(ACommandLine, SetsTheOptions)
{
    std::vector<char*> argv = {const_cast<char*>("/usr/sbin/agent")};
    for (const char* argument : GetParam().arguments)
        argv.push_back(const_cast<char*>(argument));
    argv.push_back(nullptr);
    TestAgent agent;
    agent.set_options(static_cast<int>(argv.size()) - 1, argv.data());
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_proxy, GetParam().proxy);
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_tacsock, GetParam().tacsock);
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_fwksyncport, GetParam().syncport);
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_fwkasyncport, GetParam().asyncport);
    EXPECT_STREQ(IMS_daemon::__d_progname, "agent") << "the daemon's own options are read afterwards";
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Of, ACommandLine, testing::Values(
    CommandLine{"Nothing",            {},                                        "", "", "0", "0"},
    CommandLine{"All",                {"-proxy", "p", "-tacsock", "t", "-fwksyncport", "1", "-fwkasyncport", "2"},
                                                                                 "p", "t", "1", "2"},
    CommandLine{"LastWithoutValue",   {"-proxy"},                                "", "", "0", "0"},
    CommandLine{"ValueIsAnOption",    {"-tacsock", "-proxy", "X"},               "X", "-proxy", "0", "0"},
    CommandLine{"ValueIsItself",      {"-proxy", "-proxy", "X"},                 "X", "", "0", "0"},
    CommandLine{"ValueIsItselfOnly",  {"-proxy", "-proxy"},                      "-proxy", "", "0", "0"},
    CommandLine{"LaterOverrides",     {"-proxy", "a", "-proxy", "b"},            "b", "", "0", "0"},
    CommandLine{"LaterWithoutValue",  {"-proxy", "a", "-proxy"},                 "a", "", "0", "0"},
    CommandLine{"CaseMatters",        {"-Proxy", "a", "-TACSOCK", "b"},          "", "", "0", "0"},
    CommandLine{"WholeNameMatters",   {"-proxy=a", "--proxy", "b", "-prox", "c"}, "", "", "0", "0"},
    CommandLine{"UnknownAreLeft",     {"-x", "1", "-fwkasyncport", "7", "y"},    "", "", "0", "7"},
    CommandLine{"EmptyValue",         {"-fwksyncport", ""},                      "", "", "", "0"}),
    [](const auto& which) { return std::string(which.param.name); });
// clang-format on

TEST(TheOptions, PointIntoTheArguments)
{
    ClassWide members;
    char program[] = "agent", name[] = "-proxy", value[] = "sip:a";
    char* argv[] = {program, name, value, nullptr};
    TestAgent agent;
    agent.set_options(3, argv);
    EXPECT_EQ(IMS_User_Agent::__ua_arg_proxy, value);
}

TEST(TheOptions, BeginAfterTheProgramsName)
{
    ClassWide members;
    char program[] = "-proxy", value[] = "x";
    char* argv[] = {program, value, nullptr};
    TestAgent agent;
    agent.set_options(2, argv);
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_proxy, "");
}

TEST(TheOptions, MayBeAbsentAltogether)
{
    ClassWide members;
    TestAgent agent;
    char* none[] = {nullptr};
    agent.set_options(0, none);
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_proxy, "");
}

TEST(TheUsage, IsNotPrintedUnlessHelpWasAskedFor)
{
    ClassWide members;
    LogRecords log;
    TestAgent agent;
    char program[] = "agent", other[] = "-proxy";
    char* argv[] = {program, other, nullptr};
    agent.set_options(2, argv);
    agent.print_usage();
    EXPECT_TRUE(log.all().empty());
}

void ask_for_help()
{
    char program[] = "agent", help[] = "-help";
    char* argv[] = {program, help, nullptr};
    TestAgent agent;
    agent.set_options(2, argv);
    static_cast<IMS_daemon&>(agent).print_usage();
}

TEST(TheUsage, NamesTheAgentsOptionsFirstAndEndsTheProcessWith0)
{
    const ChildResult child = run_in_child([] {
        ask_for_help();
        ::_exit(77); // not reached
    });
    EXPECT_EQ(child.status, 0);
    const std::string wanted =
        "agent[3] print_usage: User Agent Options:\n"
        "agent[3] print_usage:     -proxy:     Proxy Server uri, "
        "\"sip:proxy.example.com:5000;transport=tcp\"\n"
        "agent[3] print_usage:     -tacsock:   /tmp/tacsock\n"
        "agent[3] print_usage:     -fwksyncport:    sync portnum of the framework daemon\n"
        "agent[3] print_usage:     -fwkasyncport:   async portnum of the framework daemon\n";
    EXPECT_EQ(child.err.substr(0, wanted.size()), wanted);
}

// The daemon's own lines stand between the agent's and the log's; each library is asked for its lines here,
// so that their words stay its own.
TEST(TheUsage, GoesOnWithTheDaemonsLinesAndThenTheLogs)
{
    LogRecords log;
    struct Daemon : IMS_daemon {
    } daemon;
    daemon.print_usage();
    IMS_log::print_usage();
    std::string tail;
    for (const auto& record : log.all())
        tail += "agent[3] print_usage: " + record.text + "\n";
    ASSERT_FALSE(tail.empty());
    IMS_log::set_sink(nullptr, nullptr);
    const ChildResult child = run_in_child(&ask_for_help);
    ASSERT_GT(child.err.size(), tail.size());
    EXPECT_EQ(child.err.substr(child.err.size() - tail.size()), tail);
}

} // namespace
