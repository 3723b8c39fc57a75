#include "siplib/sofia/client_side.h"

#include "siplib/message.h"
#include "siplib/message_record.h"
#include "siplib/reason_phrase.h"
#include "siplib/response_text.h"
#include "siplib/sofia/raw_message.h"
#include "siplib/sofia/wire_record.h"

#include <sofia-sip/nta_tag.h>
#include <sofia-sip/su_tag.h>

namespace siplib::sofia {
namespace {

constexpr std::size_t most_idle_windows = 1024;

int on_outgoing(siplib_outgoing* slot, nta_outgoing_t*, const sip_t* sip)
{
    slot->side->on_response(*slot, sip);
    return 0;
}

// A response made here, from the request as it would have been sent.
RawMessage made_response(const std::string& request_text, int status)
{
    Message request;
    const auto end = request_text.find("\r\n\r\n");
    request.parse(request_text, end == std::string::npos ? end : end + 4);
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
        events_.response(order, status, made_response(order.text, status));
}

void ClientSide::send(RequestOrder order)
{
    std::unique_ptr<Window>& window = windows_[order.target.route];
    if (!window) window = std::make_unique<Window>();
    ++busy_;
    if (window->under_way < window_size) {
        start(std::move(order), *window);
        return;
    }
    ++parked_;
    window->parked.push_back(std::move(order));
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
    if (MessageRecord::enabled()) sent_bodies().note(slot.order.text);
    msg_t* msg = message_of(slot.order.text);
    const auto* route = reinterpret_cast<const url_string_t*>(slot.order.target.route.c_str());
    nta_outgoing_t* transaction = nullptr;
    if (msg)
        transaction = nta_outgoing_mcreate(agent_, on_outgoing, &slot, route, msg,
                                           NTATAG_USER_VIA(slot.order.own_via), TAG_END());
    if (!slot.busy) return; // answered from within the call
    slot.transaction = transaction;
    if (!transaction) {
        const RequestOrder failed = std::move(slot.order);
        finish(slot);
        answer(failed, msg ? 503 : 400);
        return;
    }
    if (slot.order.target.tcp) count_connection(slot);
    if (slot.order.is_ack) {
        const RequestOrder gone = std::move(slot.order);
        finish(slot);
        events_.sent(gone);
    }
}

void ClientSide::count_connection(const siplib_outgoing& slot)
{
    tport_t* transport = nta_outgoing_transport(slot.transaction);
    connections_.use(transport, slot.order.target.route);
    tport_unref(transport);
}

// A peer may close an idle connection at the moment in which a request goes out on it: the request is lost,
// and nothing is wrong with the peer. One more try, on a fresh connection.
bool ClientSide::send_again(siplib_outgoing& slot, int status)
{
    if (status != 503 || !slot.order.target.tcp || slot.order.retried || !slot.window->has_answered)
        return false;
    RequestOrder again = std::move(slot.order);
    again.retried = true;
    Window& window = *slot.window;
    ++window.under_way; // keeps the place while the slot is given back
    ++busy_;
    finish(slot);
    --window.under_way;
    start(std::move(again), window);
    return true;
}

// The slot is free afterwards, and the next parked order of its window is on its way.
void ClientSide::finish(siplib_outgoing& slot)
{
    Window& window = *slot.window;
    nta_outgoing_t* transaction = slot.transaction;
    slot.transaction = nullptr;
    slot.window = nullptr;
    slot.busy = false;
    slot.order = RequestOrder();
    free_.push_back(&slot);
    --window.under_way;
    --busy_;
    if (transaction) nta_outgoing_destroy(transaction);
    if (!window.parked.empty() && window.under_way < window_size) {
        RequestOrder next = std::move(window.parked.front());
        window.parked.pop_front();
        --parked_;
        start(std::move(next), window);
    }
}

void ClientSide::on_response(siplib_outgoing& slot, const sip_t* sip)
{
    if (!slot.busy || !sip || !sip->sip_status) return;
    const int status = sip->sip_status->st_status;
    if (status < 200) {
        events_.response(slot.order, status, raw_message(sip));
        return;
    }
    const bool made_by_stack = nta_sip_is_internal(sip) != 0;
    if (made_by_stack && send_again(slot, status)) return;
    if (!made_by_stack) slot.window->has_answered = true;
    RawMessage raw = made_by_stack ? made_response(slot.order.text, status) : raw_message(sip);
    const RequestOrder order = std::move(slot.order);
    finish(slot);
    events_.response(order, status, std::move(raw));
}

void ClientSide::tick(Time now)
{
    if (parked_ > 0) {
        std::vector<RequestOrder> late;
        for (auto& [route, window] : windows_) {
            while (!window->parked.empty() && window->parked.front().born + patience_ <= now) {
                late.push_back(std::move(window->parked.front()));
                window->parked.pop_front();
                --parked_;
                --busy_;
            }
        }
        for (const RequestOrder& order : late)
            answer(order, 408);
    }
    if (windows_.size() <= most_idle_windows) return;
    for (auto window = windows_.begin(); window != windows_.end();)
        window = window->second->under_way == 0 && window->second->parked.empty() ? windows_.erase(window)
                                                                                  : std::next(window);
}

void ClientSide::forget(nta_agent_t* agent)
{
    std::vector<RequestOrder> lost;
    for (siplib_outgoing& slot : slots_) {
        if (!slot.busy || slot.agent != agent) continue;
        lost.push_back(std::move(slot.order));
        finish(slot);
    }
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
    busy_ = parked_ = 0;
}

} // namespace siplib::sofia
