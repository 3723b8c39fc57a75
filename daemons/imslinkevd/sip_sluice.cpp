#include "daemons/imslinkevd/sip_sluice.h"

#include "baseuafw/baseuafw.h"
#include "core/IMS_User_Agent.h"

namespace {

void refuse(SIPLIB_SIPConnection* connection)
{
    IMS_log::loginfo(4, "sip_sluice", "too many requests wait: answering 503");
    if (connection->initResponse(503) == SIPLIB_OK && connection->setHeader("Retry-After", "2") == SIPLIB_OK)
        connection->send();
    connection->close();
}

} // namespace

void Sip_sluice::notifyRequest(SIPLIB_SIPNotifier* notifier)
{
    SIPLIB_SIPConnection* connection = notifier != nullptr ? notifier->acceptAndOpen() : nullptr;
    if (connection == nullptr) return;
    switch (enter({connection, true})) {
    case Entry::passes: pass({connection, true}); break;
    case Entry::waits: break;
    case Entry::refused: refuse(connection); break;
    }
}

void Sip_sluice::notifyResponse(SIPLIB_SIPClientConnection* connection)
{
    if (connection != nullptr && enter({connection, false}) == Entry::passes) pass({connection, false});
}

Sip_sluice::Entry Sip_sluice::enter(const Item& item)
{
    std::lock_guard<std::mutex> guard(mutex_);
    if (inside_ < WINDOW) {
        ++inside_;
        return Entry::passes;
    }
    if (item.is_request) {
        if (requests_waiting_ >= MAX_WAITING) return Entry::refused;
        ++requests_waiting_;
    }
    waiting_.push_back(item);
    return Entry::waits;
}

void Sip_sluice::pass(const Item& item)
{
    if (item.is_request)
        agent_.handle_notify_request(item.connection);
    else
        agent_.handle_notify_response(item.connection);
}

void Sip_sluice::taken()
{
    Item next{};
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (waiting_.empty()) {
            if (inside_ > 0) --inside_;
            return;
        }
        next = waiting_.front();
        waiting_.pop_front();
        if (next.is_request) --requests_waiting_;
    }
    pass(next);
}
