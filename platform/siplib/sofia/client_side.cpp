#include "siplib/sofia/client_side.h"

#include "siplib/message.h"
#include "siplib/message_record.h"
#include "siplib/reason_phrase.h"
#include "siplib/response_text.h"
#include "siplib/sofia/raw_message.h"
#include "siplib/sofia/request_message.h"
#include "siplib/sofia/wire_record.h"

#include <sofia-sip/nta_tag.h>
#include <sofia-sip/su_tag.h>

namespace siplib::sofia {
namespace {

constexpr std::size_t most_idle_windows = 1024;

int on_outgoing(siplib_outgoing* slot, nta_outgoing_t*, const sip_t* sip)
{
    const AgentInUse in_use(slot->agent);
    slot->side->on_response(*slot, sip);
    return 0;
}

// A response made here, from the request as it would have been sent.
RawMessage made_response(std::string_view request_text, int status)
{
    Message request;
    const auto end = request_text.find("\r\n\r\n");
    request.parse(std::string(request_text), end == std::string_view::npos ? end : end + 4);
    RawMessage raw;
    raw.text = response_text(request, Message(), status, std::string());
    raw.body_at = raw.text.size();
    return raw;
}

} // namespace

siplib_outgoing& ClientSide::free_slot()
{
    if (free_.empty()) {
        slots_.emplace_back();
        slots_.back().side = this;
        free_.push_back(&slots_.back());
    }
    siplib_outgoing& slot = *free_.back();
    free_.pop_back();
    return slot;
}

void ClientSide::answer(const RequestOrder& order, int status)
{
    if (order.is_ack)
        events_.sent(order);
    else
        events_.response(order, status, made_response(order.message(), status));
}

void ClientSide::send(RequestOrder order)
{
    const std::string_view route = order.route_view();
    auto found = windows_.find(route);
    if (found == windows_.end()) {
        found = windows_.try_emplace(std::string(route)).first;
        found->second.route.reset(url_hdup(nullptr, reinterpret_cast<const url_t*>(order.route())));
    }
    ++busy_;
    ++parked_;
    found->second.parked.push_back(std::move(order));
    pump(found->second);
}

// Starts what fits. Not from within itself: a request may fail at once, and thousands may wait behind it.
void ClientSide::pump(Window& window)
{
    if (window.pumping) return;
    window.pumping = true;
    while (!window.parked.empty() && window.under_way < window_size) {
        RequestOrder next = std::move(window.parked.front());
        window.parked.pop_front();
        --parked_;
        start(std::move(next), window);
    }
    window.pumping = false;
}

void ClientSide::start(RequestOrder order, Window& window)
{
    siplib_outgoing& slot = free_slot();
    slot.order = std::move(order);
    slot.window = &window;
    slot.busy = true;
    slot.transaction = nullptr;
    slot.agent = agent_;
    ++window.under_way;
    if (MessageRecord::enabled()) sent_bodies().note(slot.order.message());
    msg_t* msg = request_message(slot.order.message());
    nta_outgoing_t* transaction = open_transaction(slot, msg);
    if (!slot.busy) { // answered from within the call
        if (transaction) nta_outgoing_destroy(transaction);
        return;
    }
    if (msg && !transaction) msg_destroy(msg);
    slot.transaction = transaction;
    if (transaction && slot.order.tcp) count_connection(slot);
    if (transaction && !slot.order.is_ack) return;
    const RequestOrder done = std::move(slot.order);
    finish(slot);
    if (transaction)
        events_.sent(done);
    else
        answer(done, msg ? 503 : 400);
}

// Null when the message or the route cannot be read, or NTA refuses; `msg` is then still the caller's.
nta_outgoing_t* ClientSide::open_transaction(siplib_outgoing& slot, msg_t* msg)
{
    // The route is given even where the Request-URI says the same: the request line then stays as it is.
    const auto* route = reinterpret_cast<const url_string_t*>(slot.window->route.get());
    if (!msg || !route) return nullptr;
    return nta_outgoing_mcreate(agent_, on_outgoing, &slot, route, msg,
                                TAG_IF(slot.order.own_via, NTATAG_USER_VIA(1)), TAG_END());
}

void ClientSide::count_connection(const siplib_outgoing& slot)
{
    tport_t* transport = nta_outgoing_transport(slot.transaction);
    connections_.use(transport, slot.order.route_view());
    tport_unref(transport);
}

// A peer may close an idle connection at the moment in which a request goes out on it: the request is lost,
// and nothing is wrong with the peer. One more try, on a fresh connection.
bool ClientSide::send_again(siplib_outgoing& slot, int status)
{
    if (status != 503 || !slot.order.tcp || slot.order.retried || !slot.window->has_answered) return false;
    Window& window = *slot.window;
    slot.order.retried = true;
    window.parked.push_front(std::move(slot.order));
    ++parked_;
    ++busy_;
    finish(slot);
    pump(window);
    return true;
}

// The slot is free afterwards.
void ClientSide::finish(siplib_outgoing& slot)
{
    nta_outgoing_t* transaction = slot.transaction;
    --slot.window->under_way;
    slot.transaction = nullptr;
    slot.window = nullptr;
    slot.busy = false;
    slot.order = RequestOrder();
    free_.push_back(&slot);
    --busy_;
    if (transaction) nta_outgoing_destroy(transaction);
}

// RFC 3261 section 18.3: as if the answer had not come. The stack has ended the transaction with it, so that
// the time-out has to be ours.
void ClientSide::discard_answer(siplib_outgoing& slot)
{
    Window& window = *slot.window;
    unanswered_.push_back(std::move(slot.order));
    ++busy_;
    finish(slot);
    pump(window);
}

void ClientSide::on_response(siplib_outgoing& slot, const sip_t* sip)
{
    ++handled_;
    if (!slot.busy || !sip || !sip->sip_status) return;
    const int status = sip->sip_status->st_status;
    if (is_cut_short(sip)) {
        if (status >= 200) discard_answer(slot);
        return;
    }
    if (status < 200) {
        events_.response(slot.order, status, raw_message(sip));
        return;
    }
    const bool made_by_stack = nta_sip_is_internal(sip) != 0;
    if (made_by_stack && send_again(slot, status)) return;
    Window& window = *slot.window;
    if (!made_by_stack) window.has_answered = true;
    RawMessage raw;
    if (made_by_stack)
        raw = made_response(slot.order.message(), status);
    else
        read_raw_message(sip, scratch_);
    RequestOrder order = std::move(slot.order);
    finish(slot);
    pump(window);
    if (!made_by_stack) raw = scratch_;
    events_.response(order, status, std::move(raw));
    events_.done_with(order.text);
}

// Takes the orders whose time is over from the front of `orders`, in which they stand by age.
void ClientSide::take_late(std::deque<RequestOrder>& orders, Time now, std::vector<RequestOrder>& late)
{
    while (!orders.empty() && orders.front().born + patience_ <= now) {
        late.push_back(std::move(orders.front()));
        orders.pop_front();
        --busy_;
    }
}

void ClientSide::tick(Time now)
{
    std::vector<RequestOrder> late;
    take_late(unanswered_, now, late);
    if (parked_ > 0) {
        const std::size_t others = late.size();
        for (auto& [route, window] : windows_)
            take_late(window.parked, now, late);
        parked_ -= late.size() - others;
    }
    for (const RequestOrder& order : late)
        answer(order, 408);
    if (windows_.size() <= most_idle_windows) return;
    for (auto entry = windows_.begin(); entry != windows_.end();) {
        const bool idle = entry->second.under_way == 0 && entry->second.parked.empty();
        entry = idle ? windows_.erase(entry) : std::next(entry);
    }
}

void ClientSide::forget(nta_agent_t* agent)
{
    std::vector<RequestOrder> lost;
    for (siplib_outgoing& slot : slots_) {
        if (!slot.busy || slot.agent != agent) continue;
        lost.push_back(std::move(slot.order));
        finish(slot);
    }
    for (auto& entry : windows_)
        pump(entry.second);
    for (const RequestOrder& order : lost)
        answer(order, 503);
}

void ClientSide::drop_all()
{
    for (siplib_outgoing& slot : slots_)
        if (slot.transaction) nta_outgoing_destroy(slot.transaction);
    slots_.clear();
    free_.clear();
    windows_.clear();
    unanswered_.clear();
    busy_ = parked_ = 0;
}

} // namespace siplib::sofia
