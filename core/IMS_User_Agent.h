// The frame of every user-agent daemon: options, configuration, SIP start-up, and one queue that every
// input passes on its way to the main loop.
//
// A daemon derives its class, overrides get_event_id_from_message and handle_event, and runs in this order:
// construct, set_options, print_usage, open_framework_sockets, wait_for_framework_init, init_sipstack_info,
// fill_proxy, fill_event_owners, open_local_notifier, create_all_external_descriptors, handle_message
// (docs/agent.md).
//
// Thread   everything on the main thread, except fill_queue_and_send_signal and the two handle_notify
//          operations built on it, which any thread may call, and what the external-interface thread runs.
//          The class-wide members are written at start-up and read without a lock afterwards; the telephony
//          descriptors are written by that thread, so read them with load_shared (include/shared_value.h).
// Memory   never give an agent static storage duration: its destructor would run inside exit() while
//          other threads still use it. SIP objects belong to the SIP library.
// Errors   a condition that leaves the daemon without its frame is logged at level 3 and ends the process
//          (IMS_daemon::fatal_exit); everything else is a result or a line at level 4.
#ifndef IMS_USER_AGENT_H_INCLUDED
#define IMS_USER_AGENT_H_INCLUDED

#include "baseuafw/baseuafw.h"
#include "core/IMS_queue_manager.h"
#include "core/IMS_thread_utility.h"
#include "core/brief_look.h"
#include "include/ims_types.h"
#include "include/imsua_export.h"
#include "siplib/SIPLIB.h"

#include <string>
#include <utility>
#include <vector>

class IMS_Tapi_ifc;
class IMS_UA_SipServerConnListener;

class IMSUA_API IMS_User_Agent : public IMS_daemon {
public:
    // Creates the queue, its mutex and the wrapper of the external-interface thread (detached, not started).
    // No memory: logged at level 3, exit status 255.
    IMS_User_Agent();

    // Comes to rest first: takes the listener out of the notifiers it opened (which waits for a callback
    // that is running) and stops the agent's thread, unless called on it. Elements still queued are not
    // freed. The SIP library must still be up: call SIPLIB_SIPStop afterwards.
    ~IMS_User_Agent() override;

    // ---- options (main thread, before everything else) ----

    // Reads -proxy, -tacsock, -fwksyncport and -fwkasyncport into the __ua_arg members, then lets
    // IMS_daemon read its own. Nothing is copied: `argv` must live as long as the process. A value is itself
    // looked at as an option name, the last occurrence counts, and an option without a value is ignored.
    void set_options(int argc, char** argv);

    // Returns at once unless help was asked for. Otherwise writes the options of the agent, the daemon and
    // the log at level 3 and ends the process with status 0.
    void print_usage() override;

    // ---- the framework's configuration store (also usable without an object) ----

    // Reads the value at `xpath` of the configuration document named `document` into `value`. The framework
    // interface's own result, non-zero when it was found; 0 while none is open, with `value` untouched. A
    // null `xpath` reads as "". May wait for the framework daemon.
    static int get_xml_parameter(const char* xpath, std::string& value, const std::string& document);
    static int get_xml_parameter(const std::string& xpath, std::string& value, const std::string& document);

    // Reads several values in one request: the `tag` of each pair is its path, `value` is filled. Result as
    // above.
    static int get_xml_parameters(std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs, const std::string& document);

    // Writes one value. Result as above; a null `xpath` reads as "".
    static int set_xml_parameter(const char* xpath, const std::string& value, const std::string& document);
    static int set_xml_parameter(const std::string& xpath, const std::string& value,
                                 const std::string& document);

    // `out` becomes the decimal value at `xpath` (0 for text without digits, saturated at the limits of int,
    // no range check); it keeps its value when there is none or it is empty.
    static void fill_int32(const char* xpath, int& out, const std::string& document);

