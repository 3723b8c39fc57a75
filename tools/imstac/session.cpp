#include "tools/imstac/session.h"

#include "tools/imstac/print.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace imstac {
namespace {

Happening on_channel(Happening::Kind kind, Channel channel, bool is_sent)
{
    Happening happening;
    happening.kind = kind;
    happening.channel = channel;
    happening.is_sent = is_sent;
    return happening;
}

Happening of_all(Happening::Kind kind, const std::string& detail)
{
    Happening happening;
    happening.kind = kind;
    happening.detail = detail;
    return happening;
}

} // namespace

Session::Session(const Options& options, int wake_fd, std::FILE* out, std::FILE* err)
    : options_(options), link_(wake_fd), conversation_(options.steps, options.rules, *this), out_(out),
      err_(err)
{
}

Session::~Session()
{
    close_record();
}

int Session::run()
{
    if (!open_record())
        return fail(BAD_USAGE, options_.record + ": " + std::generic_category().message(errno));
    std::string why;
    const std::string path = socket_path(options_.agent);
    if (!link_.connect(path, options_.order, Clock::now() + options_.connect_within, why))
        return fail(NO_AGENT, why);
    tell(of_all(Happening::Kind::connected, path));
    int status = converse();
    if (status == COMPLETE && link_.has_lost())
        status = fail(AGENT_GONE, "the agent closed a channel before it had taken everything");
    if (status == COMPLETE) status = listen_on();
    if (!close_record()) status = fail(INCOMPLETE, options_.record + ": cannot be written");
    std::fflush(out_);
    return status;
}

// ---- the parts of a run ----

int Session::converse()
{
    Time patience = Time::max(); // for an agent that does not take what it was sent
    for (;;) {
        const Conversation::State state = conversation_.advance(Clock::now());
        std::fflush(out_);
        if (state == Conversation::State::failed) return fail(INCOMPLETE, conversation_.why());
        if (state == Conversation::State::gone) return fail(AGENT_GONE, conversation_.why());
        const bool is_done = state == Conversation::State::done;
        if (is_done && !link_.is_busy()) return COMPLETE;
        if (is_done && patience == Time::max()) patience = Clock::now() + options_.rules.within;
        if (Clock::now() >= patience) return fail(INCOMPLETE, "the agent does not take what it was sent");
        if (!turn(std::min(conversation_.due(), patience))) return fail(INCOMPLETE, "interrupted");
    }
}

// After the steps: as long as was asked for. Without steps and limits, until somebody ends it.
int Session::listen_on()
{
    const bool for_ever = options_.linger == Duration(0) && (options_.steps.empty() || options_.count > 0);
    const Time until = for_ever ? Time::max() : Clock::now() + options_.linger;
    while (!is_enough() && Clock::now() < until) {
        std::fflush(out_);
        if (is_alone() && agent_left_) return fail(AGENT_GONE, "the agent has closed every channel");
        if (is_alone()) break;
        if (!turn(until)) break;
    }
    return options_.count == 0 || is_enough() ? COMPLETE : fail(INCOMPLETE, "too few messages came");
}

bool Session::is_alone() const
{
    return !link_.is_open(Channel::async) && !link_.is_open(Channel::sync);
}

bool Session::turn(Time deadline)
{
    return link_.turn(deadline, *this);
}

int Session::fail(Status status, const std::string& why)
{
    tell(of_all(Happening::Kind::failed, why));
    std::fprintf(err_, "imstac: %s\n", why.c_str());
    return status;
}

// ---- what the conversation sends ----

void Session::send(Channel channel, const Message& message, const std::optional<Answer>& answer)
{
    Happening happening = on_channel(Happening::Kind::message, channel, true);
    happening.message = message;
    happening.answer = answer;
    tell(happening);
    link_.send(channel, packed(message));
}

void Session::send_raw(Channel channel, const std::string& bytes)
{
    Happening happening = on_channel(Happening::Kind::raw, channel, true);
    happening.detail = bytes;
    tell(happening);
    link_.send(channel, bytes);
}

void Session::close(Channel channel)
{
    tell(on_channel(Happening::Kind::closed, channel, true));
    link_.close(channel);
}

// ---- what the agent sends ----

void Session::on_bytes(Channel channel, const char* data, std::size_t size)
{
    Splitter& splitter = splitters_[index_of(channel)];
    splitter.feed(data, size);
    Happening happening = on_channel(Happening::Kind::message, channel, false);
    while (splitter.next(happening.message)) {
        ++arrived_;
        tell(happening);
        conversation_.on_message(channel, happening.message);
    }
}

void Session::on_end(Channel channel)
{
    Happening happening = on_channel(Happening::Kind::closed, channel, false);
    const std::size_t rest = splitters_[index_of(channel)].rest();
    if (rest > 0)
        happening.detail = "in the middle of a message, after " + std::to_string(rest) + " of its bytes";
    tell(happening);
    agent_left_ = true;
    conversation_.on_closed(channel);
}

// ---- what people and scripts see ----

void Session::tell(Happening happening)
{
    happening.time = std::chrono::duration_cast<std::chrono::microseconds>(
                         std::chrono::system_clock::now().time_since_epoch())
                         .count();
    if (record_ != nullptr) std::fputs(json_line(happening).c_str(), record_);
    if (options_.quiet) return;
    std::fputs((options_.json ? json_line(happening) : print(happening)).c_str(), out_);
}

bool Session::open_record()
{
    if (options_.record.empty()) return true;
    record_ = std::fopen(options_.record.c_str(), "we");
    return record_ != nullptr;
}

bool Session::close_record()
{
    if (record_ == nullptr) return true;
    const bool written = std::ferror(record_) == 0;
    std::FILE* const file = record_;
    record_ = nullptr;
    return std::fclose(file) == 0 && written;
}

} // namespace imstac
