// A command line as main() gets it, for the option tests.
#ifndef TESTS_PLATFORM_BASEUAFW_COMMAND_LINE_H_INCLUDED
#define TESTS_PLATFORM_BASEUAFW_COMMAND_LINE_H_INCLUDED

#include "baseuafw/IMS_daemon.h"

#include <string>
#include <vector>

// The daemon takes its options from these arguments; their storage is gone afterwards.
inline void take_options_of(std::vector<std::string> arguments)
{
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(&argument[0]);
    argv.push_back(nullptr);
    IMS_daemon daemon;
    daemon.set_options(static_cast<int>(arguments.size()), argv.data());
}

#endif
