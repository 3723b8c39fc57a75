// The root of connections, notifiers and dialogs.
//
// Inheritance from here down is single and non-virtual, and this class is always the FIRST base (in a mock
// with several bases too): queues carry these objects as void*, so the addresses must coincide. Virtual
// operations stand in slot order: destructor (1st), send (2nd), receive (3rd).
//
// Thread   every operation may be called from any thread; one object's operations take turns on its lock.
// Memory   the library owns all objects. They are never deleted by their users: close() says that the opener
//          is done, and an object that is finished answers SIPLIB_ERR_STATE until it is used again for
//          another message. A stale pointer is valid until SIPLIB_SIPStop.
// Errors   come back as SIPLIB_ERR_ codes; the default body of every operation is SIPLIB_ERR_UNSUPPORTED, so
//          that a mock overrides only what it needs.
#ifndef SIPLIB_SIPOBJECT_H_INCLUDED
#define SIPLIB_SIPOBJECT_H_INCLUDED

#include "siplib/SIPLIB_types.h"

class SIPLIB_API SIPLIB_SIPObject {
public:
    virtual ~SIPLIB_SIPObject() = default;

    // Sends what was built. See the connection classes.
    virtual int send() { return SIPLIB_ERR_UNSUPPORTED; }

    // Takes the message that the last notification announced. SIPLIB_OK exactly once for each delivered
    // notification, also after close(); SIPLIB_ERR_STATE when no delivered notification is outstanding.
    virtual int receive() { return SIPLIB_ERR_UNSUPPORTED; }

    // The opener is done with the object. What it holds is released, apart from notifications that were
    // delivered and not yet taken. A second close() gives SIPLIB_ERR_STATE.
    virtual int close() { return SIPLIB_ERR_UNSUPPORTED; }

    // The object as one of the four kinds, or null. No run-time type information needed.
    virtual SIPLIB_SIPConnection* asConnection() { return nullptr; }
    virtual SIPLIB_SIPClientConnection* asClientConnection() { return nullptr; }
    virtual SIPLIB_SIPNotifier* asNotifier() { return nullptr; }
    virtual SIPLIB_SIPDialog* asDialog() { return nullptr; }

    SIPLIB_SIPObject(const SIPLIB_SIPObject&) = delete;
    SIPLIB_SIPObject& operator=(const SIPLIB_SIPObject&) = delete;

protected:
    SIPLIB_SIPObject() = default;
};

#endif
