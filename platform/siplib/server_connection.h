// The real server connection. See SIPLIB_SIPServerConnection for what it promises.
//
// Thread   any; what stands under "for the stack": the SIP thread.
// Memory   a shell of the pool; `work_` is the heavy part and goes when the connection is closed or finished.
#ifndef SIPLIB_SERVER_CONNECTION_H_INCLUDED
#define SIPLIB_SERVER_CONNECTION_H_INCLUDED

#include "siplib/SIPLIB_SIPServerConnection.h"
#include "siplib/backend.h"
#include "siplib/message.h"
#include "siplib/shell.h"
#include "siplib/shell_pool.h"

#include <memory>

namespace siplib {

class Dialog;

class ServerConnection final : public SIPLIB_SIPServerConnection {
public:
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
    int initResponse(int code) override;
    int setRequestURI(const char* uri) override;
    int setImsServerAddress(const SIPLIB_SipImsServerAddress& address) override;
    SIPLIB_SIPDialog* getDialog() override;

    // For the stack.
    struct Arrival {
        std::string method;
        std::uint64_t transaction = 0;
        unsigned holds = 0; // given back when the request is answered, or kept by the dialog that it makes
        Notifier* notifier = nullptr;
        Dialog* dialog = nullptr;
    };
    bool open(Message request, Arrival arrival, std::uint32_t& generation); // false: out of memory
    void put_into_queue(std::uint32_t generation); // the notifier's, or the dialog's if that has a listener
    void transaction_ended(std::uint32_t generation);
    // Answers without an application: 503 of a closing port, for instance.
    void refuse(std::uint32_t generation, int status);
    bool reclaim(const ShellPool<ServerConnection>::Resting& resting, Time at, bool early);

private:
    struct Work {
        Arrival arrival;
        Message request, response;
        std::string to_tag;
        int code = 0;
        bool started = false;
    };

    template <typename Change>
    int change(Change change);
    int write_response(ResponseOrder& order);
    void settle_dialog(int code);
    void note_dialog(Dialog& dialog);
    void rest_from(Time at);
    void let_go();
    bool responding() const { return state_.live() && !answered_ && work_->started; }

    // Locks: the connection's before the dialog's or the notifier's, never the other way round.
    ShellState state_;
    std::unique_ptr<Work> work_;
    bool answered_ = false; // no further response is possible
};

} // namespace siplib

#endif