    // ORs into `mask` the bits of every level word in the value at `xpath` of "sipstackinit": DEBUG 1, INFO
    // 2, WARN 4, ERROR 8, EXCEP 16, SYNC 32, ALL 63, NONE nothing. Never clears a bit.
    static void fill_loglevel(const char* xpath, unsigned char& mask);

    // Fills `cfg` with the SIP library's defaults, then from the document "sipstackinit": the keys under
    // "/sipstackinit/default/" and, unless `profile` is null, the overrides under `profile`, which includes
    // its trailing "/". The local addresses are always 127.0.0.1.
    static void init_sipstack_info(SIPLIB_StackCfg& cfg, const char* profile);

    // ---- the framework daemon ----

    // Connects to the framework daemon on the two ports of the options. 1 on success; 0 otherwise, both
    // class-wide pointers then null.
    static int open_framework_sockets();

    // Ends that connection; both class-wide pointers become null.
    static int close_framework_sockets();

    // Blocks until the framework daemon says that the configuration is ready. Returns at once without a
    // framework interface.
    static void wait_for_framework_init();

    // ---- the external-interface thread: telephony and framework arrivals become queue elements ----

    // Opens the telephony socket, PROGRAM.sock (IMS_socket::path_of says where), and starts the thread. 1, or
    // 0 when either fails. Once, after open_framework_sockets and install_tapi_ifc.
    int create_all_external_descriptors();

    // Starts the thread, which watches the telephony socket if there is one and the framework's asynchronous
    // socket if that is open. 1, also when it was started before, or 0; logged at level 5 or 3.
    int create_external_interface_thread();

    // The thread's entry; `ua` is the IMS_User_Agent, null returns at once. Listens on the telephony socket
    // (two may wait), watches it and the framework's socket, and enters wait_for_ext_message.
    static void* wrap_ext_thread(void* ua);

    // The thread's loop. Each read, 1023 bytes at most, is one batch: framework text goes to
    // handle_fwk_message, telephony bytes to the installed interface; bytes of any other descriptor are
    // dropped. A connection whose peer is gone is closed, and the loop goes on. The calling thread can be
    // cancelled between two rounds only: a pending cancellation waits for the next arrival (or
    // IMS_socket::_wake).
    [[noreturn]] void wait_for_ext_message();

    // Accepts a telephony connection and watches it: the first becomes __ua_tapi_asyncfd, the second
    // __ua_tapi_syncfd, what later ones send is dropped. Both are for the life of the process: when the peer
    // is gone the variable keeps its number, which belongs to nobody else then. A failure is logged at level
    // 3 and ends the process with status 1.
    void accept_incoming_connection(int listenfd);

    // Prints `len` bytes of framework text to standard output and queues a zero-terminated copy (kind 11). A
    // null `buf` or a negative `len` reads as no text. No memory: level 3, the text is dropped. `fd`, where
    // it came from, is not used; neither is changed.
    void handle_fwk_message(int& fd, unsigned char* buf, int& len);

    // `lines` becomes the lines of `text` without the first one, its header; empty for null and for no
    // memory. A line feed at the end leaves an empty last line. For handlers of framework text.
    static void parse_prov_msg(const char* text, std::vector<std::string>& lines);

    // ---- telephony (core/IMS_Tapi_ifc.h is the receiving side) ----

    // The telephony interface that the external-interface thread hands telephony bytes to. Borrowed, must
    // live as long as the agent; null takes it away. Any thread.
    void install_tapi_ifc(IMS_Tapi_ifc* ifc);

    // The three senders: main thread; the bytes are copied and sent before the return, waiting as long as the
    // client makes them wait. No memory is logged at level 3 and ends the process with status 1.
    //
    // An event, with `len` bytes of body (zeros when `body` is null) on the asynchronous connection. The
    // header carries the low 16 bits of `len`: beyond 65535 the client cannot find the next message. A failed
    // send is logged at level 3.
    void send_tapi_async_message(unsigned short msg_id, unsigned int len, unsigned char* body);

