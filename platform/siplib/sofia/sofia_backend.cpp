#include "siplib/sofia/sofia_backend.h"

#include "baseuafw/baseuafw.h"
#include "siplib/log.h"
#include "siplib/message_record.h"
#include "siplib/sofia/close_on_exec.h"
#include "siplib/sofia/root_descriptor.h"
#include "siplib/sofia/send_batch.h"
#include "siplib/sofia/sofia_log.h"
#include "siplib/stack.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <poll.h>
#include <sofia-sip/su.h>

namespace siplib::sofia {
namespace {

// Between two batches the sockets get their turn: responses must not pile up while requests go out.
constexpr std::size_t batch_size = 32;
constexpr unsigned turns_of_a_batch = 16; // of the root: nothing is held for longer, however busy the thread
constexpr long longest_wait = 15000;      // milliseconds
constexpr unsigned sockets_closing = 16;  // steps that the root needs to let go of an agent's sockets

bool is_address(const char* text, std::size_t room)
{
    char copy[64] = "";
    const std::size_t size = strnlen(text, room);
    if (size == 0 || size == room) return false;
    std::memcpy(copy, text, size);
    unsigned char bytes[sizeof(in6_addr)];
    return inet_pton(AF_INET, copy, bytes) == 1 || inet_pton(AF_INET6, copy, bytes) == 1;
}

// Sofia-SIP ignores SIGPIPE for the whole process; here only its thread blocks it.
void initialise_sofia()
{
    struct sigaction before = {};
    sigaction(SIGPIPE, nullptr, &before);
    su_init();
    sigaction(SIGPIPE, &before, nullptr);
}

} // namespace

SofiaBackend::SofiaBackend(const SIPLIB_StackCfg& cfg, StackEvents& events)
    : cfg_(cfg), events_(events), queue_(static_cast<std::size_t>(std::max(cfg.maxTransmitters, 1))),
      connections_(cfg.maxConnections), client_(events, connections_, Milliseconds(64 * cfg.T1))
{
    auto& stack = static_cast<Stack&>(events);
    server_ = std::make_unique<ServerSide>(events, connections_, stack.server_transactions(),
                                           Milliseconds(64 * cfg.T1));
}

SofiaBackend::~SofiaBackend() = default;

int SofiaBackend::start()
{
    const bool tcp_address_given = cfg_.tcpLocalAddress[0] != '\0';
    if (!is_address(cfg_.localAddress, sizeof cfg_.localAddress) ||
        (tcp_address_given && !is_address(cfg_.tcpLocalAddress, sizeof cfg_.tcpLocalAddress))) {
        log_failure("SIPLIB_SIPStart", "the local address is no IP address");
        return SIPLIB_ERR_ARGUMENT;
    }
    if (!queue_.usable()) return SIPLIB_ERR_MEMORY;
    redirect_log(cfg_.logMask);
    int status = SIPLIB_ERR_MEMORY;
    // The set-up's result comes back through the first task.
    std::mutex mutex;
    std::condition_variable done;
    bool is_done = false;
    queue_.push({Order::Kind::task,
                 {},
                 {},
                 [&] {
                     std::lock_guard<std::mutex> guard(mutex);
                     is_done = true;
                     done.notify_one();
                 }},
                false);
    setup_status_ = SIPLIB_ERR_MEMORY;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before); // signals are for the daemon's own threads
    const int created = pthread_create(&thread_, nullptr, thread_main, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (created != 0) return SIPLIB_ERR_MEMORY;
    {
        std::unique_lock<std::mutex> lock(mutex);
        done.wait(lock, [&] { return is_done; });
        status = setup_status_;
    }
    runs_ = true;
    if (status != SIPLIB_OK) stop();
    return status;
}

void SofiaBackend::stop()
{
    if (!runs_.exchange(false)) return;
    run([this] { ending_ = true; });
    pthread_join(thread_, nullptr);
}

bool SofiaBackend::on_sip_thread() const
{
    return pthread_equal(pthread_self(), thread_) != 0;
}

void* SofiaBackend::thread_main(void* self)
{
    auto* backend = static_cast<SofiaBackend*>(self);
    pthread_setname_np(pthread_self(), "sip");
    backend->setup_status_ = backend->set_up();
    if (backend->setup_status_ != SIPLIB_OK) {
        // Nobody will wake a root that is not there: run the first task here.
        backend->work_off();
    }
    if (backend->setup_status_ == SIPLIB_OK) backend->serve();
    backend->queue_.close();
    backend->tear_down();
    return nullptr;
}

void SofiaBackend::serve()
{
    // Not where the root waits by itself: what is held must leave before.
    const std::unique_ptr<SendBatch> batch(root_descriptor_ < 0 ? nullptr : new (std::nothrow) SendBatch);
    while (!ending_)
        step();
}

void SofiaBackend::wait_for_root(long milliseconds)
{
    pollfd root = {root_descriptor_, POLLIN, 0};
    // What is left of a millisecond counts as one: the timer is due then, and not asked for until it is.
    ::poll(&root, 1, static_cast<int>(std::clamp(milliseconds, 0L, longest_wait - 1) + 1));
}

void SofiaBackend::step()
{
    const std::size_t before = handled();
    const long next = su_root_step(root_, root_descriptor_ < 0 ? longest_wait : 0);
    destroy_leaving();
    const bool idle = handled() == before; // what comes next may take a while
    if (idle || ++turns_ % turns_of_a_batch == 0) SendBatch::flush_current();
    if (idle && root_descriptor_ >= 0) wait_for_root(next);
    if (!MessageRecord::enabled()) return;
    for (const auto& port : ports_)
        port->record.drain();
}

void SofiaBackend::start_record()
{
    const char* path = IMS_log::siptrace_path();
    if (!path || !*path) return;
    records_ = MessageRecord::open(path);
    if (!records_)
        log_failure("SIPLIB_SIPStart", "messages cannot be recorded in %.500s: errno %d", path, errno);
}

// Binds the port and fills in what its callbacks and its record need.
bool SofiaBackend::open_agent(Port& port)
{
    port.server = server_.get();
    if (!make_agent(root_, cfg_, &port, port.record.path())) return false;
    const bool v6 = std::strchr(cfg_.localAddress, ':') != nullptr;
    port.record.set_local(std::string(v6 ? "[" : "") + cfg_.localAddress + (v6 ? "]:" : ":") +
                          std::to_string(port.port));
    return true;
}

int SofiaBackend::set_up()
{
    const NewDescriptors descriptors;
    initialise_sofia();
    start_record();
    root_ = su_root_create(nullptr);
    if (!root_) return SIPLIB_ERR_MEMORY;
    su_root_threading(root_, 0);
    timer_ = su_timer_create(su_root_task(root_), 0);
    su_wait_t wait = {};
    if (!timer_ || su_wait_create(&wait, queue_.wake_descriptor(), SU_WAIT_IN) < 0) return SIPLIB_ERR_MEMORY;
    wake_index_ = su_root_register(root_, &wait, on_wake, reinterpret_cast<su_wakeup_arg_t*>(this), 0);
    if (wake_index_ < 0) return SIPLIB_ERR_MEMORY;
    root_descriptor_ = epoll_that_watches(queue_.wake_descriptor());
    auto own = std::make_unique<Port>();
    if (!open_agent(*own)) {
        log_failure("SIPLIB_SIPStart", "cannot bind a port of %.64s", cfg_.localAddress);
        return SIPLIB_ERR_TRANSPORT;
    }
    ports_.push_back(std::move(own));
    choose_agent();
    descriptors.close_on_exec();
    return SIPLIB_OK;
}

void SofiaBackend::tear_down()
{
    client_.drop_all();
    server_->forget(nullptr);
    connections_.drop_all();
    destroy_leaving();
    for (const auto& port : ports_)
        nta_agent_destroy(port->agent);
    ports_.clear();
    if (records_) MessageRecord::close();
    if (wake_index_ >= 0) su_root_deregister(root_, wake_index_);
    if (timer_) su_timer_destroy(timer_);
    if (root_) {
        for (unsigned i = 0; i < sockets_closing; ++i)
            su_root_step(root_, 0);
        su_root_destroy(root_);
    }
    root_ = nullptr;
    su_deinit();
}

int SofiaBackend::on_wake(su_root_magic_t*, su_wait_t*, su_wakeup_arg_t* self)
{
    reinterpret_cast<SofiaBackend*>(self)->work_off();
    return 0;
}

void SofiaBackend::work_off()
{
    std::vector<Order> batch;
    batch.swap(batch_); // a task may come back in here
    queue_.take(batch, batch_size);
    ++batches_;
    for (Order& order : batch) {
        switch (order.kind) {
        case Order::Kind::request: client_.send(std::move(order.request)); break;
        case Order::Kind::response: server_->respond(std::move(order.response)); break;
        case Order::Kind::task: order.task(); break;
        }
    }
    batch.clear();
    batch_.swap(batch);
    arm_tick();
}

void SofiaBackend::arm_tick()
{
    if (armed_ || !timer_) return;
    const long eighth = 8L * cfg_.T1; // of 64*T1
    armed_ = su_timer_set_interval(timer_, on_tick, reinterpret_cast<su_timer_arg_t*>(this),
                                   std::clamp(eighth, 5L, 4000L)) == 0;
}

void SofiaBackend::on_tick(su_root_magic_t*, su_timer_t*, su_timer_arg_t* self)
{
    reinterpret_cast<SofiaBackend*>(self)->tick();
}

void SofiaBackend::tick()
{
    armed_ = false;
    const Time at = now();
    client_.tick(at);
    server_->tick(at);
    connections_.drop_closed();
    if (events_.tick(at) || client_.busy() || server_->busy()) arm_tick();
}

int SofiaBackend::send(RequestOrder order)
{
    Order wrapped;
    wrapped.kind = Order::Kind::request;
    wrapped.request = std::move(order);
    return queue_.push(std::move(wrapped), !on_sip_thread()) ? SIPLIB_OK : SIPLIB_ERR_STATE;
}

int SofiaBackend::respond(ResponseOrder order)
{
    Order wrapped;
    wrapped.kind = Order::Kind::response;
    wrapped.response = std::move(order);
    return queue_.push(std::move(wrapped), !on_sip_thread()) ? SIPLIB_OK : SIPLIB_ERR_STATE;
}

void SofiaBackend::run(std::function<void()> task)
{
    Order wrapped;
    wrapped.task = std::move(task);
    queue_.push(std::move(wrapped), false);
}

bool SofiaBackend::may_send_to(const Target& target)
{
    return !target.tcp || connections_.may_send_to(target.route);
}

void SofiaBackend::run_and_wait(const std::function<void()>& task)
{
    if (on_sip_thread()) {
        task();
        return;
    }
    std::mutex mutex;
    std::condition_variable done;
    bool is_done = false;
    run([&] {
        task();
        std::lock_guard<std::mutex> guard(mutex);
        is_done = true;
        done.notify_one();
    });
    std::unique_lock<std::mutex> lock(mutex);
    done.wait(lock, [&] { return is_done; });
}

int SofiaBackend::open_port(Notifier* notifier, int port, int& opened)
{
    int status = SIPLIB_ERR_STATE;
    run_and_wait([&] { status = open_here(notifier, port, opened); });
    return status;
}

void SofiaBackend::close_port(Notifier* notifier)
{
    run_and_wait([&] { close_here(notifier); });
}

int SofiaBackend::open_here(Notifier* notifier, int port, int& opened)
{
    const NewDescriptors descriptors;
    auto added = std::make_unique<Port>();
    added->notifier = notifier;
    added->port = port;
    if (!open_agent(*added)) {
        log_failure("open", "port %d of %.64s cannot be had", port, cfg_.localAddress);
        return SIPLIB_ERR_TRANSPORT;
    }
    descriptors.close_on_exec();
    opened = added->port;
    ports_.push_back(std::move(added));
    choose_agent();
    return SIPLIB_OK;
}

void SofiaBackend::choose_agent()
{
    client_.use(ports_[ports_.size() > 1 ? 1 : 0]->agent);
}

void SofiaBackend::close_here(Notifier* notifier)
{
    const auto found = std::find_if(ports_.begin(), ports_.end(),
                                    [notifier](const auto& port) { return port->notifier == notifier; });
    if (found == ports_.end()) return;
    work_off(); // refusals of the requests that waited
    server_->forget(found->get());
    std::unique_ptr<Port> closing = std::move(*found);
    ports_.erase(found);
    choose_agent();
    client_.forget(closing->agent);
    closing->notifier = nullptr; // what comes before the agent goes finds nobody
    leaving_.push_back(std::move(closing));
    if (!AgentInUse::is(leaving_.back()->agent)) destroy_leaving();
}

// Those that are not in use.
void SofiaBackend::destroy_leaving()
{
    if (leaving_.empty()) return;
    SendBatch::flush_current(); // before its sockets are closed
    connections_.drop_all();    // those of these ports go with their agents; the others count again when used
    const auto last = std::partition(leaving_.begin(), leaving_.end(),
                                     [](const auto& port) { return AgentInUse::is(port->agent); });
    for (auto port = last; port != leaving_.end(); ++port) {
        (*port)->record.drain();
        nta_agent_destroy((*port)->agent);
    }
    leaving_.erase(last, leaving_.end());
}

} // namespace siplib::sofia

namespace siplib {

std::unique_ptr<Backend> make_sofia_backend(const SIPLIB_StackCfg& cfg, StackEvents& events)
{
    return std::make_unique<sofia::SofiaBackend>(cfg, events);
}

} // namespace siplib
