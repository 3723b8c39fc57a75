#include "daemons/imslinkevd/link_event_agent.h"

#include "daemons/common/random_tag.h"
#include "daemons/common/service_notify.h"
#include "daemons/imslinkevd/notify_documents.h"
#include "daemons/imslinkevd/sip_values.h"
#include "messages/IMS_NotifyDALinkAvailEv.h"
#include "messages/IMS_NotifyDALinkEv.h"

#include <algorithm>

namespace {

using Clock = std::chrono::steady_clock;

// A daemon that ends may come back: subscribers are asked to try again a little later (RFC 6665 4.1.3).
constexpr const char* ENDING = "probation;retry-after=2";

} // namespace

Link_event_agent::Link_event_agent()
    : events_(&watcher_,
              [this](News news) { fill_queue_and_send_signal(static_cast<MSG_TYPE>(news), nullptr); }),
      sluice_(*this)
{
}

// Nothing may reach the sluice or the queue any more when the members go.
Link_event_agent::~Link_event_agent()
{
    events_.stop();
    if (notifier_ != nullptr) {
        notifier_->setListener(nullptr);
        notifier_->close();
    }
    for (const auto& entry : in_flight_) {
        auto* connection = const_cast<SIPLIB_SIPConnection*>(entry.first)->asClientConnection();
        if (connection != nullptr) connection->setListener(nullptr);
    }
    drop_queued();
}

void Link_event_agent::print_usage()
{
    if (__d_help) {
        IMS_log::loginfo(3, "print_usage", "Link-event notifier Options:");
        for (const auto& line : option_lines())
            IMS_log::loginfo(3, "print_usage", "%s", line.c_str());
    }
    IMS_User_Agent::print_usage();
}

bool Link_event_agent::open(const Settings& settings, Milliseconds answer_patience)
{
    settings_ = settings;
    filter_ = Link_filter(settings.links);
    Subscriptions::Limits limits;
    limits.capacity = static_cast<std::size_t>(settings.max_subscribers);
    limits.spacing = Milliseconds(settings.min_interval);
    limits.answer_patience = answer_patience;
    subscriptions_ = std::make_unique<Subscriptions>(limits);
    notifier_ = open_local_notifier(settings.first_port);
    if (notifier_ == nullptr) {
        IMS_log::loginfo(3, "open", "no free port from %d to %d", settings.first_port,
                         settings.first_port + 99);
        return false;
    }
    write_cap_file({{"Event", package_name(Package::link_event)},
                    {"Event", package_name(Package::link_availability)},
                    {"Contact", __ua_myuri}});
    return events_.start();
}

// The library's own listener would drop what the full queue refuses; the sluice takes its place.
SIPLIB_SIPNotifier* Link_event_agent::open_local_notifier(int first_port)
{
    SIPLIB_SIPNotifier* notifier = IMS_User_Agent::open_local_notifier(first_port);
    if (notifier != nullptr) notifier->setListener(&sluice_);
    return notifier;
}

// ---- the loop ----

bool Link_event_agent::is_over() const
{
    return ending_ && (subscriptions_->size() == 0 || Clock::now() >= end_by_);
}

// handle_message(), with an end.
void Link_event_agent::run()
{
    service_notify("READY=1");
    IMS_log::loginfo(5, "run", "serving at %s", __ua_myuri.c_str());
    while (!is_over())
        process_one_message();
    if (subscriptions_->size() > 0)
        IMS_log::loginfo(4, "run", "ended with %d subscribers that did not answer",
                         static_cast<int>(subscriptions_->size()));
}

unsigned int Link_event_agent::get_event_id_from_message(void* element)
{
    return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
}

