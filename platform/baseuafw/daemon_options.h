// What the command line said about the process itself.
#ifndef BASEUAFW_DAEMON_OPTIONS_H_INCLUDED
#define BASEUAFW_DAEMON_OPTIONS_H_INCLUDED

namespace baseuafw {

struct DaemonOptions {
    bool background = false;  // -daemon
    const char* pidfile = ""; // -pidfile; lives for ever, "" if none
};

extern DaemonOptions daemon_options; // written by IMS_daemon::set_options; start-up only

} // namespace baseuafw

#endif
