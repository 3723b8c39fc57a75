// The running stack: its configuration, limits, pools and tables, and the events of the backend.
//
// Thread   start and stop: the main thread. The rest: any; StackEvents: the SIP thread.
// Memory   everything of the library hangs here and goes with SIPLIB_SIPStop.
#ifndef SIPLIB_STACK_H_INCLUDED_INTERNAL
#define SIPLIB_STACK_H_INCLUDED_INTERNAL

#include "siplib/SIPLIB.h"
#include "siplib/backend.h"
#include "siplib/callbacks.h"
#include "siplib/cseq_table.h"
#include "siplib/dialog_table.h"
#include "siplib/message.h"
#include "siplib/shell_pool.h"
#include "siplib/spares.h"

#include <atomic>
#include <memory>

namespace siplib {

class ClientConnection;
class ServerConnection;
class Notifier;
class Dialog;

// How many of something there may be at one time.
class Limit {
public:
    explicit Limit(int most) : most_(most) {}
    bool take()
    {
        int n = taken_.load(std::memory_order_relaxed);
        while (n < most_)
            if (taken_.compare_exchange_weak(n, n + 1, std::memory_order_relaxed)) return true;
        return false;
    }
    void release() { taken_.fetch_sub(1, std::memory_order_relaxed); }
    int taken() const { return taken_.load(std::memory_order_relaxed); }

private:
    const int most_;
    std::atomic<int> taken_{0};
};

class Stack final : public StackEvents {
public:
    static int start(const SIPLIB_StackCfg* cfg);
    static void stop();
    static Stack* running();            // null while it does not run
    static Stack* running_or_started(); // starts it with the defaults; null when that fails

    ~Stack() override;
    Backend& backend() { return *backend_; }
    const SIPLIB_StackCfg& cfg() const { return cfg_; }
    Milliseconds linger() const { return linger_; } // 64*T1
    CSeqTable& cseqs() { return cseqs_; }
    DialogTable& dialogs() { return dialogs_; }
    Callbacks& callbacks() { return callbacks_; }

    // Shells; null when none is left, even after the oldest finished one was made free.
    ClientConnection* take_client();
    ServerConnection* take_server();
    Notifier* take_notifier();
    Dialog* take_dialog();
    ShellPool<ClientConnection>& clients() { return clients_; }
    ShellPool<ServerConnection>& servers() { return servers_; }
    ShellPool<Notifier>& notifiers() { return notifiers_; }
    ShellPool<Dialog>& dialog_shells() { return dialog_shells_; }

    // Takes all that `what` names, or nothing and false.
    bool hold(unsigned what);
    void release(unsigned what);
    Limit& server_transactions() { return server_transactions_; }

    // Memory of requests that are done, for those that come; larger memory is not kept.
    static constexpr std::size_t largest_spare = 4096;
    Spares<Message>& spare_requests() { return spare_requests_; }
    Spares<std::string>& spare_texts() { return spare_texts_; }

    void response(const RequestOrder& order, int status, RawMessage raw) override;
    void done_with(std::string& text) override;
    void sent(const RequestOrder& order) override;
    Accepted request(Notifier* notifier, InboundRequest request) override;
    void accepted(const Accepted& to) override;
    void transaction_ended(const Accepted& by, bool answered) override;
    bool tick(Time now) override;

private:
    explicit Stack(const SIPLIB_StackCfg& cfg);
    unsigned settle_dialog(const RequestOrder& order, int status, const RawMessage& raw, Dialog*& made);
    void free_memory_after_a_burst();

    const SIPLIB_StackCfg cfg_;
    const Milliseconds linger_;
    Limit client_transactions_, server_transactions_, registrations_, subscriptions_, calls_;
    CSeqTable cseqs_;
    Callbacks callbacks_;
    ShellPool<ClientConnection> clients_;
    ShellPool<ServerConnection> servers_;
    ShellPool<Notifier> notifiers_;
    ShellPool<Dialog> dialog_shells_;
    DialogTable dialogs_;
    Spares<Message> spare_requests_;
    Spares<std::string> spare_texts_;
    std::atomic<unsigned> worked_{0}; // transactions since memory was last given back
    std::atomic<std::size_t> forgotten_cursor_{0};
    std::unique_ptr<Backend> backend_; // last: its thread ends before anything else goes
};

} // namespace siplib

#endif
