#include "siplib/client_connection.h"

#include "siplib/dialog.h"
#include "siplib/field_access.h"
#include "siplib/guarded.h"
#include "siplib/header_check.h"
#include "siplib/stack.h"

#include <cstring>
#include <new>

namespace siplib {
namespace {

using Guard = std::lock_guard<std::mutex>;
constexpr std::size_t most_untaken = 32; // provisional responses beyond are dropped
// Bytes: what is worth keeping of a request's memory, and what a request usually takes.
constexpr std::size_t smallest_spare = 128, usual_request = 1024;

// An empty host is no hop, whatever else the record holds.
bool read_hop(const SIPLIB_SipImsServerAddress& address, NextHop& hop)
{
    const std::string_view host(address.host, strnlen(address.host, SIPLIB_HOST_SIZE));
    if (host.empty()) return true;
    const bool bare_v6 = host.find(':') != std::string_view::npos && host[0] != '[';
    std::string uri_text = bare_v6 ? "sip:[" : "sip:";
    uri_text.append(host).append(bare_v6 ? "]" : "");
    Uri uri;
    if (host.find_first_of("@;?") != std::string_view::npos || !read_uri(uri_text, uri) || uri.port != 0)
        return false;
    hop.host = uri.host;
    hop.port = address.port > 0 ? address.port : 5060;
    for (const char* known : {"udp", "tcp"})
        if (same_word(address.transport, known)) hop.transport = known;
    return hop.port <= 65535 && (!hop.transport.empty() || address.transport.empty());
}

} // namespace

bool ClientConnection::open(Opening opening)
{
    Guard guard(state_.mutex);
    work_.reset(new (std::nothrow) Work);
    if (!work_) return false;
    work_->opening = std::move(opening);
    step_ = Step::empty;
    state_.begin();
    return true;
}

// Most connections are used for one request: the memory of an earlier one's serves again.
void ClientConnection::take_spare_memory(Message& request)
{
    Stack* stack = Stack::running();
    if (request.held() >= smallest_spare) return;
    if (stack) request = stack->spare_requests().take();
    request.reserve(usual_request);
}

// Nobody reads the request any more once the final response was taken. The lock is held.
void ClientConnection::drop_request()
{
    Message done;
    std::swap(done, work_->request);
    Stack* stack = Stack::running();
    if (stack && done.held() >= smallest_spare && done.held() <= Stack::largest_spare)
        stack->spare_requests().give(done);
}

int ClientConnection::initRequest(const char* method)
{
    Guard guard(state_.mutex);
    if (!state_.live() || step_ == Step::sent) return SIPLIB_ERR_STATE;
    if (const int status = check_method(method)) return status;
    step_ = Step::empty;
    if (const int status = guarded([&] { return begin_request(method); })) return status;
    step_ = Step::building;
    ++state_.episode; // no longer resting
    state_.last_used = now();
    return SIPLIB_OK;
}

// Forgets what was there before. The lock is held.
int ClientConnection::begin_request(const char* method)
{
    Work& work = *work_;
    work.response.clear();
    work.raw.text.clear();
    work.untaken.clear();
    work.announced = 0;
    work.status = 0;
    work.response_read = false;
    work.method = method;
    take_spare_memory(work.request);
    work.request.clear();
    work.untaken.reserve(1); // here, not on the SIP thread: memory goes back to where it came from
    const Opening& opening = work.opening;
    if (!opening.from.empty()) work.request.add("From", opening.from);
    if (!opening.to.empty()) work.request.add("To", opening.to);
    if (!opening.contact.empty()) work.request.add("Contact", opening.contact);
    return SIPLIB_OK;
}

// Fills in the order. The lock is held.
int ClientConnection::prepare(Stack& stack, RequestOrder& order)
{
    Work& work = *work_;
    if (work.method == "CANCEL") return SIPLIB_ERR_UNSUPPORTED;
    if (!is_addressed(work.request, work.opening.request_uri)) return SIPLIB_ERR_STATE;
    Target target;
    target.route = stack.spare_texts().take(); // the order's memory: the route is its beginning
    if (const int status = find_target(work.request, work.opening.request_uri, work.opening.hop, target))
        return status;
    if (target.tcp && !stack.cfg().tcpFlag) return SIPLIB_ERR_TRANSPORT;
    if (!stack.backend().may_send_to(target)) return SIPLIB_ERR_STATE;
    order.route_size = static_cast<std::uint32_t>(target.route.size());
    order.text = std::move(target.route);
    order.text.reserve(order.text.size() + work.request.wire_size() + 256);
    order.text += '\0';
    order.tcp = target.tcp;
    order.own_via = work.request.has("Via");
    return complete_request(work.request, work.method, work.opening.request_uri, stack.cseqs(), order.text);
}

// What the request takes of the stack's limits, and who gets its response.
void ClientConnection::label(RequestOrder& order)
{
    const Work& work = *work_;
    order.connection = this;
    order.generation = state_.generation;
    order.is_ack = work.method == "ACK";
    order.holds = holds_transaction;
    if (work.method == "REGISTER") order.holds |= holds_registration;
    order.makes_dialog = work.method == "SUBSCRIBE" || work.method == "INVITE";
    if (order.makes_dialog && tag_in(work.request.find("To")).empty())
        order.holds |= work.method == "SUBSCRIBE" ? holds_subscription : holds_call;
    order.born = now();
}

// BYE, and a NOTIFY that says so (RFC 6665 section 4.4.1).
bool ClientConnection::ends_dialog(const Work& work)
{
    if (work.method == "BYE") return true;
    return work.method == "NOTIFY" &&
           same_word(work.request.find("Subscription-State").substr(0, 10), "terminated");
}

int ClientConnection::send()
{
    Stack* stack = Stack::running();
    RequestOrder order;
    Dialog* ends = nullptr;
    {
        Guard guard(state_.mutex);
        if (!stack || !state_.live() || step_ != Step::building) return SIPLIB_ERR_STATE;
        const int status = guarded([&] {
            if (ends_dialog(*work_)) ends = stack->dialogs().find(key_of_own_request(work_->request));
            return prepare(*stack, order);
        });
        if (status != SIPLIB_OK) return status;
        label(order);
        if (!stack->hold(order.holds)) return SIPLIB_ERR_STATE;
        step_ = Step::sent;
        state_.last_used = now();
    }
    if (ends) ends->end();
    // Not under the lock: a full queue makes this wait for the SIP thread, which may want the lock.
    const unsigned holds = order.holds;
    const std::uint32_t generation = order.generation;
    const int status = guarded([&] { return stack->backend().send(std::move(order)); });
    if (status == SIPLIB_OK) return SIPLIB_OK;
    stack->release(holds);
    Guard guard(state_.mutex);
    if (state_.generation == generation && state_.live()) step_ = Step::building;
    return status;
}

void ClientConnection::rest_from(Time at)
{
    Stack* stack = Stack::running();
    if (!stack) return;
    ++state_.episode;
    stack->clients().rest({this, state_.generation, state_.episode, at + stack->linger()});
}

void ClientConnection::deliver(std::uint32_t generation, int status, RawMessage raw, SIPLIB_SIPDialog* dialog)
{
    Announcement next;
    {
        Guard guard(state_.mutex);
        if (state_.generation != generation || !state_.live()) return;
        Work& work = *work_;
        const bool final = status >= 200;
        if (!final && work.untaken.size() >= most_untaken) return;
        work.untaken.push_back({status, std::move(raw)});
        if (dialog) work.dialog = dialog;
        if (final) {
            step_ = Step::finished;
            state_.last_used = now();
            rest_from(state_.last_used);
        }
        next = next_announcement();
    }
    announce(generation, next);
}

// What to announce now, if anything; the callback has begun then. The lock is held.
ClientConnection::Announcement ClientConnection::next_announcement()
{
    Stack* stack = Stack::running();
    SIPLIB_SIPClientConnectionListener* listener = work_->listener;
    if (!stack || !listener || work_->announced >= work_->untaken.size()) return {};
    ++work_->announced;
    ++state_.owed;
    stack->callbacks().begin(this);
    return {listener, work_->announced < work_->untaken.size()};
}

void ClientConnection::announce(std::uint32_t generation)
{
    Announcement next;
    {
        Guard guard(state_.mutex);
        if (state_.generation != generation || !state_.live()) return;
        next = next_announcement();
    }
    announce(generation, next);
}

// One callback for each response that was not announced yet; no lock is held during it.
void ClientConnection::announce(std::uint32_t generation, Announcement next)
{
    while (next.listener) {
        next.listener->notifyResponse(this);
        if (Stack* stack = Stack::running()) stack->callbacks().end();
        if (!next.more) return;
        Guard guard(state_.mutex);
        if (state_.generation != generation || !state_.live()) return;
        next = next_announcement();
    }
}

void ClientConnection::done_without_response(std::uint32_t generation)
{
    Guard guard(state_.mutex);
    if (state_.generation != generation || !state_.live()) return;
    step_ = Step::finished;
    rest_from(now());
}

int ClientConnection::receive()
{
    Guard guard(state_.mutex);
    if (state_.live() && !work_->untaken.empty()) {
        Work& work = *work_;
        work.status = work.untaken.front().status;
        work.raw = std::move(work.untaken.front().raw);
        work.untaken.erase(work.untaken.begin());
        work.response_read = false;
        work.response.clear();
        if (step_ == Step::finished) drop_request();
        if (work.announced > 0) --work.announced;
        if (state_.owed > 0) --state_.owed;
        state_.last_used = now();
        return SIPLIB_OK;
    }
    if (state_.owed == 0) return SIPLIB_ERR_STATE;
    --state_.owed;
    if (state_.owed == 0 && state_.phase == ShellState::Phase::closed) let_go();
    return SIPLIB_OK;
}

// Back to the pool; the lock is held, and the shell is closed.
void ClientConnection::let_go()
{
    state_.phase = ShellState::Phase::free;
    if (Stack* stack = Stack::running()) stack->clients().give_back(this);
}

int ClientConnection::close()
{
    std::unique_ptr<Work> dropped;
    Guard guard(state_.mutex);
    if (!state_.live()) return SIPLIB_ERR_STATE;
    state_.phase = ShellState::Phase::closed;
    dropped = std::move(work_);
    if (state_.owed == 0) {
        let_go();
    } else {
        state_.last_used = now();
        rest_from(state_.last_used);
    }
    return SIPLIB_OK;
}

bool ClientConnection::reclaim(const ShellPool<ClientConnection>::Resting& resting, Time at, bool early)
{
    Guard guard(state_.mutex);
    if (state_.generation != resting.generation || state_.episode != resting.episode ||
        state_.phase == ShellState::Phase::free)
        return true;
    const Stack* stack = Stack::running();
    const bool due = stack && state_.last_used + stack->linger() <= at;
    if (!due && (!early || state_.owed > 0)) {
        rest_from(state_.last_used);
        return false;
    }
    work_.reset();
    let_go();
    return true;
}

bool ClientConnection::reclaim_if_forgotten(Time at)
{
    Guard guard(state_.mutex);
    const Stack* stack = Stack::running();
    if (!stack || !state_.live() || step_ == Step::sent || state_.owed > 0) return false;
    if (state_.last_used + stack->linger() > at) return false;
    work_.reset();
    let_go();
    return true;
}

// What the getters read; null when there is nothing. The lock is held.
const Message* ClientConnection::readable()
{
    if (!state_.live()) return nullptr;
    Work& work = *work_;
    state_.last_used = now();
    if (work.status != 0) {
        if (!work.response_read) {
            work.response.parse(std::move(work.raw.text), work.raw.body_at);
            work.response_read = true;
        }
        return &work.response;
    }
    return step_ == Step::empty ? nullptr : &work.request;
}

int ClientConnection::getHeader(const char* name, char* buf, int& len)
{
    Guard guard(state_.mutex);
    if (!buf || len <= 0) return SIPLIB_ERR_ARGUMENT;
    buf[0] = '\0';
    return guarded([&]() -> int {
        const Message* message = readable();
        return message ? copy_header(*message, name, buf, len) : SIPLIB_ERR_STATE;
    });
}

int ClientConnection::getBody(char* buf, int& len)
{
    Guard guard(state_.mutex);
    if (!buf || len <= 0) return SIPLIB_ERR_ARGUMENT;
    return guarded([&]() -> int {
        const Message* message = readable();
        if (message) return copy_body(*message, work_->method, buf, len);
        len = 0;
        return SIPLIB_ERR_STATE;
    });
}

int ClientConnection::getMethod(char* buf, int capacity)
{
    Guard guard(state_.mutex);
    if (!buf || capacity <= 0) return SIPLIB_ERR_ARGUMENT;
    buf[0] = '\0';
    return guarded([&]() -> int {
        const Message* message = readable();
        if (!message) return SIPLIB_ERR_STATE;
        return copy_method(work_->status != 0 ? method_of(*message) : work_->method, buf, capacity);
    });
}

int ClientConnection::getResponseCode(int& code)
{
    Guard guard(state_.mutex);
    if (!state_.live() || work_->status == 0) return SIPLIB_ERR_STATE;
    code = work_->status;
    return SIPLIB_OK;
}

// What the setters have in common: the lock, a request that is being built, and no memory as an error.
template <typename Change>
int ClientConnection::change(Change change)
{
    Guard guard(state_.mutex);
    if (!state_.live() || step_ != Step::building) return SIPLIB_ERR_STATE;
    state_.last_used = now();
    return guarded([&] { return change(*work_); });
}

int ClientConnection::setHeader(const char* name, const char* value)
{
    if (!name || !value) return SIPLIB_ERR_ARGUMENT;
    return change([&](Work& work) { return put_header(work.request, name, value, false); });
}

int ClientConnection::addHeader(const char* name, const char* value)
{
    if (!name || !value) return SIPLIB_ERR_ARGUMENT;
    return change([&](Work& work) { return put_header(work.request, name, value, true); });
}

int ClientConnection::removeHeader(const char* name)
{
    if (!name) return SIPLIB_ERR_ARGUMENT;
    return change([&](Work& work) { return remove_header(work.request, name); });
}

int ClientConnection::setBody(const char* data, int len)
{
    if (len < 0 || (!data && len > 0)) return SIPLIB_ERR_ARGUMENT;
    return change([&](Work& work) { return put_body(work.request, data, len); });
}

int ClientConnection::setMethod(const char* name)
{
    if (!name) return SIPLIB_ERR_ARGUMENT;
    return change([&](Work& work) {
        if (const int status = check_method(name)) return status;
        const std::string_view cseq = work.request.find("CSeq");
        if (cseq.data() != nullptr) {
            const std::string number(cseq.substr(0, cseq.find_first_of(" \t")));
            work.request.set("CSeq", number + " " + name);
        }
        work.method = name;
        return int{SIPLIB_OK};
    });
}

int ClientConnection::setRequestURI(const char* uri)
{
    if (!uri) return SIPLIB_ERR_ARGUMENT;
    return change([&](Work& work) -> int {
        if (has_control(uri)) return SIPLIB_ERR_ARGUMENT;
        Uri found;
        if (!read_uri(uri, found)) return SIPLIB_ERR_SYNTAX;
        work.opening.request_uri = found.text;
        return SIPLIB_OK;
    });
}

int ClientConnection::setImsServerAddress(const SIPLIB_SipImsServerAddress& address)
{
    return guarded([&]() -> int {
        NextHop hop;
        if (!read_hop(address, hop)) return SIPLIB_ERR_ARGUMENT;
        Guard guard(state_.mutex);
        if (!state_.live() || step_ == Step::sent) return SIPLIB_ERR_STATE;
        work_->opening.hop = std::move(hop);
        return SIPLIB_OK;
    });
}

SIPLIB_SIPDialog* ClientConnection::getDialog()
{
    Guard guard(state_.mutex);
    return state_.live() ? work_->dialog : nullptr;
}

void ClientConnection::set_dialog(SIPLIB_SIPDialog* dialog)
{
    Guard guard(state_.mutex);
    if (state_.live()) work_->dialog = dialog;
}

int ClientConnection::setListener(SIPLIB_SIPClientConnectionListener* listener)
{
    Stack* stack = Stack::running();
    std::uint32_t generation = 0;
    bool something_waits = false;
    {
        Guard guard(state_.mutex);
        if (!stack || !state_.live()) return SIPLIB_ERR_STATE;
        work_->listener = listener;
        generation = state_.generation;
        something_waits = listener && work_->announced < work_->untaken.size();
    }
    stack->callbacks().wait_for(this);
    if (something_waits) stack->backend().run([this, generation] { announce(generation); });
    return SIPLIB_OK;
}

} // namespace siplib
