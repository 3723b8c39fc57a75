#include "siplib/log.h"

#include "tests/support/log_records.h"

#include <gtest/gtest.h>

TEST(TheLibrarysLog, WritesFailuresAtFourAndTracesAtFive)
{
    LogRecords log;
    siplib::log_failure("open", "port %d", 7);
    siplib::log_trace("open", "%s", "fine");
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "open", "port 7"}, {5, "open", "fine"}}));
}

TEST(TheLibrarysLog, CutsALineThatIsTooLong)
{
    LogRecords log;
    siplib::log_failure("open", "%s", std::string(5000, 'x').c_str());
    ASSERT_EQ(log.all().size(), 1u);
    EXPECT_EQ(log.all()[0].text.size(), 1023u);
}
