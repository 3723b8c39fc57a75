#include "siplib/sofia/sofia_log.h"

#include "tests/support/log_records.h"

#include <gtest/gtest.h>
#include <sofia-sip/su_log.h>

namespace {

class SofiasLog : public ::testing::Test {
protected:
    ~SofiasLog() override { siplib::sofia::redirect_log(24); }
    LogRecords log;
};

TEST_F(SofiasLog, ComesThroughOursOneLineAtATime)
{
    siplib::sofia::redirect_log(24);
    su_llog(su_log_default, 1, "first half, ");
    EXPECT_TRUE(log.all().empty());
    su_llog(su_log_default, 1, "second %s\nnext\n", "half");
    EXPECT_EQ(log.of("sofia"),
              (std::vector<LogRecord>{{4, "sofia", "first half, second half"}, {4, "sofia", "next"}}));
}

TEST_F(SofiasLog, KeepsQuietAsTheMaskSays)
{
    siplib::sofia::redirect_log(0);
    su_llog(su_log_default, 1, "error\n");
    siplib::sofia::redirect_log(24);
    su_llog(su_log_default, 3, "warning\n");
    EXPECT_TRUE(log.all().empty());
    siplib::sofia::redirect_log(4);
    su_llog(su_log_default, 3, "warning\n");
    siplib::sofia::redirect_log(1);
    su_llog(su_log_default, 9, "detail\n");
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "sofia", "warning"}, {5, "sofia", "detail"}}));
}

} // namespace