    // The answer to `request`, with `len` bytes of body (zeros when `body` is null) on the synchronous
    // connection. A failed send is logged at level 3 and ends the process with status 1. Null: nothing.
    void send_tapi_sync_resp_message(TAC_MSG_S* request, void* body, unsigned short len);

    // The answer to a socket-init request, a body of four zero bytes, on the connection that was asked for:
    // the asynchronous one for TAPI_SOCKET_INIT, the synchronous one for any other id. Failures and null as
    // above.
    void send_tapi_socket_init_resp(TAC_MSG_S* request);

    // ---- raw transport events: empty here, and called by nothing in this library; for daemons that watch
    // the transport themselves. `conn` belongs to the SIP library ----
    virtual void handle_notify_tcp_request(SIPLIB_SIPConnection* conn);
    virtual void handle_notify_tcp_response(SIPLIB_SIPConnection* conn);
    virtual void handle_notify_tcp_incoming_conn(SIPLIB_SIPConnection* conn);
    virtual void handle_notify_tcp_conn_closed(SIPLIB_SIPConnection* conn);
    virtual void handle_notify_udp_message(SIPLIB_SIPConnection* conn);

    // Opens a listening point on the first free port of first_port .. first_port + 99, lets its requests
    // reach this agent's queue, and records the port in __ua_myuri. Null when none of the 100 is free (each
    // failure is logged by conn_open). The notifier belongs to the SIP library.
    virtual SIPLIB_SIPNotifier* open_local_notifier(int first_port);

    // ---- the queue and the main loop ----

    // Acts on one event, on the main thread, with the queue unlocked. `data` is the element's, freed after
    // the return for kinds 0, 9, 10 and 11. The result is only logged; the base recognises nothing and
    // returns 0.
    virtual unsigned short handle_event(unsigned int event_id, void* data);

    // The event number of `element`, a whole _Q_ELEMENT_T. The base returns 0.
    virtual unsigned int get_event_id_from_message(void* element);

    // The main loop. A received message whose receive() fails ends the process with status 1.
    [[noreturn]] void handle_message();

    // Queues `data` as a message of kind `type` and wakes the main loop. Any thread. The payloads of kinds 0,
    // 9, 10 and 11 are malloc blocks and pass to the queue. A full queue drops the message with two lines at
    // level 4: the payload of kinds 0, 10 and 11 is then freed (a record of kind 10 that is queued elsewhere
    // only after its last dispatch), that of every other kind stays the caller's (who is not told). The log's
    // sink must not call the agent. No memory for the queue's own element: logged at level 3, the payload
    // freed as for a full queue, exit status 1.
    void fill_queue_and_send_signal(MSG_TYPE type, void* data);

    // Queue a response (kind 1) or a request (kind 2). Any thread.
    void handle_notify_response(SIPLIB_SIPConnection* conn);
    void handle_notify_request(SIPLIB_SIPConnection* conn);

    // ---- addresses ----

    // __ua_myuri becomes "<sip:PROGRAM@127.0.0.1:port>".
    void fill_myuri(int port);

    // __ua_proxy becomes the value of -proxy, else the "Route" of the first capability file that has one,
    // else empty.
    void fill_proxy();

    // `hop` becomes the outbound proxy, or 127.0.0.1 port 5060 without one; its flag is 1 either way. The
    // host is cut at 50 characters. The port is -1 where the proxy's address has no usable one, and 0, with
    // an empty host, where __ua_proxy is no address. `transport` is the proxy's "transport" parameter, "" if
    // it has none; without a proxy it stays as it is.
    void fill_immediate_hop(SIPLIB_SipImsServerAddress& hop);

    // Registers the owners of imsreg, reg, message-summary, callstate, ipcan and isim, as the capability
    // files in the working directory name them, with IMS_event_mgmt.
    void fill_event_owners();

