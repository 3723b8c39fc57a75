#include "subscriptions/IMS_event_mgmt.h"
#include "tests/core/class_wide.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Agent = IMS_User_Agent;
using Records = std::vector<LogRecord>;

class ACapabilityFile : public testing::Test {
protected:
    ACapabilityFile() { IMS_daemon::__d_progname = "agent"; }
    std::string written() const { return dir.read("agent.cap"); }
    ClassWide members;
    WorkingDir dir;
    LogRecords log;
};

TEST_F(ACapabilityFile, HoldsOneLineAPairInTheirOrder)
{
    EXPECT_EQ(
        Agent::write_cap_file({{"Event", "imsreg"}, {"Event", "reg"}, {"Contact", "<sip:a@127.0.0.1>"}}), 1);
    EXPECT_EQ(written(), "Event: imsreg\nEvent: reg\nContact: <sip:a@127.0.0.1>\n");
    EXPECT_TRUE(log.all().empty());
}

TEST_F(ACapabilityFile, IsWrittenFromPairsOfTexts)
{
    EXPECT_EQ(Agent::create_cap_file(4, "Event", "imsreg", "Contact", "<sip:a@127.0.0.1>"), 1);
    EXPECT_EQ(written(), "Event: imsreg\nContact: <sip:a@127.0.0.1>\n");
}

TEST_F(ACapabilityFile, IgnoresAnOddLastText)
{
    EXPECT_EQ(Agent::create_cap_file(3, "Event", "imsreg", "Contact"), 1);
    EXPECT_EQ(written(), "Event: imsreg\n");
}

TEST_F(ACapabilityFile, IsEmptyWithoutAPair)
{
    for (int count : {0, 1, -1, -2147483647 - 1}) {
        dir.write("agent.cap", "old");
        EXPECT_EQ(Agent::create_cap_file(count, "Event"), 1) << count;
        EXPECT_EQ(written(), "") << count;
    }
}

TEST_F(ACapabilityFile, ReplacesAnOlderOne)
{
    dir.write("agent.cap", std::string(5000, 'x'));
    EXPECT_EQ(Agent::create_cap_file(2, "Event", "reg"), 1);
    EXPECT_EQ(written(), "Event: reg\n");
}

TEST_F(ACapabilityFile, TakesANullTextAsEmpty)
{
    const char* none = nullptr;
    EXPECT_EQ(Agent::create_cap_file(4, none, none, "Contact", none), 1);
    EXPECT_EQ(written(), ": \nContact: \n");
}

TEST_F(ACapabilityFile, DoesNotReadTextsAsFormats)
{
    EXPECT_EQ(Agent::create_cap_file(2, "%s%n", "%d"), 1);
    EXPECT_EQ(written(), "%s%n: %d\n");
}

TEST_F(ACapabilityFile, ReportsThatItCannotBeOpened)
{
    ASSERT_EQ(::mkdir("agent.cap", 0700), 0);
    EXPECT_EQ(Agent::create_cap_file(2, "Event", "reg"), 0);
    EXPECT_EQ(Agent::write_cap_file({}), 0);
    const LogRecord wanted = {3, "create_cap_file", "error opening file agent.cap"};
    EXPECT_EQ(log.all(), (Records{wanted, wanted}));
}

TEST_F(ACapabilityFile, ThatTheDiskCannotHoldIsNoFailure)
{
    ASSERT_EQ(::symlink("/dev/full", "agent.cap"), 0);
    EXPECT_EQ(Agent::create_cap_file(2, "Event", "reg"), 1);
    EXPECT_TRUE(log.all().empty());
}

// The lowest free descriptor: the same as before when everything that was opened is closed again.
int next_descriptor()
{
    const int fd = ::dup(STDERR_FILENO);
    ::close(fd);
    return fd;
}

TEST_F(ACapabilityFile, IsClosedAfterwards)
{
    const int before = next_descriptor();
    EXPECT_EQ(Agent::create_cap_file(2, "Event", "reg"), 1);
    EXPECT_EQ(next_descriptor(), before);
}

TEST_F(ACapabilityFile, IsReadBackByTheOtherDaemons)
{
    Agent::create_cap_file(6, "Event", "reg", "Contact", "<sip:a@127.0.0.1:5070>", "Route", "sip:p");
    EXPECT_EQ(IMS_event_mgmt::get_value_from_cap_files("Event: reg", "Contact"), "<sip:a@127.0.0.1:5070>");
    EXPECT_EQ(IMS_event_mgmt::get_value_from_cap_files("Route:", "Route"), "sip:p");
}

} // namespace
