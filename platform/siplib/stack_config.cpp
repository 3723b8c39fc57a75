#include "siplib/SIPLIB.h"

#include <cstdio>

namespace {

// Loopback reorders nothing, so the default T4 is short: it bounds what finished transactions hold.
constexpr SIPLIB_StackCfg defaults = {
    64,          // maxCallDialogs
    64,          // maxRegClients
    4096,        // maxSubscriptions
    16384,       // maxTransactions
    4096,        // maxTransmitters
    64,          // maxNumOfPages
    "127.0.0.1", // localAddress
    1024,        // maxConnections
    1,           // tcpFlag
    "127.0.0.1", // tcpLocalAddress
    6,           // tcpOption
    500,         // T1
    4000,        // T2
    10,          // T4
    24,          // logMask
};

} // namespace

void SIPLIB_SIPInitConfig(SIPLIB_StackCfg* cfg)
{
    if (cfg) *cfg = defaults;
}