    // Forward to the SIPLIB_SIPConnector::open of the same arguments and log the outcome, level 5 or 4. The
    // object belongs to the SIP library; null when it could not be opened. It is what was asked for, so look
    // at it with asNotifier() or asClientConnection(). Null texts are logged as "(null)".
    //
    // By URI: ("sip:5070", null) a notifier on that port, anything else a client connection to `desturi`.
    static SIPLIB_SIPObject* conn_open(SIPLIB_SIPConnector& connector, const char* desturi,
                                       const char* srcuri);
    // By To and From: a client connection whose requests go to `to`.
    static SIPLIB_SIPObject* conn_open(SIPLIB_SIPConnector& connector, const char* to, const char* from,
                                       const char* srcuri);
    // By address: `type` is the transport, "udp" or "tcp".
    static SIPLIB_SIPObject* conn_open(SIPLIB_SIPConnector& connector, const char* type, const char* destip,
                                       int destport, const char* srcip, int srcport);

    // ---- this daemon's capability file: PROGRAM.cap in the working directory ----

    // Writes one line "name: value" a pair, replacing the file. 1, also when the disk is full; 0 when the
    // file cannot be opened, logged at level 3 under "create_cap_file". Readers see the whole text at once.
    static int write_cap_file(const std::vector<std::pair<std::string, std::string>>& lines);

    // The same from `count` texts (const char*): name, value, name, value... An odd last one is ignored, a
    // null one is empty. The compiler cannot check the texts: write_cap_file is the form to use.
    static int create_cap_file(int count, ...);

    // ---- class-wide ----
    // NOLINTBEGIN(bugprone-reserved-identifier): the names are fixed
    static int __ua_tapi_listenfd; // telephony: listening socket, -1 = none
    static int __ua_tapi_syncfd;   // telephony: synchronous connection, -1 = none
    static int __ua_tapi_asyncfd;  // telephony: asynchronous connection, -1 = none
    static char* __ua_arg_proxy;   // option values, pointing into argv: "" or "0" until given
    static char* __ua_arg_tacsock;
    static char* __ua_arg_fwksyncport;
    static char* __ua_arg_fwkasyncport;
    static SIP_IMS_cfg_intf_IMS_socket* __ua_fwk_connector; // null = not connected
    static SIP_IMS_cfg_intf* __ua_fwk_intf;                 // null = not connected
    // References to objects that exist before every static initialiser and are never destroyed.
    static IMS_socket& __ua_sock;               // the descriptor sets of all of the agent's sockets
    static std::string& __ua_myuri;             // this agent's URI, in angle brackets
    static std::string& __ua_proxy;             // outbound proxy, empty = none
    static SIPLIB_SIPConnector& __ua_connector; // opens every SIP connection
    // NOLINTEND(bugprone-reserved-identifier)

    IMS_User_Agent(const IMS_User_Agent&) = delete;
    IMS_User_Agent& operator=(const IMS_User_Agent&) = delete;

protected:
    // One turn of the main loop: waits for an element, dispatches and frees it.
    void process_one_message();

    // Takes everything out of the queue and frees it without dispatching it: for a daemon that has left its
    // main loop, once it has stopped whatever queues. Not called by the destructor. Main thread.
    void drop_queued();

    IMS_queue_manager queue_;        // declared before mutex_: destroyed after it
    IMS_mutex mutex_;                // guards queue_; its condition says "something was queued"
    IMS_thread_utility* ext_thread_; // never deleted
    IMS_Tapi_ifc* tapi_ifc_;         // atomic built-ins; null until installed
    IMS_UA_SipServerConnListener* server_listener_; // owned; null until a notifier was opened

private:
    SIPLIB_SIPNotifier* adopt_notifier(SIPLIB_SIPNotifier* notifier, int port);
    void stop_thread();
    void serve_descriptor(int fd);
    void handle_received(int fd, unsigned char* bytes, int count);

    std::vector<SIPLIB_SIPNotifier*> notifiers_; // those that call server_listener_
    imsua::BriefLook before_sleeping_;
    bool more_expected_ = false; // the main loop's own
};

#endif
