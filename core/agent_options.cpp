#include "core/IMS_User_Agent.h"
#include "include/text.h"

#include <cstring>

namespace {

struct Option {
    const char* name;
    char** value;
};

const Option options[] = {
    {"-proxy", &IMS_User_Agent::__ua_arg_proxy},
    {"-tacsock", &IMS_User_Agent::__ua_arg_tacsock},
    {"-fwksyncport", &IMS_User_Agent::__ua_arg_fwksyncport},
    {"-fwkasyncport", &IMS_User_Agent::__ua_arg_fwkasyncport},
};

const char* const usage_lines[] = {
    "User Agent Options:",
    "    -proxy:     Proxy Server uri, \"sip:proxy.example.com:5000;transport=tcp\"",
    "    -tacsock:   /tmp/tacsock",
    "    -fwksyncport:    sync portnum of the framework daemon",
    "    -fwkasyncport:   async portnum of the framework daemon",
};

} // namespace

void IMS_User_Agent::set_options(int argc, char** argv)
{
    // One step at a time, on purpose: a value is looked at as an option, too.
    for (int i = 1; i + 1 < argc; ++i)
        for (const Option& option : options)
            if (std::strcmp(imsua::text(argv[i]), option.name) == 0) *option.value = argv[i + 1];
    IMS_daemon::set_options(argc, argv);
}

void IMS_User_Agent::print_usage()
{
    if (!__d_help) return;
    for (const char* line : usage_lines)
        IMS_log::loginfo(3, "print_usage", "%s", line);
    IMS_daemon::print_usage();
    IMS_log::print_usage();
    fatal_exit(0);
}
