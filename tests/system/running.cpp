#include "tests/system/running.h"

#include <csignal>
#include <gtest/gtest.h>

void Ending::operator()(Process* process) const
{
    if (process->running()) {
        process->signal(SIGCONT);
        process->signal(SIGTERM);
        process->wait(std::chrono::seconds(10));
    }
    EXPECT_EQ(process->log().find("Sanitizer"), std::string::npos) << process->log();
    EXPECT_EQ(process->log().find("runtime error"), std::string::npos) << process->log();
    delete process;
}
