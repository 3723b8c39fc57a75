// Runs the steps: what is to be sent and when, and whether what arrives is what was expected. Knows neither
// sockets nor a clock: it is told what arrived and what time it is.
//
// The agent's queue holds 51 messages, one read of it takes 1023 bytes, and what does not fit is lost.
// Whoever wants every message to arrive therefore keeps few under way: a message that will be answered waits
// until fewer than `window` are unanswered, and until those on its channel leave room for it in one read.
//
// Expectations take the messages of a channel in the order in which they arrived. A message that is not what
// is expected next is passed over; with `strict` that is a failure.
//
// Thread   one.
// Memory   keeps an arrived message while a later expectation may want it.
#ifndef IMSTAC_CONVERSATION_H_INCLUDED
#define IMSTAC_CONVERSATION_H_INCLUDED

#include "tools/imstac/step.h"

#include <array>
#include <deque>
#include <string>

namespace imstac {

constexpr std::size_t AGENT_READ = 1023;

// Where what is sent goes.
class Outlet {
public:
    virtual ~Outlet() = default;
    virtual void send(Channel channel, const Message& message, const std::optional<Answer>& answer) = 0;
    virtual void send_raw(Channel channel, const std::string& bytes) = 0;
    virtual void close(Channel channel) = 0; // after what was sent
};

class Conversation {
public:
    struct Rules {
        Duration within = std::chrono::seconds(5); // for answers and expectations
        unsigned window = 1;                       // unanswered messages at a time
        bool strict = false;                       // what is not expected is a failure
        bool timed = true;                         // heeds the steps' own times
    };
    enum class State {
        waiting, // for an arrival or for due()
        done,    // every step, and every answer
        failed,  // why() says what did not happen
        gone     // the agent closed a channel that is still needed
    };

    // `outlet` is borrowed.
    Conversation(Steps steps, const Rules& rules, Outlet& outlet);

    void on_message(Channel channel, const Message& message);
    void on_closed(Channel channel);

    // Does what can be done at `now`; the steps' own times count from the first call. A state other than
    // waiting is final.
    State advance(Time now);
    // When advance() is to be called again even if nothing arrives.
    Time due() const { return due_; }
    const std::string& why() const { return why_; }
    // All steps were done; only answers may be missing.
    bool is_past_its_steps() const { return at_ >= steps_.size(); }

private:
    enum class Turn { next, wait, stop };
    struct Awaited {
        Answer answer;
        Channel channel;
        std::size_t size;
        Time until;
        std::size_t step;
    };
    struct End {
        std::deque<Message> inbox;
        std::size_t wanted = 0; // expectations that are still to come
        bool closed = false;    // by the agent
    };

    Turn run(const Step& step, Time now);
    Turn run_send(const Step& step, Time now);
    Turn run_expect(const Step& step, Time now);
    Turn send_once(const Step& step, Time now);
    Turn wait_for_answers();
    Turn finish();
    Turn stop(State state, std::string why);
    Turn refuse(Channel channel, const Message& message);
    bool is_early(const Step& step, Time now);
    bool awaits_on(Channel channel) const;
    bool has_room(Channel channel, std::size_t size) const;
    void settle(Channel channel, const Message& message);
    std::string where(std::size_t step) const;
    End& end(Channel channel) { return ends_[index_of(channel)]; }
    const End& end(Channel channel) const { return ends_[index_of(channel)]; }

    const Steps steps_;
    const Rules rules_;
    Outlet& outlet_;
    std::array<End, 2> ends_;
    std::deque<Awaited> awaited_; // oldest first
    std::size_t at_ = 0;          // the step that is being done
    std::uint32_t repeated_ = 0;  // how often it was done
    std::optional<Time> start_;   // the first call of advance()
    std::optional<Time> since_;   // when waiting in the present step began
    Time due_ = Time::max();
    State state_ = State::waiting;
    std::string why_;
};

} // namespace imstac

#endif
