// One SIP request or response, built or read through one connection of the SIP library.
//
// The message keeps no copy of anything: method, URI, headers and body live in the connection. Each
// operation is one call on it, logs the outcome under its own name (level 5 success, level 4 failure) and
// tells it as true or false. docs/messages/README.md tells the calling orders.
//
// Thread   a message and its connection are used by one thread at a time.
// Memory   the connection is borrowed: never closed, never deleted here.
// Errors   a null connection makes every operation a no-op that logs "failed: Connection is null" and
//          returns false. A status other than 0 is logged and returned as false. Nothing throws.
// Texts    a null text is passed on to the connection, which refuses it, and is logged as "(null)".
#ifndef IMS_MESSAGE_H_INCLUDED
#define IMS_MESSAGE_H_INCLUDED

#include "include/imsua_export.h"
#include "include/sip_names.h"
#include "siplib/SIPLIB.h"

#include <string>

// A SIP message on a borrowed connection; the base of every request class.
class IMSUA_API IMS_Message {
public:
    SIPLIB_SIPConnection* connection; // may be null

    // Starts a request on `conn`: method, From, To, then Contact if it is not null or empty, then the next
    // hop if `route` is not null or empty. Failures are logged and the message is usable all the same; a
    // route that is no address is skipped. With a null `conn` nothing happens.
    IMS_Message(SIPLIB_SIPClientConnection* conn, const char* method, const char* from, const char* to,
                const char* contact, const char* route);
    IMS_Message(SIPLIB_SIPClientConnection* conn, const char* method, const std::string& from,
                const std::string& to, const std::string& contact, const std::string& route);
    // Wraps a received request or response; calls nothing.
    explicit IMS_Message(SIPLIB_SIPConnection* conn);

    virtual ~IMS_Message();

    // Sends the request or response that was built.
    virtual bool send();
    // Takes the message that a notification announced into the connection.
    virtual bool receive();

    // The value of the first header `tag`, in `buf` of `len` bytes: cleared first, always zero-terminated.
    // False when there is no such header, or it did not fit: what fitted is in `buf` then.
    bool get_header(const char* tag, char* buf, int len);
    // Replaces header `tag`; adds a further one; removes it. CR, LF and NUL in a value are refused by the
    // SIP library, so a value cannot smuggle in a header of its own.
    bool set_header(const char* tag, const char* val);
    bool add_header(const char* tag, const char* val);
    bool remove_header(const char* tag);

    // The body, in `buf` of `len` bytes: cleared first, not zero-terminated. `len` becomes the length,
    // never more than it was; a longer body is cut and false returned. With a null connection `len` and
    // `buf` are left alone.
    bool get_body(char* buf, int& len);
    // Sets `len` bytes as the body; they are copied. (null, 0) takes the body away.
    bool set_body(const char* data, int len);

    // The code of the response; 0 when there is none.
    int get_response();
    // Starts a response with status `code`, a request of `method`.
    bool init_response(int code);
    bool init_request(const char* method);

    // Whether the method is exactly `name` (methods are case-sensitive, RFC 3261 section 7.1).
    bool is_method(const char* name);
    // The method, in a buffer of SIPLIB_METHOD_SIZE bytes, or of `capacity` bytes; "" on failure.
    bool get_method(char* buf);
    bool get_method(char* buf, int capacity);
    // Replaces the method, the Request-URI of the request being built.
    bool set_method(const char* name);
    bool set_request_uri(const char* uri);

    // Whether two method names are the same; false if one is null. Uses no connection.
    static bool is_method_name(const char* a, const char* b);

    // Sets header `tag` to the address `addr`, with a parameter if `param_name` is not null. An address that
    // cannot be understood sets no header and is logged.
    void set_addr_header(const char* tag, const char* addr, const char* param_name, const char* param_value);

    IMS_Message(const IMS_Message&) = delete;
    IMS_Message& operator=(const IMS_Message&) = delete;

private:
    // Whether there is a connection; logs under `operation` when there is none.
    bool connected(const char* operation) const;
    void start_request(const char* method, const char* from, const char* to, const char* contact,
                       const char* route);
    void set_route(const char* route);
};

#endif