unsigned short Link_event_agent::handle_event(unsigned int event_id, void* data)
{
    const auto kind = static_cast<MSG_TYPE>(event_id);
    if (kind == MSG_TYPE_SIP_REQUEST || kind == MSG_TYPE_SIP_RESPONSE) {
        auto& connection = *static_cast<SIPLIB_SIPConnection*>(data);
        kind == MSG_TYPE_SIP_REQUEST ? on_request(connection) : on_response(connection);
        sluice_.taken();
    } else if (kind == static_cast<MSG_TYPE>(News::watched)) {
        on_links();
    } else if (kind == static_cast<MSG_TYPE>(News::clock)) {
        events_.taken(News::clock);
    } else if (kind == static_cast<MSG_TYPE>(News::stop)) {
        on_stop();
    } else {
        return 0;
    }
    pump();
    return 1;
}

void Link_event_agent::on_links()
{
    events_.taken(News::watched); // before reading: what changes from now on is news again
    subscriptions_->set_links(filter_.reports(watcher_.links()));
}

// The second signal does not wait for anybody.
void Link_event_agent::on_stop()
{
    events_.taken(News::stop);
    const auto now = Clock::now();
    end_by_ = ending_ ? now : now + END_PATIENCE;
    ending_ = true;
    service_notify("STOPPING=1");
    subscriptions_->end_all(ENDING);
}

void Link_event_agent::pump()
{
    const auto now = Clock::now();
    for (const auto& notify : subscriptions_->due(now))
        if (!send(notify)) subscriptions_->answered(notify.id, 0, Seconds(0), now);
    auto next = subscriptions_->next_due(now);
    if (ending_) next = std::min(next, end_by_);
    events_.wake_at(next);
}

// ---- requests ----

void Link_event_agent::on_request(SIPLIB_SIPConnection& connection)
{
    IMS_Message message(&connection);
    if (message.is_method("SUBSCRIBE"))
        on_subscribe(connection);
    else if (message.is_method("OPTIONS"))
        answer_options(connection);
    else if (!message.is_method("ACK")) // an ACK is never answered (RFC 3261 17)
        refuse(connection, 405, "method", {});
}

void Link_event_agent::answer_options(SIPLIB_SIPConnection& connection)
{
    IMS_Message answer(&connection);
    answer.init_response(200);
    for (const int code : {405, 406, 489}) { // Allow, Accept, Allow-Events
        const auto header = refusal_header(code, {}, settings_.expires);
        answer.set_header(header->name, header->value.c_str());
    }
    answer.set_header("Contact", __ua_myuri.c_str());
    answer.send();
}

void Link_event_agent::refuse(SIPLIB_SIPConnection& connection, int code, const char* why,
                              const Subscribe_headers& headers)
{
    IMS_log::loginfo(4, "refuse", "%d: %s", code, why);
    IMS_Message answer(&connection);
    answer.init_response(code);
    if (const auto header = refusal_header(code, headers, settings_.expires))
        answer.set_header(header->name, header->value.c_str());
    answer.send();
}

void Link_event_agent::on_subscribe(SIPLIB_SIPConnection& connection)
{
    Subscribe_headers headers;
    if (!read_headers(connection, headers)) return refuse(connection, 400, "a header is too long", headers);
    auto verdict = judge_subscribe(headers, settings_.expires);
    const std::uint32_t id = verdict.code == 200 ? subscribe(verdict) : 0;
    if (id == 0) return refuse(connection, verdict.code, verdict.why, headers);
    accept(connection, verdict, id);
}

// The number of the new or refreshed subscription; 0, and the verdict says why, when there is none.
std::uint32_t Link_event_agent::subscribe(Subscribe_verdict& verdict)
{
    const auto refused = [&verdict](int code, const char* why) {
        verdict.code = code;
        verdict.why = why;
        return 0u;
    };
    const auto now = Clock::now();
    if (verdict.is_in_dialog()) {
        const std::uint32_t id = subscriptions_->find(verdict.key);
        if (id == 0) return refused(481, "no such subscription");
        // RFC 3261 12.2.2; an equal number would be a retransmission, which the SIP library absorbs.
        if (verdict.dialog.remote_cseq <= subscriptions_->remote_cseq(id))
            return refused(500, "CSeq out of order");
        subscriptions_->refresh(id, verdict.dialog, verdict.expires, now);
        return id;
    }
    if (ending_) return refused(503, "ending");
    verdict.key.local_tag = random_tag();
    verdict.dialog.from += ";tag=" + verdict.key.local_tag;
    const std::uint32_t id = subscriptions_->open(verdict.key, verdict.dialog, verdict.expires, now);
    return id != 0 ? id : refused(503, "too many subscribers");
}

