#include "siplib/stack.h"

#include "siplib/client_connection.h"
#include "siplib/dialog.h"
#include "siplib/field_access.h"
#include "siplib/log.h"
#include "siplib/notifier.h"
#include "siplib/random_text.h"
#include "siplib/server_connection.h"

#include <algorithm>
#include <malloc.h>
#include <new>

namespace siplib {
namespace {

std::atomic<Stack*> the_stack{nullptr};
std::mutex& start_mutex()
{
    static std::mutex* never_destroyed = new std::mutex; // exit() may come while another thread starts
    return *never_destroyed;
}

constexpr std::size_t most_resting = 4096; // finished connections that keep their message
constexpr std::size_t most_spares = 128;   // requests whose memory is kept for the next ones
constexpr unsigned burst = 1000;           // transactions after which free memory goes back to the system

std::size_t pool_limit(const SIPLIB_StackCfg& cfg)
{
    const long long four = 4LL * cfg.maxTransactions;
    return static_cast<std::size_t>(std::clamp(four, 1024LL, 1000000LL));
}

std::size_t cseq_capacity(const SIPLIB_StackCfg& cfg)
{
    const long long four = 4LL * cfg.maxSubscriptions;
    return static_cast<std::size_t>(std::clamp(four, 16384LL, 1000000LL));
}

// A shell of the pool; when none is free, the one that has been finished for the longest time. A burst of new
// connections must not wait for the next tick to bound what finished ones hold: each takes along the two
// oldest.
template <typename Shell>
Shell* take_from(ShellPool<Shell>& pool)
{
    typename ShellPool<Shell>::Resting oldest;
    for (unsigned n = 0; n < 2 && pool.resting() > most_resting && pool.next_due(now(), true, oldest); ++n)
        oldest.shell->reclaim(oldest, now(), true);
    Shell* shell = pool.take();
    for (unsigned tries = 0; !shell && tries < 64 && pool.next_due(now(), true, oldest); ++tries) {
        oldest.shell->reclaim(oldest, now(), true);
        shell = pool.take();
    }
    return shell;
}

// Returns whether something still rests.
template <typename Shell>
bool reclaim_due(ShellPool<Shell>& pool, Time at)
{
    typename ShellPool<Shell>::Resting due;
    for (std::size_t n = pool.resting(); n > 0; --n) {
        const bool early = pool.resting() > most_resting;
        if (!pool.next_due(at, early, due)) break;
        due.shell->reclaim(due, at, early);
    }
    return pool.resting() > 0;
}

} // namespace

Stack::Stack(const SIPLIB_StackCfg& cfg)
    : cfg_(cfg), linger_(64 * cfg.T1), client_transactions_(cfg.maxTransactions),
      server_transactions_(cfg.maxTransactions), registrations_(cfg.maxRegClients),
      subscriptions_(cfg.maxSubscriptions), calls_(cfg.maxCallDialogs), cseqs_(cseq_capacity(cfg)),
      clients_(pool_limit(cfg)), servers_(pool_limit(cfg)), notifiers_(1024), dialog_shells_(pool_limit(cfg)),
      spare_requests_(most_spares), spare_texts_(most_spares)
{
}

Stack::~Stack() = default;

Stack* Stack::running()
{
    return the_stack.load(std::memory_order_acquire);
}

Stack* Stack::running_or_started()
{
    Stack* stack = running();
    if (stack) return stack;
    SIPLIB_StackCfg cfg;
    SIPLIB_SIPInitConfig(&cfg);
    return start(&cfg) == SIPLIB_OK ? running() : nullptr;
}

int Stack::start(const SIPLIB_StackCfg* wanted)
{
    std::lock_guard<std::mutex> guard(start_mutex());
    if (running()) return SIPLIB_OK;
    SIPLIB_StackCfg cfg;
    SIPLIB_SIPInitConfig(&cfg);
    const SIPLIB_StackCfg defaults = cfg;
    if (wanted) cfg = *wanted;
    if (cfg.T1 <= 0) cfg.T1 = defaults.T1;
    if (cfg.T2 <= 0) cfg.T2 = defaults.T2;
    if (cfg.T4 <= 0) cfg.T4 = defaults.T4;
    cfg.T1 = std::min(cfg.T1, 60000);
    renew_randomness();
    std::unique_ptr<Stack> stack(new (std::nothrow) Stack(cfg));
    if (!stack) return SIPLIB_ERR_MEMORY;
    stack->backend_ = make_sofia_backend(cfg, *stack);
    if (!stack->backend_) return SIPLIB_ERR_MEMORY;
    const int status = stack->backend_->start();
    if (status == SIPLIB_OK) the_stack.store(stack.release(), std::memory_order_release);
    return status;
}

void Stack::stop()
{
    std::lock_guard<std::mutex> guard(start_mutex());
    Stack* stack = running();
    if (!stack) return;
    stack->backend_->stop();
    the_stack.store(nullptr, std::memory_order_release);
    delete stack;
}

ClientConnection* Stack::take_client()
{
    if (ClientConnection* connection = take_from(clients_)) return connection;
    // Opened and forgotten ones do not rest; look for some among all.
    for (std::size_t n = clients_.made(), tried = 0; tried < 256 && tried < n; ++tried) {
        ClientConnection* candidate = clients_.at(forgotten_cursor_.fetch_add(1) % n);
        if (candidate && candidate->reclaim_if_forgotten(now())) return clients_.take();
    }
    return nullptr;
}

ServerConnection* Stack::take_server()
{
    return take_from(servers_);
}

Notifier* Stack::take_notifier()
{
    return notifiers_.take();
}

Dialog* Stack::take_dialog()
{
    return take_from(dialog_shells_);
}

bool Stack::hold(unsigned what)
{
    unsigned held = 0;
    const auto take = [&](unsigned kind, Limit& limit) {
        if (!(what & kind)) return true;
        if (!limit.take()) return false;
        held |= kind;
        return true;
    };
    if (take(holds_transaction, client_transactions_) && take(holds_registration, registrations_) &&
        take(holds_subscription, subscriptions_) && take(holds_call, calls_))
        return true;
    release(held);
    return false;
}

void Stack::release(unsigned what)
{
    if (what & holds_transaction) client_transactions_.release();
    if (what & holds_registration) registrations_.release();
    if (what & holds_subscription) subscriptions_.release();
    if (what & holds_call) calls_.release();
}

// What a final response means to dialogs. Returns what the order still holds afterwards.
unsigned Stack::settle_dialog(const RequestOrder& order, int status, const RawMessage& raw, Dialog*& made)
{
    const unsigned place = order.holds & (holds_subscription | holds_call);
    const bool in_dialog = place == 0;
    const bool success = status < 300;
    if ((in_dialog && status != 481 && !order.makes_dialog) || (!in_dialog && !success)) return order.holds;
    Message response;
    if (!response.parse(raw.text, raw.body_at)) return order.holds;
    const DialogKey key = key_of_own_request(response);
    if (in_dialog) {
        Dialog* dialog = dialogs_.find(key);
        if (dialog && status == 481) dialog->end();
        if (dialog && success) dialog->refreshed(response, response, "SUBSCRIBE");
        return order.holds;
    }
    const std::string_view request = order.message();
    const auto blank = request.find(' ');
    const std::string uri(request.substr(blank + 1, request.find(' ', blank + 1) - blank - 1));
    made = Dialog::made_by_an_answer(*this, response, uri, place);
    return made ? order.holds & ~place : order.holds;
}

void Stack::response(const RequestOrder& order, int status, RawMessage raw)
{
    Dialog* made = nullptr;
    if (status >= 200) {
        release(settle_dialog(order, status, raw, made));
        worked_.fetch_add(1, std::memory_order_relaxed);
    }
    order.connection->deliver(order.generation, status, std::move(raw), made);
}

void Stack::done_with(std::string& text)
{
    if (text.capacity() <= largest_spare) spare_texts_.give(text);
}

void Stack::sent(const RequestOrder& order)
{
    release(order.holds);
    order.connection->done_without_response(order.generation);
}

// Everything that can be refused is refused before a connection is taken.
Accepted Stack::request(Notifier* notifier, InboundRequest inbound)
{
    Accepted result;
    Message message;
    if (!message.parse(std::move(inbound.raw.text), inbound.raw.body_at)) {
        result.refusal = 400;
        return result;
    }
    ServerConnection::Arrival arrival;
    arrival.transaction = inbound.transaction;
    arrival.notifier = notifier;
    const std::string_view to_tag = tag_in(message.find("To"));
    if (!to_tag.empty())
        arrival.dialog = dialogs_.find({message.find("Call-ID"), to_tag, tag_in(message.find("From"))});
    else if (inbound.method == "SUBSCRIBE")
        arrival.holds = holds_subscription;
    else if (inbound.method == "INVITE")
        arrival.holds = holds_call;
    if (!hold(arrival.holds)) return result;
    arrival.method = std::move(inbound.method);
    const unsigned holds = arrival.holds;
    ServerConnection* connection = take_server();
    if (!connection || !connection->open(std::move(message), std::move(arrival), result.generation)) {
        release(holds);
        if (connection) servers_.give_back(connection);
        return result;
    }
    result.connection = connection;
    return result;
}

void Stack::accepted(const Accepted& to)
{
    to.connection->put_into_queue(to.generation);
}

void Stack::transaction_ended(const Accepted& by, bool)
{
    worked_.fetch_add(1, std::memory_order_relaxed);
    by.connection->transaction_ended(by.generation);
}

void Stack::free_memory_after_a_burst()
{
    if (worked_.load(std::memory_order_relaxed) < burst || client_transactions_.taken() > 0) return;
    worked_.store(0, std::memory_order_relaxed);
    spare_requests_.drop_all();
    spare_texts_.drop_all();
    malloc_trim(0);
}

bool Stack::tick(Time at)
{
    bool again = reclaim_due(clients_, at);
    again = reclaim_due(servers_, at) || again;
    for (Dialog* dialog : dialogs_.take_expired(at))
        dialog->end();
    again = reclaim_due(dialog_shells_, at) || again;
    free_memory_after_a_burst();
    return again || dialogs_.size() > 0 || client_transactions_.taken() > 0;
}

} // namespace siplib

int SIPLIB_SIPStart(const SIPLIB_StackCfg* cfg)
{
    return siplib::Stack::start(cfg);
}

void SIPLIB_SIPStop()
{
    siplib::Stack::stop();
}
