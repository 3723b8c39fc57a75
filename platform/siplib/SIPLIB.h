// SIPLIB.h -- public interface of libpelgo_siplib (C++17)
#ifndef SIPLIB_H_INCLUDED
#define SIPLIB_H_INCLUDED
#include <cstddef>
#include <cstdint>
#include <string>

#define SIPLIB_API __attribute__((visibility("default")))

class SIPLIB_SIPConnection;
class SIPLIB_SIPClientConnection;
class SIPLIB_SIPNotifier;
class SIPLIB_SIPDialog;

// ---- status: 0 is success; everything else is a failure.  Values start above 100 so that
// ---- they can never be mistaken for the dialog-record results 19 and 31  of the main loop.
enum : int {
    SIPLIB_OK = 0,
    SIPLIB_ERR_UNSUPPORTED = 101, // default body of every operation below
    SIPLIB_ERR_ARGUMENT = 102,    // null pointer, length <= 0, CR/LF/NUL inside a header value
    SIPLIB_ERR_STATE = 103,       // no request started, connection closed, nothing pending
    SIPLIB_ERR_NOT_FOUND = 104,   // header or parameter absent
    SIPLIB_ERR_TRUNCATED = 105,   // value did not fit; what fitted was delivered
    SIPLIB_ERR_SYNTAX = 106,
    SIPLIB_ERR_TRANSPORT = 107,
    SIPLIB_ERR_MEMORY = 108
};
enum : int { SIPLIB_METHOD_SIZE = 256, SIPLIB_HOST_SIZE = 51 };

// ---- the one next-hop record ------------------------------------
struct SIPLIB_SipImsServerAddress {
    std::int32_t port = 0;            // 0..65535, or -1 where no port could be read
    char host[SIPLIB_HOST_SIZE] = {}; // zero-filled; READ WITH strnlen(host, 51)
    unsigned char flag = 0;           // "set": 1
    std::string transport;            // empty = library default
};
using ImsServerAddress = SIPLIB_SipImsServerAddress;
using ServerAddressRecord = SIPLIB_SipImsServerAddress;
static_assert(offsetof(SIPLIB_SipImsServerAddress, port) == 0, "layout");
static_assert(offsetof(SIPLIB_SipImsServerAddress, host) == 4, "layout");
static_assert(offsetof(SIPLIB_SipImsServerAddress, flag) == 55, "layout");
static_assert(offsetof(SIPLIB_SipImsServerAddress, transport) == 56, "layout");