void Link_event_agent::accept(SIPLIB_SIPConnection& connection, const Subscribe_verdict& verdict,
                              std::uint32_t id)
{
    IMS_Message answer(&connection);
    answer.init_response(200);
    answer.set_header("To", verdict.dialog.from.c_str());
    answer.set_header("Contact", __ua_myuri.c_str());
    answer.set_header("Expires", std::to_string(verdict.expires.count()).c_str());
    if (answer.send()) {
        IMS_log::loginfo(5, "accept", "%s: %s for %d s, %d subscribers", verdict.dialog.contact.c_str(),
                         package_name(verdict.key.package), static_cast<int>(verdict.expires.count()),
                         static_cast<int>(subscriptions_->size()));
        return;
    }
    subscriptions_->answered(id, 0, Seconds(0), Clock::now()); // nobody learnt of it
}

// ---- NOTIFYs ----

bool Link_event_agent::send(const Due_notify& notify)
{
    SIPLIB_SIPObject* object = conn_open(__ua_connector, notify.dialog.contact.c_str(), __ua_myuri.c_str());
    SIPLIB_SIPClientConnection* connection = object != nullptr ? object->asClientConnection() : nullptr;
    if (connection == nullptr) return false;
    const auto& dialog = notify.dialog;
    if (notify.key.package == Package::link_event) {
        DALinkEvXmlData document;
        fill_document(notify.report, {settings_.profile_id, settings_.profile_name}, document);
        IMS_NotifyDALinkEv message(connection, dialog.from, dialog.to, __ua_myuri, &document,
                                   settings_.profile_id);
        return send_message(message, notify, *connection);
    }
    DALinkAvailEvXmlData document;
    fill_document(notify.report, document);
    IMS_NotifyDALinkAvailEv message(connection, dialog.from, dialog.to, __ua_myuri, &document);
    return send_message(message, notify, *connection);
}

bool Link_event_agent::send_message(IMS_Message& message, const Due_notify& notify,
                                    SIPLIB_SIPClientConnection& connection)
{
    message.set_header("Subscription-State", notify.state.c_str());
    message.set_header("Call-ID", notify.key.call_id.c_str());
    if (!notify.key.event_id.empty()) {
        const std::string event =
            std::string(package_name(notify.key.package)) + ";id=" + notify.key.event_id;
        message.set_header("Event", event.c_str());
    }
    in_flight_[&connection] = notify.id;
    connection.setListener(&sluice_);
    if (message.send()) return true;
    in_flight_.erase(&connection);
    connection.setListener(nullptr);
    connection.close();
    return false;
}

// The main loop has received the response into the connection. A time-out is a 408 that the SIP library made.
void Link_event_agent::on_response(SIPLIB_SIPConnection& connection)
{
    const auto found = in_flight_.find(&connection);
    if (found == in_flight_.end()) return;
    const int code = IMS_Message(&connection).get_response();
    if (code >= 100 && code < 200) return;
    const std::uint32_t id = found->second;
    const Seconds retry_after = retry_after_of(connection);
    in_flight_.erase(found);
    connection.close();
    const bool is_gone = subscriptions_->answered(id, code, retry_after, Clock::now());
    if (is_gone && code / 100 != 2)
        IMS_log::loginfo(4, "on_response", "NOTIFY answered %d: subscriber dropped", code);
}
