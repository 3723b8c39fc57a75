#include "baseuafw/baseuafw.h"
#include "core/IMS_User_Agent.h"
#include "include/imsua.h"
#include "siplib/SIPLIB.h"

#include <cstdio>

int main(int argc, char** argv)
{
    IMS_User_Agent agent;
    agent.set_options(argc, argv);
    SIPLIB_StackCfg cfg;
    SIPLIB_SIPInitConfig(&cfg);
    std::printf("%s logs with mask %d\n", IMS_daemon::__d_progname, cfg.logMask);
    return cfg.logMask == 24 ? 0 : 1;
}
