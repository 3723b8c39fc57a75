// A listening point: the requests that arrive on one port, UDP and TCP.
//
// Each notification puts exactly one connection into the notifier's queue (or, for a dialog with a listener,
// into that dialog's queue) before the callback, and each acceptAndOpen takes one. Requests that arrive while
// there is no listener wait (64 at most, then 503 with Retry-After) and are announced when one is set.
//
// close() gives the port back; requests not yet taken are answered 503. From within a callback about this
// very port (a request to it, the end of a request that left from it) the port is free soon after the
// callback.
//
// Thread, Memory, Errors   as SIPLIB_SIPObject.
#ifndef SIPLIB_SIPNOTIFIER_H_INCLUDED
#define SIPLIB_SIPNOTIFIER_H_INCLUDED

#include "siplib/SIPLIB_SIPConnection.h"

// Told that a request waits at a notifier. Never owned by the library.
class SIPLIB_API SIPLIB_SIPServerConnectionListener {
public:
    virtual ~SIPLIB_SIPServerConnectionListener() = default;

    // *Thread* a library thread, no library lock held.
    virtual void notifyRequest(SIPLIB_SIPNotifier*) = 0;
};

class SIPLIB_API SIPLIB_SIPNotifier : public SIPLIB_SIPObject {
public:
    // The oldest request announced to the notifier's own listener; null when none waits.
    virtual SIPLIB_SIPConnection* acceptAndOpen() { return nullptr; }

    // The oldest request announced to that dialog's listener; null when none waits there.
    virtual SIPLIB_SIPConnection* acceptAndOpen(SIPLIB_SIPDialog*) { return nullptr; }

    // Who is told about requests; null = nobody. Waits for a running callback of the old listener, unless
    // called from it: when it returns, the old listener is not used any more.
    virtual int setListener(SIPLIB_SIPServerConnectionListener*) { return SIPLIB_ERR_UNSUPPORTED; }

    // The port this notifier listens on. SIPLIB_ERR_STATE: closed, `port` is left alone.
    virtual int getLocalPort(int&) { return SIPLIB_ERR_UNSUPPORTED; }

    SIPLIB_SIPNotifier* asNotifier() override { return this; }
};

#endif
