#include "baseuafw/IMS_daemon.h"

#include "baseuafw/daemon_options.h"
#include "tests/platform/baseuafw/command_line.h"
#include "tests/support/log_records.h"

#include <gtest/gtest.h>

namespace {

TEST(ADaemon, TakesItsNameFromThePathOfTheProgram)
{
    take_options_of({"/usr/sbin/imsagent"});
    EXPECT_STREQ(IMS_daemon::__d_progname, "imsagent");
    take_options_of({"plain"});
    EXPECT_STREQ(IMS_daemon::__d_progname, "plain");
    take_options_of({"directory/"});
    EXPECT_STREQ(IMS_daemon::__d_progname, "");
}

TEST(ADaemon, SeesEverySpellingOfHelp)
{
    for (const char* help : {"-h", "-help", "--help"}) {
        take_options_of({"prog"});
        EXPECT_FALSE(IMS_daemon::__d_help);
        take_options_of({"prog", "-other", help});
        EXPECT_TRUE(IMS_daemon::__d_help) << help;
    }
    take_options_of({"prog", "help", "-H"});
    EXPECT_FALSE(IMS_daemon::__d_help);
}

TEST(ADaemon, TakesTheOptionsOfItsProcess)
{
    take_options_of({"prog", "-daemon", "-pidfile", "/run/prog.pid"});
    EXPECT_TRUE(baseuafw::daemon_options.background);
    EXPECT_STREQ(baseuafw::daemon_options.pidfile, "/run/prog.pid");
    take_options_of({"prog", "-pidfile"});
    EXPECT_FALSE(baseuafw::daemon_options.background);
    EXPECT_STREQ(baseuafw::daemon_options.pidfile, "");
}

TEST(ADaemon, CopesWithAnEmptyCommandLine)
{
    take_options_of({"before"});
    IMS_daemon daemon;
    daemon.set_options(0, nullptr);
    daemon.set_options(3, nullptr);
    char* nothing[] = {nullptr};
    daemon.set_options(1, nothing);
    EXPECT_STREQ(IMS_daemon::__d_progname, "before");
    EXPECT_FALSE(IMS_daemon::__d_help);
}

TEST(ADaemon, HandsTheCommandLineToTheLog)
{
    take_options_of({"prog", "-loglevel", "4"});
    EXPECT_EQ(IMS_log::level(), 4);
    IMS_log::set_level(5);
}

TEST(ADaemon, TellsItsOptionsAtTheFatalLevel)
{
    LogRecords log;
    IMS_daemon daemon;
    daemon.print_usage();
    ASSERT_GE(log.all().size(), 4u);
    EXPECT_EQ(log.all().size(), log.of("print_usage").size());
    EXPECT_EQ(log.all().size(), log.up_to(3).size());
    EXPECT_EQ(log.all()[0].text, "Daemon Options:");
}

} // namespace
