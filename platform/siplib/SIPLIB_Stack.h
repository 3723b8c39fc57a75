// The SIP stack as a whole: its configuration, start and stop.
//
// No thread runs before SIPLIB_SIPStart or the first open().
//
// Thread   SIPLIB_SIPInitConfig any; SIPLIB_SIPStart and SIPLIB_SIPStop the main thread.
#ifndef SIPLIB_STACK_H_INCLUDED
#define SIPLIB_STACK_H_INCLUDED

#include "siplib/SIPLIB_types.h"

// Plain data; the fields stand in the order in which start-up writes them. A limit of 0 or less means "none
// allowed"; nothing is rounded up.
struct SIPLIB_StackCfg {
    int maxCallDialogs;       // dialogs made by INVITE at one time
    int maxRegClients;        // REGISTER transactions of ours at one time
    int maxSubscriptions;     // dialogs made by SUBSCRIBE at one time
    int maxTransactions;      // transactions at one time, client and server each
    int maxTransmitters;      // requests handed to send() and not yet on the wire
    int maxNumOfPages;        // stored, unused: memory is taken as needed
    char localAddress[64];    // the only address that is bound (IPv4 or IPv6); "127.0.0.1"
    int maxConnections;       // TCP connections at one time
    unsigned char tcpFlag;    // 1: notifiers listen on TCP too, and TCP can be sent; 0: UDP only
    char tcpLocalAddress[64]; // the same for TCP; "127.0.0.1"; empty: localAddress
    int tcpOption;            // 6; stored, unused
    int T1, T2, T4;           // milliseconds (RFC 3261 section 17); 0 or less: the library's default
    unsigned char logMask;    // the stack's own lines: 1 DEBUG 2 INFO 4 WARN 8 ERROR 16 EXCEP 32 SYNC
};

// Fills in the library's defaults; logMask 24 (ERROR|EXCEP). Null: nothing happens.
SIPLIB_API void SIPLIB_SIPInitConfig(SIPLIB_StackCfg* cfg);

// Starts the stack and its thread; `cfg` is copied, null means the defaults. Idempotent: while the stack runs
// it returns SIPLIB_OK and changes nothing. SIPLIB_ERR_ARGUMENT: an unusable local address.
// SIPLIB_ERR_TRANSPORT: the address cannot be bound. SIPLIB_ERR_MEMORY: out of memory or threads.
SIPLIB_API int SIPLIB_SIPStart(const SIPLIB_StackCfg* cfg);

// Ends the stack: ports are given back, the thread is joined, no callback runs afterwards, every object of
// the library is freed and pointers to them end. Nothing happens when it does not run. Not to be called from
// a callback. SIPLIB_SIPStart may follow.
SIPLIB_API void SIPLIB_SIPStop();

// How many times a getBody of this process cut a body because it was longer than the reader's buffer. Each is
// also logged, level 4 under "getBody": method, the body's size, the buffer's. Wraps to 0 after 2^32-1; goes
// on counting over SIPLIB_SIPStop. Any thread.
SIPLIB_API unsigned SIPLIB_SIPCutBodies();

#endif
