#include "siplib/notifier.h"

#include "siplib/dialog.h"
#include "siplib/server_connection.h"
#include "siplib/stack.h"

namespace siplib {
namespace {

using Guard = std::lock_guard<std::mutex>;

} // namespace

void Notifier::opened_at(int port)
{
    Guard guard(state_.mutex);
    port_ = port;
}

void Notifier::abandon()
{
    Guard guard(state_.mutex);
    state_.phase = ShellState::Phase::free;
    if (Stack* stack = Stack::running()) stack->notifiers().give_back(this);
}

void Notifier::open()
{
    Guard guard(state_.mutex);
    listener_ = nullptr;
    waiting_.clear();
    announced_ = 0;
    state_.begin();
}

bool Notifier::enqueue(const WaitingRequest& waiting)
{
    Guard guard(state_.mutex);
    if (!state_.live() || (!listener_ && waiting_.size() >= most_unheard)) return false;
    waiting_.push_back(waiting);
    return true;
}

// One callback for each request that was not announced yet; no lock is held during it.
void Notifier::announce()
{
    Stack* stack = Stack::running();
    while (stack) {
        SIPLIB_SIPServerConnectionListener* listener = nullptr;
        {
            Guard guard(state_.mutex);
            if (!state_.live() || !listener_ || announced_ >= waiting_.size()) return;
            listener = listener_;
            ++announced_;
            stack->callbacks().begin(this);
        }
        listener->notifyRequest(this);
        stack->callbacks().end();
    }
}

SIPLIB_SIPConnection* Notifier::acceptAndOpen()
{
    Guard guard(state_.mutex);
    if (!state_.live() || announced_ == 0 || waiting_.empty()) return nullptr;
    --announced_;
    ServerConnection* connection = waiting_.front().connection;
    waiting_.pop_front();
    return connection;
}

SIPLIB_SIPConnection* Notifier::acceptAndOpen(SIPLIB_SIPDialog* dialog)
{
    {
        Guard guard(state_.mutex);
        if (!state_.live() || !dialog) return nullptr;
    }
    return static_cast<Dialog*>(dialog)->accept();
}

int Notifier::setListener(SIPLIB_SIPServerConnectionListener* listener)
{
    Stack* stack = Stack::running();
    bool somebody_waits = false;
    {
        Guard guard(state_.mutex);
        if (!stack || !state_.live()) return SIPLIB_ERR_STATE;
        listener_ = listener;
        somebody_waits = listener && announced_ < waiting_.size();
    }
    stack->callbacks().wait_for(this);
    if (somebody_waits) stack->backend().run([this] { announce(); });
    return SIPLIB_OK;
}

int Notifier::getLocalPort(int& port)
{
    Guard guard(state_.mutex);
    if (!state_.live()) return SIPLIB_ERR_STATE;
    port = port_;
    return SIPLIB_OK;
}

// A notifier's messages are taken with acceptAndOpen.
int Notifier::receive()
{
    return SIPLIB_ERR_STATE;
}

int Notifier::close()
{
    Stack* stack = Stack::running();
    std::deque<WaitingRequest> left;
    {
        Guard guard(state_.mutex);
        if (!stack || !state_.live()) return SIPLIB_ERR_STATE;
        state_.phase = ShellState::Phase::closed;
        listener_ = nullptr;
        left.swap(waiting_);
        announced_ = 0;
    }
    stack->callbacks().wait_for(this);
    for (const WaitingRequest& waiting : left)
        waiting.connection->refuse(waiting.generation, 503);
    stack->backend().close_port(this);
    Guard guard(state_.mutex);
    state_.phase = ShellState::Phase::free;
    stack->notifiers().give_back(this);
    return SIPLIB_OK;
}

} // namespace siplib
