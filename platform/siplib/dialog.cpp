#include "siplib/dialog.h"

#include "siplib/client_connection.h"
#include "siplib/server_connection.h"
#include "siplib/stack.h"

#include <algorithm>

namespace siplib {
namespace {

using Guard = std::lock_guard<std::mutex>;
constexpr long default_expires = 3600; // seconds; of a subscription that nobody gave a time
constexpr long longest_expires = 7 * 24 * 3600;

// When a subscription ends if it is not refreshed: the answer's Expires counts, else the request's.
Time expiry_of(const Stack& stack, const Message& request, const Message& response)
{
    long seconds = default_expires;
    if (!read_number(response.find("Expires"), longest_expires, seconds))
        read_number(request.find("Expires"), longest_expires, seconds);
    return now() + std::chrono::seconds(seconds) + stack.linger();
}

// Every URI of the Record-Route headers, in order.
std::vector<std::string> record_routes(const Message& message)
{
    std::vector<std::string> routes;
    for (std::size_t i = 0; i < message.count(); ++i) {
        if (!same_header(message.name(i), "Record-Route")) continue;
        std::string_view rest = message.value(i);
        while (!rest.empty()) {
            const auto close = rest.find('>');
            const auto comma = close == std::string_view::npos ? rest.find(',') : rest.find(',', close);
            routes.emplace_back(trimmed(rest.substr(0, comma)));
            rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        }
    }
    return routes;
}

std::string uri_or(std::string_view contact, std::string_view otherwise)
{
    const std::string_view uri = uri_in(contact);
    return std::string(uri.empty() ? otherwise : uri);
}

} // namespace

Dialog* Dialog::made(Stack& stack, Parties parties, unsigned place, Time expires)
{
    const DialogKey key{parties.call_id, parties.local_tag, parties.remote_tag};
    if (key.call_id.empty() || key.local_tag.empty() || key.remote_tag.empty()) return nullptr;
    if (stack.dialogs().find(key)) return nullptr; // a second usage of a dialog there is
    Dialog* dialog = stack.take_dialog();
    if (!dialog) return nullptr;
    Guard guard(dialog->state_.mutex);
    dialog->state_.begin();
    dialog->parties_ = std::move(parties);
    dialog->place_ = place;
    dialog->listener_ = nullptr;
    dialog->waiting_.clear();
    dialog->announced_ = 0;
    stack.dialogs().add(dialog->key(), dialog, expires);
    return dialog;
}

Dialog* Dialog::made_by_us_answering(Stack& stack, const Message& request, const Message& response,
                                     const std::string& to_tag, unsigned place)
{
    Parties parties;
    parties.call_id = request.find("Call-ID");
    parties.local_tag = to_tag;
    parties.remote_tag = tag_in(request.find("From"));
    parties.local = response.has("To") ? response.find("To") : request.find("To");
    if (tag_in(parties.local).empty()) parties.local += ";tag=" + to_tag;
    parties.remote = request.find("From");
    parties.target = uri_or(request.find("Contact"), uri_in(request.find("From")));
    parties.routes = record_routes(request);
    return made(stack, std::move(parties), place,
                place & holds_subscription ? expiry_of(stack, request, response) : Time::max());
}

Dialog* Dialog::made_by_an_answer(Stack& stack, const Message& response, const std::string& request_uri,
                                  unsigned place)
{
    Parties parties;
    parties.call_id = response.find("Call-ID");
    parties.local_tag = tag_in(response.find("From"));
    parties.remote_tag = tag_in(response.find("To"));
    parties.local = response.find("From");
    parties.remote = response.find("To");
    parties.target = uri_or(response.find("Contact"), request_uri);
    parties.routes = record_routes(response);
    std::reverse(parties.routes.begin(), parties.routes.end()); // RFC 3261 section 12.1.2
    return made(stack, std::move(parties), place,
                place & holds_subscription ? expiry_of(stack, response, response) : Time::max());
}

void Dialog::refreshed(const Message& request, const Message& response, const std::string& method)
{
    Stack* stack = Stack::running();
    if (!stack || method != "SUBSCRIBE") return;
    Guard guard(state_.mutex);
    if (state_.live()) stack->dialogs().set_expiry(key(), expiry_of(*stack, request, response));
}

void Dialog::target_is(std::string_view contact)
{
    const std::string_view uri = uri_in(contact);
    Guard guard(state_.mutex);
    if (state_.live() && !uri.empty()) parties_.target = uri;
}

bool Dialog::has_listener() const
{
    Guard guard(state_.mutex);
    return state_.live() && listener_;
}

bool Dialog::enqueue(const WaitingRequest& waiting, SIPLIB_SipUaInfo info)
{
    Guard guard(state_.mutex);
    if (!state_.live()) return false;
    waiting_.push_back({waiting, std::move(info)});
    return true;
}

void Dialog::announce(Notifier* notifier)
{
    Stack* stack = Stack::running();
    while (stack) {
        SIPLIB_SIPDialogListener* listener = nullptr;
        SIPLIB_SipUaInfo info;
        {
            Guard guard(state_.mutex);
            if (!state_.live() || !listener_ || announced_ >= waiting_.size()) return;
            listener = listener_;
            info = waiting_[announced_].info;
            ++announced_;
            ++state_.owed;
            stack->callbacks().begin(this);
        }
        listener->notifyIncomingMessage(std::move(info));
        listener->notifyRequest(notifier, this);
        stack->callbacks().end();
    }
}

ServerConnection* Dialog::accept()
{
    Guard guard(state_.mutex);
    if (state_.phase == ShellState::Phase::free || announced_ == 0 || waiting_.empty()) return nullptr;
    --announced_;
    ServerConnection* connection = waiting_.front().request.connection;
    waiting_.pop_front();
    return connection;
}

int Dialog::receive()
{
    Guard guard(state_.mutex);
    if (state_.owed == 0) return SIPLIB_ERR_STATE;
    --state_.owed;
    state_.last_used = now();
    return SIPLIB_OK;
}

// Under the lock. Gives back the place in the limits; false when it was out of the table already.
bool Dialog::leave_table()
{
    Stack* stack = Stack::running();
    if (!stack || !stack->dialogs().remove(key())) return false;
    stack->release(place_);
    place_ = 0;
    return true;
}

void Dialog::end()
{
    Stack* stack = Stack::running();
    Guard guard(state_.mutex);
    if (!stack || !state_.live()) return;
    // What an expired dialog held is given back here too, although the table has dropped it already.
    if (!leave_table() && place_) {
        stack->release(place_);
        place_ = 0;
    }
    ++state_.episode;
    state_.last_used = now();
    stack->dialog_shells().rest(
        {this, state_.generation, state_.episode, state_.last_used + stack->linger()});
}

int Dialog::close()
{
    Stack* stack = Stack::running();
    std::deque<Waiting> left;
    {
        Guard guard(state_.mutex);
        if (!stack || !state_.live()) return SIPLIB_ERR_STATE;
        if (!leave_table() && place_) stack->release(place_);
        place_ = 0;
        state_.phase = ShellState::Phase::closed;
        listener_ = nullptr;
        left.swap(waiting_);
        announced_ = 0;
        ++state_.episode;
        state_.last_used = now();
        stack->dialog_shells().rest(
            {this, state_.generation, state_.episode, state_.last_used + stack->linger()});
    }
    stack->callbacks().wait_for(this);
    for (const Waiting& waiting : left)
        waiting.request.connection->refuse(waiting.request.generation, 481);
    return SIPLIB_OK;
}

bool Dialog::reclaim(const ShellPool<Dialog>::Resting& resting, Time at, bool early)
{
    Stack* stack = Stack::running();
    Guard guard(state_.mutex);
    if (state_.generation != resting.generation || state_.episode != resting.episode ||
        state_.phase == ShellState::Phase::free)
        return true;
    const bool due = stack && state_.last_used + stack->linger() <= at;
    if (!due && (!early || state_.owed > 0)) {
        stack->dialog_shells().rest(
            {this, state_.generation, state_.episode, state_.last_used + stack->linger()});
        return false;
    }
    state_.phase = ShellState::Phase::free;
    listener_ = nullptr;
    waiting_.clear();
    announced_ = 0;
    parties_ = Parties();
    stack->dialog_shells().give_back(this);
    return true;
}

int Dialog::getCallId(std::string& call_id)
{
    Guard guard(state_.mutex);
    if (!state_.live()) return SIPLIB_ERR_STATE;
    call_id = parties_.call_id;
    return SIPLIB_OK;
}

int Dialog::setListener(SIPLIB_SIPDialogListener* listener)
{
    Stack* stack = Stack::running();
    {
        Guard guard(state_.mutex);
        if (!stack || !state_.live()) return SIPLIB_ERR_STATE;
        listener_ = listener;
    }
    stack->callbacks().wait_for(this);
    return SIPLIB_OK;
}

SIPLIB_SIPClientConnection* Dialog::newRequest(const char* method)
{
    Stack* stack = Stack::running();
    ClientConnection::Opening opening;
    std::string call_id;
    std::vector<std::string> routes;
    {
        Guard guard(state_.mutex);
        if (!stack || !state_.live()) return nullptr;
        opening.from = parties_.local;
        opening.to = parties_.remote;
        opening.request_uri = parties_.target;
        call_id = parties_.call_id;
        routes = parties_.routes;
    }
    ClientConnection* connection = stack->take_client();
    if (!connection) return nullptr;
    if (!connection->open(std::move(opening))) {
        stack->clients().give_back(connection);
        return nullptr;
    }
    if (connection->initRequest(method) != SIPLIB_OK) {
        connection->close();
        return nullptr;
    }
    connection->setHeader("Call-ID", call_id.c_str());
    for (const std::string& route : routes)
        connection->addHeader("Route", route.c_str());
    connection->set_dialog(this);
    return connection;
}

} // namespace siplib
