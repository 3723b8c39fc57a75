// Tells the service manager how far a daemon is (sd_notify's protocol, without its library).
//
// Thread   any. Does nothing when the daemon was not started by a service manager that wants to know.
#ifndef DAEMONS_COMMON_SERVICE_NOTIFY_H_INCLUDED
#define DAEMONS_COMMON_SERVICE_NOTIFY_H_INCLUDED

#include <string>

// Sends `state`, e.g. "READY=1" or "STOPPING=1", to the socket named by $NOTIFY_SOCKET. True when it was
// sent.
bool service_notify(const std::string& state);

#endif
