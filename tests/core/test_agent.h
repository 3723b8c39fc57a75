// An agent that a test drives by hand: one turn of its loop at a time, every dispatched event recorded.
#ifndef TESTS_CORE_TEST_AGENT_H_INCLUDED
#define TESTS_CORE_TEST_AGENT_H_INCLUDED

#include "core/IMS_User_Agent.h"

#include <functional>
#include <vector>

class TestAgent : public IMS_User_Agent {
public:
    struct Event {
        MSG_TYPE kind;
        unsigned int id;
        void* data; // where it was; freed for some kinds by the time a test looks
    };

    // Event numbers are 1000 + kind; `status` is what handle_event answers.
    unsigned int get_event_id_from_message(void* element) override
    {
        const auto* const queued = static_cast<_Q_ELEMENT_T*>(element);
        kind_ = queued->msg_type;
        if (on_event_id) on_event_id(*queued);
        return 1000u + static_cast<unsigned int>(kind_);
    }
    unsigned short handle_event(unsigned int id, void* data) override
    {
        events.push_back({kind_, id, data});
        if (on_event) on_event(data);
        return status;
    }

    using IMS_User_Agent::drop_queued;
    using IMS_User_Agent::ext_thread_;
    using IMS_User_Agent::mutex_;
    using IMS_User_Agent::process_one_message;
    using IMS_User_Agent::queue_;
    using IMS_User_Agent::server_listener_;
    using IMS_User_Agent::tapi_ifc_;

    std::vector<Event> events;
    std::function<void(const _Q_ELEMENT_T&)> on_event_id;
    std::function<void(void*)> on_event;
    unsigned short status = 0;

private:
    MSG_TYPE kind_ = -1;
};

#endif
