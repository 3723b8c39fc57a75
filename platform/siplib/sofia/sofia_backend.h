// The SIP thread and what lives on it: the root, one agent per port, client and server transactions.
//
// Thread   see Backend. No Sofia-SIP object is used on another thread.
#ifndef SIPLIB_SOFIA_SOFIA_BACKEND_H_INCLUDED
#define SIPLIB_SOFIA_SOFIA_BACKEND_H_INCLUDED

#include "siplib/order_queue.h"
#include "siplib/sofia/agent.h"
#include "siplib/sofia/client_side.h"
#include "siplib/sofia/server_side.h"
#include "siplib/sofia/wire_record.h"

#include <atomic>
#include <memory>
#include <pthread.h>
#include <sofia-sip/su_wait.h>
#include <vector>

namespace siplib::sofia {

class SofiaBackend final : public Backend {
public:
    SofiaBackend(const SIPLIB_StackCfg& cfg, StackEvents& events);
    ~SofiaBackend() override;

    int start() override;
    void stop() override;
    bool on_sip_thread() const override;
    int send(RequestOrder order) override;
    int respond(ResponseOrder order) override;
    void run(std::function<void()> task) override;
    bool may_send_to(const Target& target) override;
    int open_port(Notifier* notifier, int port, int& opened) override;
    void close_port(Notifier* notifier) override;

private:
    static void* thread_main(void* self);
    static int on_wake(su_root_magic_t*, su_wait_t*, su_wakeup_arg_t* self);
    static void on_tick(su_root_magic_t*, su_timer_t*, su_timer_arg_t* self);

    int set_up(); // on the SIP thread, like all that follows
    void start_record();
    void serve();
    void step();
    void wait_for_root(long milliseconds);
    std::size_t handled() const { return batches_ + client_.handled() + server_->handled(); }
    void tear_down();
    void work_off();
    void tick();
    void arm_tick();
    int open_here(Notifier* notifier, int port, int& opened);
    void close_here(Notifier* notifier);
    void destroy_leaving();
    void choose_agent();
    void run_and_wait(const std::function<void()>& task); // from any thread

    const SIPLIB_StackCfg cfg_;
    StackEvents& events_;
    OrderQueue queue_;
    pthread_t thread_{};
    std::atomic<bool> runs_{false};
    int setup_status_ = 0; // written before the first task runs
    bool ending_ = false;
    bool armed_ = false;
    bool records_ = false; // the message record was opened here

    su_root_t* root_ = nullptr;
    su_timer_t* timer_ = nullptr;
    int wake_index_ = -1;
    int root_descriptor_ = -1; // to wait on; -1: the root waits by itself
    std::size_t batches_ = 0;  // taken from the queue
    unsigned turns_ = 0;       // of the root
    struct Port : siplib_port {
        WireRecord record;
    };
    bool open_agent(Port& port);
    Connections connections_;
    // Requests leave from the oldest listening port, so that peers which answer to the sender's address
    // rather than to its Via reach us; from the first of these, a port of their own, while nobody listens.
    std::vector<std::unique_ptr<Port>> ports_;
    std::vector<std::unique_ptr<Port>> leaving_; // closed from within a callback of their agent's
    ClientSide client_;
    std::unique_ptr<ServerSide> server_;
    std::vector<Order> batch_;
};

} // namespace siplib::sofia

#endif
