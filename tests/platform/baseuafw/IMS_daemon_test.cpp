#include "baseuafw/IMS_daemon.h"

#include "tests/support/log_records.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

void set_options(std::vector<std::string> arguments)
{
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(&argument[0]);
    argv.push_back(nullptr);
    IMS_daemon daemon;
    daemon.set_options(static_cast<int>(arguments.size()), argv.data());
}

TEST(ADaemon, TakesItsNameFromThePathOfTheProgram)
{
    set_options({"/usr/sbin/imsagent"});
    EXPECT_STREQ(IMS_daemon::__d_progname, "imsagent");
    set_options({"plain"});
    EXPECT_STREQ(IMS_daemon::__d_progname, "plain");
}

TEST(ADaemon, SeesEverySpellingOfHelp)
{
    for (const char* help : {"-h", "-help", "--help"}) {
        set_options({"prog"});
        EXPECT_FALSE(IMS_daemon::__d_help);
        set_options({"prog", "-other", help});
        EXPECT_TRUE(IMS_daemon::__d_help) << help;
    }
    set_options({"prog", "help", "-H"});
    EXPECT_FALSE(IMS_daemon::__d_help);
}

TEST(ADaemon, CopesWithAnEmptyCommandLine)
{
    set_options({"before"});
    IMS_daemon daemon;
    daemon.set_options(0, nullptr);
    daemon.set_options(3, nullptr);
    char* nothing[] = {nullptr};
    daemon.set_options(1, nothing);
    EXPECT_STREQ(IMS_daemon::__d_progname, "before");
    EXPECT_FALSE(IMS_daemon::__d_help);
}

} // namespace
