// A program that a system test started, ended with the test.
#ifndef TESTS_SYSTEM_RUNNING_H_INCLUDED
#define TESTS_SYSTEM_RUNNING_H_INCLUDED

#include "tests/support/process.h"

#include <memory>
#include <string>
#include <vector>

using Words = std::vector<std::string>;

// Ends a program that still runs as a user would, and looks for what a sanitizer had to say.
struct Ending {
    void operator()(Process* process) const;
};
using Running = std::unique_ptr<Process, Ending>;

#endif
