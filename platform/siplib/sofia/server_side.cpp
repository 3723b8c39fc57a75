#include "siplib/sofia/server_side.h"

#include "siplib/message_record.h"
#include "siplib/reason_phrase.h"
#include "siplib/sip_text.h"
#include "siplib/sofia/raw_message.h"
#include "siplib/sofia/wire_record.h"
#include "siplib/stack.h"

#include <climits>
#include <sofia-sip/msg_addr.h>
#include <sofia-sip/nta_tag.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/sip_status.h>
#include <sofia-sip/sip_tag.h>
#include <sofia-sip/su_tag.h>
#include <sofia-sip/tport_tag.h>

namespace siplib::sofia {
namespace {

const char* text(const char* p)
{
    return p ? p : "";
}

// What identifies a request among its retransmissions (RFC 3261 section 17.2.3).
std::string key_of(const sip_t* sip)
{
    const sip_via_t* via = sip->sip_via;
    std::string key;
    key.reserve(96);
    key.append(text(via->v_branch)).append(1, '\n').append(text(via->v_host)).append(1, ':');
    key.append(text(via->v_port)).append(1, '\n').append(sip->sip_request->rq_method_name);
    if (std::string_view(text(via->v_branch)).substr(0, 7) == "z9hG4bK") return key;
    key.append(1, '\n').append(sip->sip_call_id->i_id).append(1, '\n');
    key.append(std::to_string(sip->sip_cseq->cs_seq)).append(1, '\n');
    key.append(text(sip->sip_from->a_tag)).append(1, '\n').append(text(sip->sip_to->a_tag));
    return key;
}

int on_incoming(siplib_incoming* slot, nta_incoming_t*, const sip_t* sip)
{
    const AgentInUse in_use(slot->at ? slot->at->agent : nullptr);
    slot->side->on_ack_or_cancel(*slot, sip);
    return 0;
}

std::uint64_t handle_of(const siplib_incoming& slot)
{
    return static_cast<std::uint64_t>(slot.generation) << 32 | slot.index;
}

// What can make a dialog has one Contact (RFC 3261 section 8.1.1.8), in one line or in several.
bool has_several_contacts(const sip_t* sip)
{
    const sip_method_t method = sip->sip_request->rq_method;
    const bool makes_dialog = method == sip_method_subscribe || method == sip_method_invite;
    return makes_dialog && sip->sip_contact && sip->sip_contact->m_next;
}

} // namespace

void ServerSide::on_message(siplib_port& port, msg_t* msg, sip_t* sip)
{
    ++handled_;
    if (!sip->sip_request) { // a response that nobody waits for any more
        msg_destroy(msg);
        return;
    }
    switch (sip->sip_request->rq_method) {
    case sip_method_ack: msg_destroy(msg); return;
    case sip_method_cancel: // NTA gives those that find their INVITE to on_ack_or_cancel
        refuse(port, msg, 481);
        return;
    default: on_request(port, msg, sip);
    }
}

void ServerSide::refuse(siplib_port& port, msg_t* msg, int status, bool hang_up)
{
    nta_msg_treply(port.agent, msg, status, reason_phrase(status),
                   TAG_IF(status == 503, SIPTAG_RETRY_AFTER_STR("5")), TPTAG_SDWN_AFTER(hang_up), TAG_END());
}

// False: there are maxConnections others.
bool ServerSide::connection_counts(siplib_port& port, msg_t* msg)
{
    tport_t* transport = nta_incoming_transport(port.agent, nullptr, msg);
    const bool counts = connections_.use(transport, {});
    if (transport) tport_unref(transport);
    return counts;
}

bool ServerSide::is_retransmission(const std::string& key)
{
    const auto found = by_key_.find(key);
    if (found == by_key_.end()) return false;
    siplib_incoming& slot = *found->second;
    if (slot.state == siplib_incoming::State::answered) send(slot, slot.answer);
    return true;
}

bool ServerSide::is_waiting(const Due& due)
{
    return due.slot->generation == due.generation && due.slot->state == siplib_incoming::State::waiting;
}

siplib_incoming& ServerSide::free_slot()
{
    if (free_.empty()) {
        slots_.emplace_back();
        slots_.back().side = this;
        slots_.back().index = static_cast<std::uint32_t>(slots_.size() - 1);
        free_.push_back(&slots_.back());
    }
    siplib_incoming& slot = *free_.back();
    free_.pop_back();
    ++slot.generation;
    return slot;
}

// The status to refuse a request with before anybody sees it; 0 when it is good. A transaction of the limit
// is taken then.
int ServerSide::refusal_of(const siplib_port& port, const sip_t* sip)
{
    if (!port.notifier) return sip->sip_to->a_tag ? 481 : 404; // our own requests' port: nobody is at home
    return limit_.take() ? 0 : 503;
}

void ServerSide::on_request(siplib_port& port, msg_t* msg, sip_t* sip)
{
    if (msg_size(msg) > max_message_size) {
        refuse(port, msg, 513);
        return;
    }
    if (is_cut_short(sip) || has_several_contacts(sip)) {
        refuse(port, msg, 400);
        return;
    }
    const std::string key = key_of(sip);
    if (is_retransmission(key)) {
        msg_destroy(msg);
        return;
    }
    if (!connection_counts(port, msg)) {
        refuse(port, msg, 503, true);
        return;
    }
    if (const int status = refusal_of(port, sip)) {
        refuse(port, msg, status);
        return;
    }
    siplib_incoming& slot = free_slot();
    slot.at = &port;
    InboundRequest inbound;
    inbound.raw = raw_message(sip);
    inbound.method = sip->sip_request->rq_method_name;
    inbound.transaction = handle_of(slot);
    slot.owner = events_.request(port.notifier, std::move(inbound));
    if (slot.owner.connection) {
        begin(slot, key, msg, sip);
        return;
    }
    const int status = slot.owner.refusal;
    free_.push_back(&slot);
    limit_.release();
    refuse(port, msg, status);
}

// The transaction stands from here on, and the message is used up.
void ServerSide::begin(siplib_incoming& slot, const std::string& key, msg_t* msg, sip_t* sip)
{
    nta_agent_t* agent = slot.at->agent;
    slot.state = siplib_incoming::State::waiting;
    slot.transport = nta_incoming_transport(agent, nullptr, msg);
    slot.reliable = slot.transport && tport_is_reliable(slot.transport);
    const sip_via_t* via = sip->sip_via;
    slot.host = via->v_received ? via->v_received : text(via->v_host);
    slot.port = text(sip_via_port(via, nullptr));
    if (!slot.reliable && via->v_rport && *via->v_rport) slot.port = via->v_rport;
    slot.deadline = now() + patience_;
    ++waiting_;
    while (!waiting_queue_.empty() && !is_waiting(waiting_queue_.front()))
        waiting_queue_.pop_front(); // mostly they are answered in the order in which they came
    waiting_queue_.push_back({&slot, slot.generation});
    if (sip->sip_request->rq_method == sip_method_invite) {
        slot.invite = nta_incoming_create(agent, nullptr, msg, sip, TAG_END());
        if (slot.invite) nta_incoming_bind(slot.invite, on_incoming, &slot);
    } else {
        slot.key = key;
        by_key_.emplace(key, &slot);
        msg_destroy(msg);
    }
    events_.accepted(slot.owner);
}

// NTA has matched an ACK or CANCEL to its INVITE; it answers a CANCEL itself, and the INVITE with 487.
void ServerSide::on_ack_or_cancel(siplib_incoming& slot, const sip_t* sip)
{
    if (!sip || !sip->sip_request || sip->sip_request->rq_method != sip_method_cancel) return;
    if (slot.state == siplib_incoming::State::waiting) release(slot);
}

siplib_incoming* ServerSide::find(std::uint64_t transaction)
{
    const auto index = static_cast<std::uint32_t>(transaction);
    if (index >= slots_.size()) return nullptr;
    siplib_incoming& slot = slots_[index];
    const bool current = slot.generation == static_cast<std::uint32_t>(transaction >> 32);
    return current && slot.state == siplib_incoming::State::waiting ? &slot : nullptr;
}

// Sends over the connection that the request came on; when that is gone, to the address in Via (RFC 3261
// section 18.2.2).
void ServerSide::send(siplib_incoming& slot, const std::string& text)
{
    msg_t* msg = message_of(text);
    if (!msg) return;
    tp_name_t name = {};
    name.tpn_proto = slot.reliable ? "tcp" : "udp";
    name.tpn_canon = name.tpn_host = slot.host.c_str();
    name.tpn_port = slot.port.c_str();
    tport_t* transport = slot.transport;
    if (slot.reliable && (!transport || !tport_is_clear_to_send(transport)))
        transport = tport_by_protocol(nta_agent_tports(slot.at->agent), "tcp");
    if (transport) tport_tsend(transport, msg, &name, TPTAG_MTU(INT_MAX), TAG_END());
    msg_destroy(msg);
}

void ServerSide::respond(ResponseOrder order)
{
    siplib_incoming* slot = find(order.transaction);
    if (!slot) return;
    if (MessageRecord::enabled()) sent_bodies().note(order.text);
    const bool final = order.status >= 200;
    if (slot->invite) {
        msg_t* msg = message_of(order.text);
        if (msg) nta_incoming_mreply(slot->invite, msg);
        if (final)
            release(*slot);
        else
            slot->deadline = now() + std::max(patience_, Milliseconds(180000)); // as long as a phone may ring
        return;
    }
    send(*slot, order.text);
    if (final) answered(*slot, std::move(order.text));
}

// The application has answered: over UDP the answer is kept for retransmissions.
void ServerSide::answered(siplib_incoming& slot, std::string text)
{
    if (slot.reliable) {
        release(slot);
        return;
    }
    const Accepted owner = slot.owner;
    slot.owner = Accepted();
    slot.state = siplib_incoming::State::answered;
    slot.answer = std::move(text);
    slot.answer.shrink_to_fit();
    slot.deadline = now() + patience_;
    answer_bytes_ += slot.answer.size();
    answered_queue_.push_back({&slot, slot.generation});
    --waiting_;
    limit_.release();
    drop_old_answers(now());
    events_.transaction_ended(owner, true);
}

void ServerSide::release(siplib_incoming& slot)
{
    const bool was_waiting = slot.state == siplib_incoming::State::waiting;
    const Accepted owner = slot.owner;
    if (!slot.key.empty()) by_key_.erase(slot.key);
    answer_bytes_ -= slot.answer.size();
    if (slot.transport) tport_unref(slot.transport);
    if (slot.invite) nta_incoming_destroy(slot.invite);
    slot.key = slot.answer = slot.host = slot.port = std::string();
    slot.transport = nullptr;
    slot.invite = nullptr;
    slot.at = nullptr;
    slot.owner = Accepted();
    slot.state = siplib_incoming::State::free;
    free_.push_back(&slot);
    if (!was_waiting) return;
    --waiting_;
    limit_.release();
    if (owner.connection) events_.transaction_ended(owner, false);
}

void ServerSide::drop_old_answers(Time at)
{
    while (!answered_queue_.empty()) {
        const Due due = answered_queue_.front();
        const bool current =
            due.slot->generation == due.generation && due.slot->state == siplib_incoming::State::answered;
        const bool full = answered_queue_.size() > most_answers || answer_bytes_ > most_answer_bytes;
        if (current && !full && due.slot->deadline > at) return;
        answered_queue_.pop_front();
        if (current) release(*due.slot);
    }
}

void ServerSide::tick(Time at)
{
    drop_old_answers(at);
    for (std::size_t n = waiting_queue_.size(); n > 0; --n) {
        const Due due = waiting_queue_.front();
        const bool current = is_waiting(due);
        if (current && due.slot->deadline > at && !due.slot->invite) return;
        waiting_queue_.pop_front();
        if (!current) continue;
        if (due.slot->deadline > at)
            waiting_queue_.push_back(due); // a ringing INVITE
        else
            release(*due.slot);
    }
}

void ServerSide::forget(const siplib_port* port)
{
    for (siplib_incoming& slot : slots_)
        if (slot.state != siplib_incoming::State::free && (!port || slot.at == port)) release(slot);
}

} // namespace siplib::sofia
