// An agent that records telephony and framework messages by their contents, and the bytes of such messages.
#ifndef TESTS_CORE_TELEPHONY_AGENT_H_INCLUDED
#define TESTS_CORE_TELEPHONY_AGENT_H_INCLUDED

#include "include/tapi_wire.h"
#include "tests/core/test_agent.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

// One message on the wire. Every field has a value that a test need not care about.
struct WireMessage {
    WireMessage(std::uint16_t with_id = 100, const std::string& with_body = "", std::uint32_t with_ref = 0,
                std::uint8_t with_type = 0)
        : id(with_id), body(with_body), ref(with_ref), type(with_type)
    {
    }
    std::uint16_t id;
    std::string body;
    std::uint32_t ref;
    std::uint8_t type;
    std::uint32_t slot = 0xdeadbeef;
    int claimed = -1; // body length in the header when it is not the body's
};

inline std::string bytes_of(const WireMessage& message)
{
    TAC_MSG_S header = {};
    header.tac_type = message.type;
    header.tac_ref = message.ref;
    header.msg_id = message.id;
    const int length = message.claimed >= 0 ? message.claimed : static_cast<int>(message.body.size());
    header.body_len = static_cast<std::uint16_t>(length);
    char wire[TAC_MSG_WIRE_SIZE];
    imsua::pack_tapi_header(header, message.slot, wire);
    return std::string(wire, sizeof wire) + message.body;
}

inline std::string bytes_of(std::initializer_list<WireMessage> messages)
{
    std::string all;
    for (const WireMessage& message : messages)
        all += bytes_of(message);
    return all;
}

// What a handler saw of a kind 0 message, a kind 10 record (its number as `id`) or a kind 11 text.
struct Seen {
    MSG_TYPE kind = -1;
    std::uint32_t id = 0;
    std::string body;
    std::uint32_t ref = 0;
    std::uint8_t type = 0;
    bool operator==(const Seen& o) const
    {
        return kind == o.kind && id == o.id && body == o.body && ref == o.ref && type == o.type;
    }
};

inline std::ostream& operator<<(std::ostream& out, const Seen& s)
{
    return out << "kind " << s.kind << " id " << s.id << " \"" << s.body << "\" ref " << s.ref << " type "
               << static_cast<int>(s.type);
}

inline Seen seen_raw(std::uint32_t id, const std::string& body = "", std::uint32_t ref = 0,
                     std::uint8_t type = 0)
{
    return {MSG_TYPE_TAPI_RAW, id, body, ref, type};
}
inline Seen seen_mapped(std::uint32_t number, const std::string& body = "")
{
    return {MSG_TYPE_TAPI_MAPPED, number, body, 0, 0};
}

// Waits until `happened()`; each round gives other threads the processor.
template <typename Happened>
bool soon(Happened happened, std::chrono::seconds patience = std::chrono::seconds(15))
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!happened()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

class TelephonyAgent : public TestAgent {
public:
    // Whoever queued an element owns it until it was dispatched: nothing may stay behind.
    ~TelephonyAgent() override
    {
        stop_thread();
        drain();
    }

    unsigned short handle_event(unsigned int id, void* data) override
    {
        look_at(static_cast<MSG_TYPE>(id) - 1000, data);
        return TestAgent::handle_event(id, data);
    }

    // Dispatches `count` messages, waiting for each; false when one did not come.
    bool turns(int count)
    {
        for (int i = 0; i < count; ++i) {
            if (!soon([this] { return has_messages(); })) return false;
            process_one_message();
        }
        return true;
    }
    void drain()
    {
        while (has_messages())
            process_one_message();
    }
    bool has_messages()
    {
        mutex_.lock();
        const bool any = !queue_.isEmpty();
        mutex_.unlock();
        return any;
    }

    // Its external-interface thread queues nothing any more.
    void stop_thread()
    {
        ext_thread_->cancel_thread();
        if (ext_thread_->is_running()) __ua_sock._wake();
        ext_thread_->wait_until_ended();
    }

    std::vector<Seen> seen;

private:
    void look_at(MSG_TYPE kind, const void* data)
    {
        if (!data) return;
        if (kind == MSG_TYPE_TAPI_RAW) {
            const auto* const m = static_cast<const TAC_MSG_S*>(data);
            seen.push_back({kind, m->msg_id, text(m->body, m->body_len), m->tac_ref, m->tac_type});
        } else if (kind == MSG_TYPE_TAPI_MAPPED) {
            const auto* const m = static_cast<const IMS_MAPPED_MSG_S*>(data);
            seen.push_back({kind, m->msg_number, text(m->body, m->body_len), 0, 0});
        } else if (kind == MSG_TYPE_FWK)
            seen.push_back({kind, 0, static_cast<const char*>(data), 0, 0});
    }
    static std::string text(const void* body, std::size_t size)
    {
        return size != 0 && body ? std::string(static_cast<const char*>(body), size) : std::string();
    }
};

// A record as an action makes it, with a body of its own.
inline IMS_MAPPED_MSG_S* new_record(std::uint32_t number, const std::string& body = "")
{
    auto* const record = static_cast<IMS_MAPPED_MSG_S*>(std::calloc(1, sizeof(IMS_MAPPED_MSG_S)));
    record->msg_number = number;
    record->body_len = static_cast<std::uint16_t>(body.size());
    if (body.empty()) return record;
    auto* const copy = static_cast<char*>(std::malloc(body.size()));
    std::copy(body.begin(), body.end(), copy);
    record->body = copy;
    return record;
}

#endif
