// The agent: answers SUBSCRIBEs, sends NOTIFYs, follows the links, ends cleanly.
//
// Everything that happens comes through the agent's queue and is handled on the main thread: requests and
// responses (through the sluice), and the event thread's news. After each of them pump() sends what is due
// and sets the clock to the next time that something will be.
//
// Thread   main, but for what the sluice and the event thread post.
#ifndef IMSLINKEVD_LINK_EVENT_AGENT_H_INCLUDED
#define IMSLINKEVD_LINK_EVENT_AGENT_H_INCLUDED

#include "core/IMS_User_Agent.h"
#include "daemons/common/event_thread.h"
#include "daemons/imslinkevd/link_watcher.h"
#include "daemons/imslinkevd/settings.h"
#include "daemons/imslinkevd/sip_sluice.h"

#include <memory>
#include <unordered_map>

class IMS_Message;

class Link_event_agent : public IMS_User_Agent {
public:
    static constexpr Milliseconds END_PATIENCE{2000}; // for the answers to the final NOTIFYs

    Link_event_agent();
    ~Link_event_agent() override;

    // As the agent's, with this daemon's own options first.
    void print_usage() override;

    // Opens the listening point, publishes the capability file and starts watching. A NOTIFY counts as never
    // answered after `answer_patience`. False, with a level 3 line, when there is no port or no thread.
    bool open(const Settings& settings, Milliseconds answer_patience);

    // The main loop, until a signal ends the daemon and the subscribers have been told.
    void run();

    unsigned int get_event_id_from_message(void* element) override;
    unsigned short handle_event(unsigned int event_id, void* data) override;
    SIPLIB_SIPNotifier* open_local_notifier(int first_port) override;

private:
    void on_request(SIPLIB_SIPConnection& connection);
    void on_response(SIPLIB_SIPConnection& connection);
    void on_links();
    void on_stop();

    void on_subscribe(SIPLIB_SIPConnection& connection);
    std::uint32_t subscribe(Subscribe_verdict& verdict);
    void accept(SIPLIB_SIPConnection& connection, const Subscribe_verdict& verdict, std::uint32_t id);
    void refuse(SIPLIB_SIPConnection& connection, int code, const char* why,
                const Subscribe_headers& headers);
    void answer_options(SIPLIB_SIPConnection& connection);

    void pump();
    bool send(const Due_notify& notify);
    bool send_message(IMS_Message& message, const Due_notify& notify, SIPLIB_SIPClientConnection& connection);
    bool is_over() const;

    Settings settings_;
    Link_filter filter_;
    std::unique_ptr<Subscriptions> subscriptions_;
    std::unordered_map<const SIPLIB_SIPConnection*, std::uint32_t> in_flight_; // NOTIFYs without answer
    SIPLIB_SIPNotifier* notifier_ = nullptr;
    Link_watcher watcher_;
    Event_thread events_;
    Sip_sluice sluice_;
    bool ending_ = false;
    Time end_by_;
};

#endif
