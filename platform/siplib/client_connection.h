// The real client connection. See SIPLIB_SIPClientConnection for what it promises.
//
// Thread   any; deliver, announce and reclaim: the SIP thread (reclaim also inside open()).
// Memory   a shell of the pool; `work_` is the heavy part and goes when the connection is closed or finished.
#ifndef SIPLIB_CLIENT_CONNECTION_H_INCLUDED
#define SIPLIB_CLIENT_CONNECTION_H_INCLUDED

#include "siplib/SIPLIB_SIPClientConnection.h"
#include "siplib/message.h"
#include "siplib/request_text.h"
#include "siplib/shell.h"
#include "siplib/shell_pool.h"

#include <memory>
#include <vector>

namespace siplib {

class Stack;

class ClientConnection final : public SIPLIB_SIPClientConnection {
public:
    // What a connection is opened with: where the request goes, and headers that are there from the start.
    struct Opening {
        std::string request_uri, to, from, contact;
        NextHop hop;
    };

    int send() override;
    int receive() override;
    int close() override;
    int getHeader(const char* name, char* buf, int& len) override;
    int setHeader(const char* name, const char* value) override;
    int addHeader(const char* name, const char* value) override;
    int removeHeader(const char* name) override;
    int getBody(char* buf, int& len) override;
    int setBody(const char* data, int len) override;
    int getMethod(char* buf, int capacity) override;
    int setMethod(const char* name) override;
    int getResponseCode(int& code) override;
    int initRequest(const char* method) override;
    int setRequestURI(const char* uri) override;
    int setImsServerAddress(const SIPLIB_SipImsServerAddress& address) override;
    SIPLIB_SIPDialog* getDialog() override;
    int setListener(SIPLIB_SIPClientConnectionListener* listener) override;

    // For the stack.
    bool open(Opening opening); // false: out of memory
    void deliver(std::uint32_t generation, int status, RawMessage raw, SIPLIB_SIPDialog* dialog);
    void announce(std::uint32_t generation);
    void done_without_response(std::uint32_t generation);
    // Makes the shell free if nothing has happened for 64*T1 (or `early`, if nothing is owed). False: later.
    bool reclaim(const ShellPool<ClientConnection>::Resting& resting, Time at, bool early);
    bool reclaim_if_forgotten(Time at); // opened, and neither sent nor touched for 64*T1
    void set_dialog(SIPLIB_SIPDialog* dialog);

private:
    struct Response {
        int status;
        RawMessage raw;
    };
    enum class Step : unsigned char { empty, building, sent, finished };
    struct Work {
        Opening opening;
        std::string method;
        Message request;
        std::vector<Response> untaken; // oldest first; hardly ever more than one
        std::size_t announced = 0;     // how many of them the listener knows of
        RawMessage raw;                // the response last taken, as it came
        Message response;              // the same, read on first use
        int status = 0;
        bool response_read = false;
        SIPLIB_SIPDialog* dialog = nullptr;
        SIPLIB_SIPClientConnectionListener* listener = nullptr;
    };

    // A callback that has begun, and whether more may follow it.
    struct Announcement {
        SIPLIB_SIPClientConnectionListener* listener = nullptr;
        bool more = false;
    };

    static void take_spare_memory(Message& request);
    void drop_request();
    Announcement next_announcement();
    void announce(std::uint32_t generation, Announcement next);
    template <typename Change>
    int change(Change change);
    int begin_request(const char* method);
    int prepare(Stack& stack, RequestOrder& order);
    void label(RequestOrder& order);
    static bool ends_dialog(const Work& work);
    const Message* readable();
    void rest_from(Time at);
    void let_go();

    ShellState state_;
    std::unique_ptr<Work> work_;
    Step step_ = Step::empty;
};

} // namespace siplib

#endif
