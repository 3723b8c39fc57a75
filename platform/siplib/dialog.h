// The real dialog: who talks to whom, and the requests that wait inside it. See SIPLIB_SIPDialog.
//
// A dialog ends when it is closed, with BYE, with a NOTIFY that says "terminated" (in either direction), with
// a 481, or when a subscription was not refreshed in time (RFC 6665 section 4.1.2). From then on its requests
// go to the notifier's own listener.
//
// Thread   any; enqueue and announce: the SIP thread.
// Memory   a shell of the pool.
#ifndef SIPLIB_DIALOG_H_INCLUDED
#define SIPLIB_DIALOG_H_INCLUDED

#include "siplib/SIPLIB_SIPDialog.h"
#include "siplib/cseq_table.h"
#include "siplib/message.h"
#include "siplib/notifier.h"
#include "siplib/shell.h"
#include "siplib/shell_pool.h"

#include <deque>
#include <string>
#include <vector>

namespace siplib {

class Stack;

class Dialog final : public SIPLIB_SIPDialog {
public:
    int receive() override;
    int close() override;
    int setListener(SIPLIB_SIPDialogListener* listener) override;
    SIPLIB_SIPClientConnection* newRequest(const char* method) override;
    int getCallId(std::string& call_id) override;

    // For the stack. `place` is what it holds of the limits; null when there is no shell left.
    static Dialog* made_by_us_answering(Stack& stack, const Message& request, const Message& response,
                                        const std::string& to_tag, unsigned place);
    static Dialog* made_by_an_answer(Stack& stack, const Message& response, const std::string& request_uri,
                                     unsigned place);
    void refreshed(const Message& request, const Message& response, const std::string& method);
    void target_is(std::string_view contact);
    bool has_listener() const;
    bool enqueue(const WaitingRequest& waiting, SIPLIB_SipUaInfo info);
    void announce(Notifier* notifier);
    ServerConnection* accept();
    void end(); // takes it out of the table; the shell rests
    bool reclaim(const ShellPool<Dialog>::Resting& resting, Time at, bool early);

private:
    struct Waiting {
        WaitingRequest request;
        SIPLIB_SipUaInfo info;
    };
    struct Parties {
        std::string call_id, local_tag, remote_tag;
        std::string local, remote; // From and To of our requests
        std::string target;        // their Request-URI
        std::vector<std::string> routes;
    };
    static Dialog* made(Stack& stack, Parties parties, unsigned place, Time expires);
    DialogKey key() const { return {parties_.call_id, parties_.local_tag, parties_.remote_tag}; }
    bool leave_table();

    ShellState state_;
    Parties parties_;
    unsigned place_ = 0;
    SIPLIB_SIPDialogListener* listener_ = nullptr;
    std::deque<Waiting> waiting_;
    std::size_t announced_ = 0;
};

} // namespace siplib

#endif
