// The subscribing agent: sends SUBSCRIBEs, answers NOTIFYs, prints what they say.
//
// Thread   main, but for the event thread's posts.
#ifndef IMSWATCH_WATCH_AGENT_H_INCLUDED
#define IMSWATCH_WATCH_AGENT_H_INCLUDED

#include "core/IMS_UA_SipClientConnListener.h"
#include "core/IMS_User_Agent.h"
#include "daemons/common/event_thread.h"
#include "tools/imswatch/notify_view.h"
#include "tools/imswatch/watch_options.h"

// The program's exit status.
enum class Outcome : int { came = 0, too_little = 1, nobody_serves = 3, refused = 4, failed = 5 };

class Watch_agent : public IMS_User_Agent {
public:
    explicit Watch_agent(const Watch_options& options);
    ~Watch_agent() override;

    // Opens the listening point, subscribes, and stays until enough came, the time is over, the subscription
    // was refused, or a signal ends it.
    Outcome run();

    unsigned int get_event_id_from_message(void* element) override;
    unsigned short handle_event(unsigned int event_id, void* data) override;

private:
    using Time = Subscriber::Time;

    // What requests in the present dialog carry, and NOTIFYs of it must carry.
    struct Dialog {
        std::string call_id, local_tag, remote_tag;
        std::string target; // where requests go
        std::uint32_t remote_cseq = 0;
    };

    bool find_owner();
    void turn();
    bool begin_dialog();
    void send_subscribe(Subscriber::Send kind);
    void on_response(SIPLIB_SIPConnection& connection);
    void on_request(SIPLIB_SIPConnection& connection);
    int take_notify(SIPLIB_SIPConnection& connection, Notify_view& view);
    bool is_ours(SIPLIB_SIPConnection& connection);
    void tell(const std::string& what, const std::string& detail);
    void tell(const Notify_view& view);
    void tell_state(Subscriber::State before);
    bool has_enough() const { return options_.count > 0 && notifies_ >= options_.count; }
    Outcome outcome() const;

    const Watch_options options_;
    std::string owner_;   // URI of the notifier, as it is published
    std::string contact_; // ours
    Subscriber subscriber_;
    Dialog dialog_;
    unsigned notifies_ = 0;
    Time end_at_ = Time::max();
    SIPLIB_SIPNotifier* notifier_ = nullptr;
    SIPLIB_SIPClientConnection* request_ = nullptr; // the SUBSCRIBE under way
    IMS_UA_SipClientConnListener responses_;
    Event_thread events_;
};

#endif