// ---- root of connections, notifiers and dialogs --------------------------------------
// Single, non-virtual inheritance from here down, and this class is always the FIRST base
// (a mock with several bases too): the queue stores void*, so the addresses must coincide.
// Virtual operations in slot order: destructor (1st), send (2nd), receive (3rd).
class SIPLIB_API SIPLIB_SIPObject {
public:
    virtual ~SIPLIB_SIPObject() = default;
    virtual int send() { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int receive() { return SIPLIB_ERR_UNSUPPORTED; } // takes the pending message; 0 = success
    virtual int close() { return SIPLIB_ERR_UNSUPPORTED; }   // opener is done with it (see ownership)
    virtual SIPLIB_SIPConnection* asConnection() { return nullptr; }
    virtual SIPLIB_SIPClientConnection* asClientConnection() { return nullptr; }
    virtual SIPLIB_SIPNotifier* asNotifier() { return nullptr; }
    virtual SIPLIB_SIPDialog* asDialog() { return nullptr; }
    SIPLIB_SIPObject(const SIPLIB_SIPObject&) = delete;
    SIPLIB_SIPObject& operator=(const SIPLIB_SIPObject&) = delete;

protected:
    SIPLIB_SIPObject() = default;
};

// ---- connection: what IMS_Message wraps ------------------------------------------------
// All text in is const char*, copied before return.  Every operation may be called with any
// argument without crashing: a null pointer gives SIPLIB_ERR_ARGUMENT.
class SIPLIB_API SIPLIB_SIPConnection : public SIPLIB_SIPObject {
public:
    // len: in = capacity of buf including the terminating zero, out = strlen of the value.
    // Always zero-terminates inside the capacity.
    virtual int getHeader(const char* /*name*/, char* /*buf*/, int& /*len*/)
    {
        return SIPLIB_ERR_UNSUPPORTED;
    }
    virtual int setHeader(const char* /*name*/, const char* /*value*/) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int addHeader(const char* /*name*/, const char* /*value*/) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int removeHeader(const char* /*name*/) { return SIPLIB_ERR_UNSUPPORTED; }
    // len: in = capacity, out = bytes copied; NEVER greater than the capacity.  A longer body is
    // cut at the capacity and SIPLIB_ERR_TRUNCATED returned.  No terminating zero.
    virtual int getBody(char* /*buf*/, int& /*len*/) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int setBody(const char* /*data*/, int /*len*/)
    {
        return SIPLIB_ERR_UNSUPPORTED;
    } // copies; (null, 0) = no body
    // writes at most capacity-1 characters and a zero; a longer name is an error, buf[0] = 0
    virtual int getMethod(char* /*buf*/, int /*capacity*/) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int setMethod(const char* /*name*/) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int getResponseCode(int& /*code*/)
    {
        return SIPLIB_ERR_UNSUPPORTED;
    } // leaves code alone on failure
    virtual int initRequest(const char* /*method*/) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int initResponse(int /*code*/) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int setRequestURI(const char* /*uri*/) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int setImsServerAddress(const SIPLIB_SipImsServerAddress&) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual SIPLIB_SIPDialog* getDialog() { return nullptr; }
    SIPLIB_SIPConnection* asConnection() override { return this; }
};

class SIPLIB_API SIPLIB_SIPClientConnectionListener {
public:
    virtual ~SIPLIB_SIPClientConnectionListener() = default;
    virtual void notifyResponse(SIPLIB_SIPClientConnection* conn) = 0;
};

class SIPLIB_API SIPLIB_SIPClientConnection : public SIPLIB_SIPConnection {
public:
    virtual int setListener(SIPLIB_SIPClientConnectionListener*) { return SIPLIB_ERR_UNSUPPORTED; }
    SIPLIB_SIPClientConnection* asClientConnection() override { return this; }
};

class SIPLIB_API SIPLIB_SIPServerConnection : public SIPLIB_SIPConnection {}; // what acceptAndOpen yields

// ---- dialogs ---------------------------------------------------------------------------
struct SIPLIB_SipUaInfo { // passed by value to notifyIncomingMessage
    std::string method;
    std::string from, to, call_id;
    std::int32_t response_code = 0; // 0 for a request
};
class SIPLIB_API SIPLIB_SIPDialogListener {
public:
    virtual ~SIPLIB_SIPDialogListener() = default;
    virtual void notifyIncomingMessage(SIPLIB_SipUaInfo) {} // ignored by the base
    virtual void notifyRequest(SIPLIB_SIPNotifier*, SIPLIB_SIPDialog*) = 0;
};
class SIPLIB_API SIPLIB_SIPDialog : public SIPLIB_SIPObject { // receive() is the 3rd here too
public:
    virtual int setListener(SIPLIB_SIPDialogListener*) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual SIPLIB_SIPClientConnection* newRequest(const char* /*method*/) { return nullptr; }
    virtual int getCallId(std::string&) { return SIPLIB_ERR_UNSUPPORTED; }
    SIPLIB_SIPDialog* asDialog() override { return this; }
};

// ---- notifier (listening point) --------------------------------------------------------
class SIPLIB_API SIPLIB_SIPServerConnectionListener {
public:
    virtual ~SIPLIB_SIPServerConnectionListener() = default;
    virtual void notifyRequest(SIPLIB_SIPNotifier*) = 0;
};
class SIPLIB_API SIPLIB_SIPNotifier : public SIPLIB_SIPObject {
public:
    virtual SIPLIB_SIPConnection* acceptAndOpen() { return nullptr; }
    virtual SIPLIB_SIPConnection* acceptAndOpen(SIPLIB_SIPDialog*) { return nullptr; }
    virtual int setListener(SIPLIB_SIPServerConnectionListener*) { return SIPLIB_ERR_UNSUPPORTED; }
    virtual int getLocalPort(int&) { return SIPLIB_ERR_UNSUPPORTED; }
    SIPLIB_SIPNotifier* asNotifier() override { return this; }
};

// ---- connector: the one factory; virtual so that a mock can stand in -------------------
class SIPLIB_API SIPLIB_SIPConnector {
public:
    SIPLIB_SIPConnector() = default;
    virtual ~SIPLIB_SIPConnector() = default;
    // ("sip:<digits>", null) opens a notifier on that port; otherwise a client connection.
    // desturi, srcuri: bare URI or <URI>.
    virtual SIPLIB_SIPObject* open(const char* desturi, const char* srcuri);
    virtual SIPLIB_SIPObject* open(const char* type, const char* destip, int destport, const char* srcip,
                                   int srcport);
    virtual SIPLIB_SIPObject* open(const char* to, const char* from, const char* srcuri);
    // Tests: while set, the three operations of every plain SIPLIB_SIPConnector (thus also of
    // IMS_User_Agent::__ua_connector) forward to it.  Returns the previous one.  Main thread only.
    static SIPLIB_SIPConnector* setOverride(SIPLIB_SIPConnector* mock);
};

// ---- addresses -------------------------------------------------------------------------
class SIPLIB_API SIPLIB_SIPAddress {
public:
    // null when value is not an address.  The caller deletes the object.
    static SIPLIB_SIPAddress* createSIPAddressObject(std::string header, std::string value);
    virtual ~SIPLIB_SIPAddress() = default;
    virtual int getDisplayName(std::string&) const = 0;
    virtual int getScheme(std::string&) const = 0;
    virtual int toString(std::string&) const = 0; // ["display" ]<uri>[;header-params]
    virtual int getPort(int&) const = 0;          // explicit port, else 5060 (5061 for sips / transport=tls)
    virtual int getParameter(const std::string& name,
                             std::string&) const = 0; // URI params first, then header params
    virtual int setParameter(const std::string& name, const std::string& value) = 0; // header parameter
    virtual int getHost(std::string&) const = 0;
    virtual int getURI(std::string&) const = 0;
    virtual int getUser(std::string&) const = 0;
    using Factory = SIPLIB_SIPAddress* (*)(const std::string& header, const std::string& value);
    static Factory setFactory(Factory); // tests: null restores the real parser
protected:
    SIPLIB_SIPAddress() = default;
};

// ---- stack -----------------------------------------------------------------------------
struct SIPLIB_StackCfg { // plain data; fields in the order in which start-up writes them
    int maxCallDialogs;
    int maxRegClients;
    int maxSubscriptions;
    int maxTransactions;
    int maxTransmitters;
    int maxNumOfPages;
    char localAddress[64]; // "127.0.0.1"
    int maxConnections;
    unsigned char tcpFlag;    // 1
    char tcpLocalAddress[64]; // "127.0.0.1"
    int tcpOption;            // 6
    int T1, T2, T4;           // milliseconds
    unsigned char logMask;    // 1 DEBUG 2 INFO 4 WARN 8 ERROR 16 EXCEP 32 SYNC
};
SIPLIB_API void SIPLIB_SIPInitConfig(SIPLIB_StackCfg* cfg); // library defaults; logMask 24 (ERROR|EXCEP)
SIPLIB_API int
SIPLIB_SIPStart(const SIPLIB_StackCfg* cfg); // idempotent; the first open() starts with defaults
SIPLIB_API void SIPLIB_SIPStop();            // joins its threads; no callback runs after it
#endif
