// The whole public interface of libpelgo_baseuafw, the daemon base library.
//
// Errors   come back as results or end the process where that is said; nothing here throws.
// Links    libc, pthread and libstdc++ only.
#ifndef BASEUAFW_H_INCLUDED
#define BASEUAFW_H_INCLUDED

#include "baseuafw/IMS_daemon.h"
#include "baseuafw/IMS_fwk_util.h"
#include "baseuafw/IMS_log.h"
#include "baseuafw/IMS_mutex.h"
#include "baseuafw/IMS_socket.h"
#include "baseuafw/IMS_utility.h"

#endif
