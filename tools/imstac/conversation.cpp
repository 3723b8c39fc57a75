#include "tools/imstac/conversation.h"

#include "tools/imstac/words.h"

#include <algorithm>

namespace imstac {

Conversation::Conversation(Steps steps, const Rules& rules, Outlet& outlet)
    : steps_(std::move(steps)), rules_(rules), outlet_(outlet)
{
    for (const Step& step : steps_)
        if (step.verb == Verb::expect) ++end(step.channel).wanted;
}

std::string Conversation::where(std::size_t step) const
{
    return steps_[step].source + ": " + shown(steps_[step]);
}

Conversation::Turn Conversation::stop(State state, std::string why)
{
    state_ = state;
    why_ = std::move(why);
    return Turn::stop;
}

// ---- arrivals ----

void Conversation::on_message(Channel channel, const Message& message)
{
    settle(channel, message);
    if (state_ != State::waiting) return;
    if (end(channel).wanted > 0 || rules_.strict) end(channel).inbox.push_back(message);
}

void Conversation::on_closed(Channel channel)
{
    end(channel).closed = true;
}

// The oldest message that waits for such an answer has it now.
void Conversation::settle(Channel channel, const Message& message)
{
    const auto found = std::find_if(awaited_.begin(), awaited_.end(), [&](const Awaited& one) {
        return one.answer.channel == channel && one.answer.id == message.id;
    });
    if (found != awaited_.end()) awaited_.erase(found);
}

// ---- the steps ----

Conversation::State Conversation::advance(Time now)
{
    Turn turn = Turn::next;
    due_ = Time::max();
    if (!start_) start_ = now;
    while (state_ == State::waiting && turn == Turn::next && at_ < steps_.size()) {
        turn = run(steps_[at_], now);
        if (turn != Turn::next) break;
        if (steps_[at_].verb == Verb::expect) --end(steps_[at_].channel).wanted;
        ++at_;
        repeated_ = 0;
        since_.reset();
    }
    if (state_ == State::waiting && turn == Turn::next) finish();
    // An answer that is late ends the conversation, whatever the step waits for.
    if (state_ == State::waiting && !awaited_.empty()) {
        const Awaited& oldest = awaited_.front();
        if (now >= oldest.until)
            stop(State::failed, where(oldest.step) + ": no answer within " + time_text(rules_.within));
        due_ = std::min(due_, oldest.until);
    }
    return state_;
}

Conversation::Turn Conversation::run(const Step& step, Time now)
{
    if (is_early(step, now)) return Turn::wait;
    switch (step.verb) {
    case Verb::send: return run_send(step, now);
    case Verb::expect: return run_expect(step, now);
    case Verb::raw:
        if (end(step.channel).closed)
            return stop(State::gone, where(at_) + ": the agent has closed the channel");
        outlet_.send_raw(step.channel, step.bytes);
        return Turn::next;
    case Verb::close:
        if (awaits_on(step.channel)) return wait_for_answers();
        outlet_.close(step.channel);
        return Turn::next;
    case Verb::pause: break;
    }
    if (!since_) since_ = now;
    due_ = *since_ + step.time.value_or(Duration(0));
    return now >= due_ ? Turn::next : Turn::wait;
}

bool Conversation::is_early(const Step& step, Time now)
{
    if (!rules_.timed || step.verb == Verb::expect || now >= *start_ + step.at) return false;
    due_ = *start_ + step.at;
    return true;
}

Conversation::Turn Conversation::run_send(const Step& step, Time now)
{
    while (repeated_ < step.times) {
        const Turn turn = send_once(step, now);
        if (turn != Turn::next) return turn;
        ++repeated_;
    }
    return Turn::next;
}

Conversation::Turn Conversation::send_once(const Step& step, Time now)
{
    if (end(step.channel).closed) return stop(State::gone, where(at_) + ": the agent has closed the channel");
    const std::size_t size = HEADER_SIZE + step.message.body.size();
    if (step.answer && !has_room(step.channel, size)) return wait_for_answers();
    Message message = step.message;
    message.ref += repeated_;
    if (step.answer) awaited_.push_back({*step.answer, step.channel, size, now + rules_.within, at_});
    outlet_.send(step.channel, message, step.answer);
    return Turn::next;
}

Conversation::Turn Conversation::wait_for_answers()
{
    const Awaited& oldest = awaited_.front();
    if (end(oldest.answer.channel).closed)
        return stop(State::gone, where(oldest.step) + ": the agent closed the channel instead of answering");
    return Turn::wait;
}

bool Conversation::awaits_on(Channel channel) const
{
    return std::any_of(awaited_.begin(), awaited_.end(),
                       [channel](const Awaited& one) { return one.answer.channel == channel; });
}

bool Conversation::has_room(Channel channel, std::size_t size) const
{
    if (awaited_.size() >= rules_.window) return false;
    std::size_t under_way = 0;
    for (const Awaited& one : awaited_)
        if (one.channel == channel) under_way += one.size;
    return under_way == 0 || under_way + size <= AGENT_READ;
}

Conversation::Turn Conversation::run_expect(const Step& step, Time now)
{
    End& from = end(step.channel);
    if (!since_) since_ = now;
    Pattern wanted = step.pattern;
    while (!from.inbox.empty() && repeated_ < step.times) {
        if (wanted.ref) wanted.ref = *step.pattern.ref + repeated_;
        const Message message = std::move(from.inbox.front());
        from.inbox.pop_front();
        if (wanted.fits(message)) {
            ++repeated_;
            since_ = now;
        } else if (rules_.strict) {
            return refuse(step.channel, message);
        }
    }
    if (repeated_ == step.times || (from.closed && wanted.closed)) return Turn::next;
    if (from.closed) return stop(State::gone, where(at_) + ": the agent has closed the channel");
    const Duration patience = step.time.value_or(rules_.within);
    due_ = *since_ + patience;
    if (now < due_) return Turn::wait;
    const std::string came =
        step.times > 1 ? ": came " + std::to_string(repeated_) + " times, no more" : ": did not come";
    return stop(State::failed, where(at_) + came + " within " + time_text(patience));
}

Conversation::Turn Conversation::refuse(Channel channel, const Message& message)
{
    Step came;
    came.verb = Verb::expect;
    came.channel = channel;
    came.pattern.id = message.id;
    came.pattern.ref = message.ref;
    came.pattern.type = message.type;
    came.pattern.body = message.body;
    const std::string instead = is_past_its_steps() ? "nothing was expected" : where(at_);
    return stop(State::failed, instead + ": came " + shown(came).substr(sizeof("expect ") - 1) + " instead");
}

// Past the last step only answers may be missing, and nothing may be left over.
Conversation::Turn Conversation::finish()
{
    if (rules_.strict)
        for (const Channel channel : CHANNELS)
            if (!end(channel).inbox.empty()) return refuse(channel, end(channel).inbox.front());
    return awaited_.empty() ? stop(State::done, "") : wait_for_answers();
}

} // namespace imstac
