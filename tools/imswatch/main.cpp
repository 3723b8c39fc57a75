// imswatch: subscribes to an event package on this device and prints each NOTIFY (docs/tools/imswatch.md).
#include "tools/imswatch/watch_agent.h"

#include <cstdio>
#include <filesystem>
#include <libxml/xmlerror.h>
#include <unistd.h>
#include <vector>

namespace {

// The library reads its options from a command line of its own: only those that have another name here.
void set_library_options(Watch_agent& agent, Watch_options& options)
{
    static char name[] = "imswatch";
    static char trace[] = "-siptrace";
    std::vector<char*> argv = {name};
    if (!options.siptrace.empty()) {
        argv.push_back(trace);
        argv.push_back(options.siptrace.data());
    }
    agent.set_options(static_cast<int>(argv.size()), argv.data());
    IMS_log::set_level(options.verbose ? 5 : 3);
}

// libxml2 would quote a body that it cannot read on standard error, control characters and all.
void quiet_parser()
{
    xmlSetStructuredErrorFunc(nullptr, [](void*, xmlErrorPtr) {});
}

} // namespace

int main(int argc, char** argv)
{
    Watch_options options;
    int status = 0;
    if (!parse_options(argc, argv, options, status)) return status;
    if (!options.siptrace.empty()) options.siptrace = std::filesystem::absolute(options.siptrace).string();
    if (!options.dir.empty() && ::chdir(options.dir.c_str()) != 0) {
        std::fprintf(stderr, "imswatch: cannot enter %s\n", options.dir.c_str());
        return 2;
    }
    quiet_parser();
    Outcome outcome = Outcome::failed;
    {
        Watch_agent agent(options);
        set_library_options(agent, options);
        Event_thread::take_signals();
        outcome = agent.run();
    }
    SIPLIB_SIPStop();
    return static_cast<int>(outcome);
}
