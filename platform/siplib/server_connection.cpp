#include "siplib/server_connection.h"

#include "siplib/dialog.h"
#include "siplib/field_access.h"
#include "siplib/guarded.h"
#include "siplib/random_text.h"
#include "siplib/response_text.h"
#include "siplib/stack.h"

#include <new>

namespace siplib {
namespace {

using Guard = std::lock_guard<std::mutex>;

} // namespace

bool ServerConnection::open(Message request, Arrival arrival, std::uint32_t& generation)
{
    Guard guard(state_.mutex);
    work_.reset(new (std::nothrow) Work);
    if (!work_) return false;
    work_->request = std::move(request);
    work_->arrival = std::move(arrival);
    answered_ = false;
    state_.begin();
    state_.owed = 1; // nobody can have it before it is announced
    generation = state_.generation;
    return true;
}

// What a request in a dialog says about the dialog itself.
void ServerConnection::note_dialog(Dialog& dialog)
{
    Guard guard(state_.mutex);
    const std::string& method = work_->arrival.method;
    const Message& request = work_->request;
    if (method == "SUBSCRIBE" || method == "NOTIFY" || method == "INVITE" || method == "UPDATE")
        dialog.target_is(request.find("Contact"));
    const std::string_view state = request.find("Subscription-State");
    if (method == "BYE" || (method == "NOTIFY" && same_word(state.substr(0, 10), "terminated"))) dialog.end();
}

void ServerConnection::put_into_queue(std::uint32_t generation)
{
    Notifier* notifier = nullptr;
    Dialog* dialog = nullptr;
    SIPLIB_SipUaInfo info;
    {
        Guard guard(state_.mutex);
        if (state_.generation != generation || !state_.live()) return;
        notifier = work_->arrival.notifier;
        dialog = work_->arrival.dialog;
        if (dialog) {
            info.method = work_->arrival.method;
            info.from = work_->request.find("From");
            info.to = work_->request.find("To");
            info.call_id = work_->request.find("Call-ID");
        }
    }
    if (dialog && dialog->has_listener() && dialog->enqueue({this, generation}, std::move(info))) {
        note_dialog(*dialog);
        dialog->announce(notifier);
        return;
    }
    if (dialog) note_dialog(*dialog);
    if (notifier->enqueue({this, generation}))
        notifier->announce();
    else
        refuse(generation, 503);
}

int ServerConnection::initResponse(int code)
{
    Guard guard(state_.mutex);
    if (code < 100 || code > 699) return SIPLIB_ERR_ARGUMENT;
    if (!state_.live() || answered_) return SIPLIB_ERR_STATE;
    work_->response.clear();
    work_->code = code;
    work_->started = true;
    state_.last_used = now();
    return SIPLIB_OK;
}

// A 2xx makes or refreshes a dialog; another final response gives its place back. The lock is held.
void ServerConnection::settle_dialog(int code)
{
    Stack* stack = Stack::running();
    if (code < 200 || !stack) return;
    Arrival& arrival = work_->arrival;
    const bool success = code < 300;
    const unsigned place = arrival.holds & (holds_subscription | holds_call);
    if (place) {
        if (success)
            arrival.dialog =
                Dialog::made_by_us_answering(*stack, work_->request, work_->response, work_->to_tag, place);
        if (!success || !arrival.dialog) stack->release(place);
        arrival.holds &= ~place;
    } else if (success && arrival.dialog) {
        arrival.dialog->refreshed(work_->request, work_->response, arrival.method);
    }
}

// The response as text. The lock is held.
int ServerConnection::write_response(ResponseOrder& order)
{
    Work& work = *work_;
    if (work.to_tag.empty()) {
        const std::string_view own = tag_in(work.response.find("To"));
        work.to_tag = own.empty() ? random_text(16) : std::string(own);
    }
    order.transaction = work.arrival.transaction;
    order.status = work.code;
    order.text = response_text(work.request, work.response, work.code, work.to_tag);
    return order.text.size() > max_message_size ? SIPLIB_ERR_ARGUMENT : SIPLIB_OK;
}

int ServerConnection::send()
{
    Stack* stack = Stack::running();
    ResponseOrder order;
    {
        Guard guard(state_.mutex);
        if (!stack || !responding()) return SIPLIB_ERR_STATE;
        if (const int status = guarded([&] { return write_response(order); })) return status;
        state_.last_used = now();
        work_->started = false;
        if (work_->code >= 200) answered_ = true;
        // Without memory for a dialog there is none; what it would have held goes back with the transaction.
        guarded([&] { return settle_dialog(work_->code), int{SIPLIB_OK}; });
    }
    return guarded([&] { return stack->backend().respond(std::move(order)); });
}

void ServerConnection::refuse(std::uint32_t generation, int status)
{
    {
        Guard guard(state_.mutex);
        if (state_.generation != generation || !state_.live() || answered_) return;
        work_->response.clear();
        if (status == 503) work_->response.add("Retry-After", "5");
        work_->code = status;
        work_->started = true;
    }
    send();
}

void ServerConnection::transaction_ended(std::uint32_t generation)
{
    Guard guard(state_.mutex);
    if (state_.generation != generation || !state_.live()) return;
    Stack* stack = Stack::running();
    answered_ = true;
    if (stack && work_->arrival.holds) stack->release(work_->arrival.holds);
    work_->arrival.holds = 0;
    rest_from(state_.last_used);
}

void ServerConnection::rest_from(Time at)
{
    Stack* stack = Stack::running();
    if (!stack) return;
    ++state_.episode;
    stack->servers().rest({this, state_.generation, state_.episode, at + stack->linger()});
}

void ServerConnection::let_go()
{
    state_.phase = ShellState::Phase::free;
    if (Stack* stack = Stack::running()) stack->servers().give_back(this);
}

int ServerConnection::receive()
{
    Guard guard(state_.mutex);
    if (state_.owed == 0) return SIPLIB_ERR_STATE;
    state_.owed = 0;
    state_.last_used = now();
    if (state_.phase == ShellState::Phase::closed) let_go();
    return SIPLIB_OK;
}

int ServerConnection::close()
{
    std::unique_ptr<Work> dropped;
    Guard guard(state_.mutex);
    if (!state_.live()) return SIPLIB_ERR_STATE;
    // A request that is not answered keeps its places until its transaction ends: nobody is left to give them
    // back but us.
    Stack* stack = Stack::running();
    if (stack && work_->arrival.holds) stack->release(work_->arrival.holds);
    state_.phase = ShellState::Phase::closed;
    dropped = std::move(work_);
    if (state_.owed == 0)
        let_go();
    else
        rest_from(now());
    return SIPLIB_OK;
}

bool ServerConnection::reclaim(const ShellPool<ServerConnection>::Resting& resting, Time at, bool early)
{
    Guard guard(state_.mutex);
    if (state_.generation != resting.generation || state_.episode != resting.episode ||
        state_.phase == ShellState::Phase::free)
        return true;
    const Stack* stack = Stack::running();
    const bool due = stack && state_.last_used + stack->linger() <= at;
    // A request is used without receive(): what was announced and never received counts as taken here.
    if (!due && !early) {
        rest_from(state_.last_used);
        return false;
    }
    work_.reset();
    let_go();
    return true;
}

int ServerConnection::getHeader(const char* name, char* buf, int& len)
{
    Guard guard(state_.mutex);
    if (!buf || len <= 0) return SIPLIB_ERR_ARGUMENT;
    buf[0] = '\0';
    if (!state_.live()) return SIPLIB_ERR_STATE;
    state_.last_used = now();
    return copy_header(work_->request, name, buf, len);
}

int ServerConnection::getBody(char* buf, int& len)
{
    Guard guard(state_.mutex);
    if (!buf || len <= 0) return SIPLIB_ERR_ARGUMENT;
    if (!state_.live()) {
        len = 0;
        return SIPLIB_ERR_STATE;
    }
    state_.last_used = now();
    return copy_body(work_->request, work_->arrival.method, buf, len);
}

int ServerConnection::getMethod(char* buf, int capacity)
{
    Guard guard(state_.mutex);
    if (!buf || capacity <= 0) return SIPLIB_ERR_ARGUMENT;
    buf[0] = '\0';
    if (!state_.live()) return SIPLIB_ERR_STATE;
    return copy_method(work_->arrival.method, buf, capacity);
}

int ServerConnection::getResponseCode(int& code)
{
    Guard guard(state_.mutex);
    if (!state_.live() || work_->code == 0) return SIPLIB_ERR_STATE;
    code = work_->code;
    return SIPLIB_OK;
}

// What the setters have in common: the lock, a response that is being built, and no memory as an error.
template <typename Change>
int ServerConnection::change(Change change)
{
    Guard guard(state_.mutex);
    if (!responding()) return SIPLIB_ERR_STATE;
    state_.last_used = now();
    return guarded([&] { return change(work_->response); });
}

int ServerConnection::setHeader(const char* name, const char* value)
{
    if (!name || !value) return SIPLIB_ERR_ARGUMENT;
    return change([&](Message& response) { return put_header(response, name, value, false); });
}

int ServerConnection::addHeader(const char* name, const char* value)
{
    if (!name || !value) return SIPLIB_ERR_ARGUMENT;
    return change([&](Message& response) { return put_header(response, name, value, true); });
}

int ServerConnection::removeHeader(const char* name)
{
    if (!name) return SIPLIB_ERR_ARGUMENT;
    return change([&](Message& response) { return remove_header(response, name); });
}

int ServerConnection::setBody(const char* data, int len)
{
    if (len < 0 || (!data && len > 0)) return SIPLIB_ERR_ARGUMENT;
    return change([&](Message& response) { return put_body(response, data, len); });
}

// What belongs to requests of ours.
int ServerConnection::setMethod(const char* name)
{
    return name ? SIPLIB_ERR_STATE : SIPLIB_ERR_ARGUMENT;
}

int ServerConnection::initRequest(const char* method)
{
    return method ? SIPLIB_ERR_STATE : SIPLIB_ERR_ARGUMENT;
}

int ServerConnection::setRequestURI(const char* uri)
{
    return uri ? SIPLIB_ERR_STATE : SIPLIB_ERR_ARGUMENT;
}

int ServerConnection::setImsServerAddress(const SIPLIB_SipImsServerAddress&)
{
    return SIPLIB_ERR_STATE;
}

SIPLIB_SIPDialog* ServerConnection::getDialog()
{
    Guard guard(state_.mutex);
    return state_.live() ? work_->arrival.dialog : nullptr;
}

} // namespace siplib
