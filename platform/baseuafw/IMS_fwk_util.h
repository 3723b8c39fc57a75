// An agent's two doors to the framework daemon: the configuration interface and the connector that holds
// the asynchronous socket. docs/framework-protocol.md gives the protocol behind them.
//
// While the daemon is away every operation fails at once; when it is back the connection is made again by
// itself, both ports, within about a second. The new asynchronous descriptor joins the socket object's read
// set. Announcements made meanwhile are lost: who depends on a value reads it again.
//
// Thread   any, for every operation of an opened interface; opening and closing on the main thread.
// Memory   the library owns what it opens, for ever: after close_framework_sockets the objects answer like
//          lost ones (0, non-zero from wait_for_sync, -1 as descriptor), so a stale pointer does no harm.
// Errors   come back as results; nothing throws.
#ifndef BASEUAFW_IMS_FWK_UTIL_H_INCLUDED
#define BASEUAFW_IMS_FWK_UTIL_H_INCLUDED

#include "baseuafw/baseuafw_api.h"

#include <string>
#include <vector>

class IMS_socket;

// One question and its answer. A tag is an XPath expression, or the plain name of an element that may stand
// anywhere in the document ("T1" is short for "//T1").
struct SIP_IMS_CFG_TAG_VALUE_T {
    std::string tag;
    std::string value;
};

// The configuration store as agents see it. Abstract: a mock derives from it.
//
// A request without an answer within two seconds counts as a lost connection. Document names, paths and
// tags are one non-empty line each, and a whole request is 65536 bytes at most; others fail unsent.
class BASEUAFW_API SIP_IMS_cfg_intf {
public:
    virtual ~SIP_IMS_cfg_intf() = default;

    // Reads the text of the first node that `xpath` gives in `document` ("config" is the file config.xml of
    // the store). Non-zero: found, `value` is filled, perhaps with an empty text. 0: not found, or no
    // daemon; `value` is unchanged.
    virtual int get_one(const std::string& xpath, std::string& value, const std::string& document) = 0;

    // Reads the tags of all pairs in one request. Non-zero: at least one was found. The values of tags that
    // were not found are unchanged. 0: none, or no daemon.
    virtual int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs, const std::string& document) = 0;

    // Changes the text of the first node that `xpath` gives, or adds the elements of a plain path
    // (/a/b/c) that are missing. Non-zero: it is stored, and survives a power failure. 0: refused, or no
    // daemon, or no answer: only in this last case it may have been stored nevertheless.
    virtual int set_one(const std::string& xpath, const std::string& value, const std::string& document) = 0;

    // Blocks until the daemon has loaded its store: 0. Non-zero when the connection is lost meanwhile or was
    // not there. Other operations fail at once while one thread waits here.
    virtual int wait_for_sync() = 0;
};

// The framework socket connector.
class BASEUAFW_API SIP_IMS_cfg_intf_IMS_socket {
public:
    virtual ~SIP_IMS_cfg_intf_IMS_socket() = default;

    // The asynchronous socket, on which the daemon's announcements arrive as text; -1 while there is none.
    // It is another number after a reconnection. Thread: any.
    virtual int get_descriptor() const = 0;
};

// Opens and closes an agent's connection to the framework daemon.
class BASEUAFW_API IMS_fwk_util {
public:
    // Connects to the framework daemon of this device, the synchronous port first; both are decimal texts.
    // 1: both pointers are set. 0: both are null: a port is "0", null or no port number, or nobody listens
    // there (a level 4 line tells the latter). What the pointers held before is closed. `sock` may be null
    // and otherwise outlives the connection; the first descriptor is put into its sets by whoever watches
    // them, later ones by the library.
    static int open_framework_sockets(SIP_IMS_cfg_intf_IMS_socket** connector, SIP_IMS_cfg_intf** intf,
                                      const char* sync_port, const char* async_port, IMS_socket* sock);

    // Sets both pointers to null and ends the connection; the descriptor leaves the sets and is closed.
    // 1, or 0 when nothing was open. May take as long as a request that is under way.
    static int close_framework_sockets(SIP_IMS_cfg_intf_IMS_socket** connector, SIP_IMS_cfg_intf** intf);
};

#endif
