#include "tools/imswatch/watch_agent.h"

#include "daemons/common/header_value.h"
#include "daemons/common/random_tag.h"
#include "messages/IMS_Subscribe.h"
#include "subscriptions/IMS_event_mgmt.h"
#include "tools/imswatch/received_notify.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace {

using Clock = std::chrono::steady_clock;

std::string now_text()
{
    timespec now{};
    tm parts{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    ::gmtime_r(&now.tv_sec, &parts);
    char text[32];
    const std::size_t size = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text + size, sizeof text - size, ".%03ldZ", now.tv_nsec / 1000000);
    return text;
}

// The transport that the user asked for, unless the URI names one itself.
std::string with_transport(std::string uri, const std::string& transport)
{
    if (transport == "tcp" && uri.find(";transport=") == std::string::npos) uri += ";transport=tcp";
    return uri;
}

std::optional<std::uint32_t> seconds_in(SIPLIB_SIPConnection& connection, const char* name)
{
    std::string text = header_of(connection, name);
    text.resize(std::min(text.size(), text.find_first_of(";(")));
    std::uint32_t seconds = 0;
    if (!parse_seconds(text, seconds)) return std::nullopt;
    return seconds;
}

} // namespace

Watch_agent::Watch_agent(const Watch_options& options)
    : options_(options), subscriber_(options.expires, options.seconds > 0), responses_(this),
      events_(nullptr,
              [this](News news) { fill_queue_and_send_signal(static_cast<MSG_TYPE>(news), nullptr); })
{
}

Watch_agent::~Watch_agent()
{
    events_.stop();
    if (request_ != nullptr) request_->setListener(nullptr);
    if (notifier_ != nullptr) {
        notifier_->setListener(nullptr);
        notifier_->close();
    }
    drop_queued(); // a signal may have come after the last turn
}

// Read anew for each dialog: a notifier that was started again may listen on another port.
bool Watch_agent::find_owner()
{
    std::string contact = options_.uri;
    if (contact.empty()) {
        const std::string line = "Event: " + options_.package;
        contact = IMS_event_mgmt::get_value_from_cap_files(line.c_str(), "Contact");
    }
    const std::string uri = uri_of(contact);
    if (!uri.empty()) owner_ = uri;
    return !uri.empty();
}

Outcome Watch_agent::run()
{
    if (!find_owner()) {
        tell("nobody", "no capability file names " + options_.package);
        return Outcome::nobody_serves;
    }
    notifier_ = open_local_notifier(options_.port);
    if (notifier_ == nullptr || !events_.start()) {
        tell("failed", "no free port, or no thread");
        return Outcome::failed;
    }
    contact_ = "<" + with_transport(uri_of(__ua_myuri), options_.transport) + ">";
    if (options_.seconds > 0)
        end_at_ =
            Clock::now() + std::chrono::milliseconds(std::llround(std::min(options_.seconds, 1e9) * 1000));
    turn();
    while (subscriber_.state() != Subscriber::State::over)
        process_one_message();
    return outcome();
}

Outcome Watch_agent::outcome() const
{
    if (subscriber_.refused_with() != 0 && notifies_ == 0) return Outcome::refused;
    const bool is_enough = options_.count > 0 ? has_enough() : notifies_ > 0;
    return is_enough ? Outcome::came : Outcome::too_little;
}

unsigned int Watch_agent::get_event_id_from_message(void* element)
{
    return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
}

unsigned short Watch_agent::handle_event(unsigned int event_id, void* data)
{
    const auto before = subscriber_.state();
    switch (static_cast<MSG_TYPE>(event_id)) {
    case MSG_TYPE_SIP_REQUEST: on_request(*static_cast<SIPLIB_SIPConnection*>(data)); break;
    case MSG_TYPE_SIP_RESPONSE: on_response(*static_cast<SIPLIB_SIPConnection*>(data)); break;
    case static_cast<MSG_TYPE>(News::clock): events_.taken(News::clock); break;
    case static_cast<MSG_TYPE>(News::stop):
        events_.taken(News::stop);
        subscriber_.leave(Clock::now());
        break;
    default: return 0;
    }
    turn();
    tell_state(before);
    return 1;
}

// Sends what is due and sets the clock to what is next.
void Watch_agent::turn()
{
    const auto now = Clock::now();
    if (has_enough() || now >= end_at_) {
        end_at_ = Time::max();
        subscriber_.leave(now);
    }
    const auto kind = subscriber_.due(now);
    if (kind != Subscriber::Send::nothing) send_subscribe(kind);
    events_.wake_at(std::min(subscriber_.next_due(), end_at_));
}

// ---- SUBSCRIBE ----

bool Watch_agent::begin_dialog()
{
    if (!find_owner()) return false;
    dialog_ = Dialog();
    dialog_.call_id = random_tag() + "@127.0.0.1";
    dialog_.local_tag = random_tag();
    dialog_.target = with_transport(owner_, options_.transport);
    return true;
}

void Watch_agent::send_subscribe(Subscriber::Send kind)
{
    Subscriber::Response failure;
    failure.code = 503;
    if (kind == Subscriber::Send::subscribe && !begin_dialog())
        return subscriber_.on_response(failure, Clock::now());
    const std::string from = __ua_myuri + ";tag=" + dialog_.local_tag;
    const std::string tag = dialog_.remote_tag.empty() ? "" : ";tag=" + dialog_.remote_tag;
    const std::string to = "<" + owner_ + ">" + tag;
    const std::string target = "<" + dialog_.target + ">";
    SIPLIB_SIPObject* object = conn_open(__ua_connector, target.c_str(), __ua_myuri.c_str());
    SIPLIB_SIPClientConnection* connection = object != nullptr ? object->asClientConnection() : nullptr;
    if (connection == nullptr) return subscriber_.on_response(failure, Clock::now());
    IMS_Subscribe message(connection, from, to, contact_, options_.package.c_str(),
                          static_cast<int>(subscriber_.expires()), std::string(), options_.profile);
    message.set_header("Call-ID", dialog_.call_id.c_str());
    message.set_header("Accept", "application/xml");
    connection->setListener(&responses_);
    request_ = connection;
    if (message.send()) return;
    connection->setListener(nullptr);
    connection->close();
    request_ = nullptr;
    subscriber_.on_response(failure, Clock::now());
}

void Watch_agent::on_response(SIPLIB_SIPConnection& connection)
{
    if (&connection != request_) return; // of an earlier dialog
    Subscriber::Response response;
    response.code = IMS_Message(&connection).get_response();
    if (response.code < 200) return;
    response.expires = seconds_in(connection, "Expires");
    response.retry_after = seconds_in(connection, "Retry-After");
    response.min_expires = seconds_in(connection, "Min-Expires");
    if (response.code < 300) {
        dialog_.remote_tag = tag_of(header_of(connection, "To"));
        const std::string target = uri_of(header_of(connection, "Contact"));
        if (!target.empty()) dialog_.target = with_transport(target, options_.transport);
    } else {
        tell("answered", std::to_string(response.code) + " by " + owner_);
    }
    request_ = nullptr;
    connection.close();
    subscriber_.on_response(response, Clock::now());
}

// ---- NOTIFY ----

bool Watch_agent::is_ours(SIPLIB_SIPConnection& connection)
{
    if (!subscriber_.has_dialog() || header_of(connection, "Call-ID") != dialog_.call_id) return false;
    if (tag_of(header_of(connection, "To")) != dialog_.local_tag) return false;
    const std::string remote_tag = tag_of(header_of(connection, "From"));
    if (remote_tag.empty()) return false;
    if (dialog_.remote_tag.empty()) dialog_.remote_tag = remote_tag; // the NOTIFY overtook the 200
    Header_value event;
    return remote_tag == dialog_.remote_tag && parse_header_value(header_of(connection, "Event"), event) &&
           event.value == options_.package && event.parameter("id") == nullptr;
}

// The status to answer; the view is complete when it is 200.
int Watch_agent::take_notify(SIPLIB_SIPConnection& connection, Notify_view& view)
{
    if (!is_ours(connection)) return 481;
    const std::string cseq = header_of(connection, "CSeq");
    std::uint32_t number = 0;
    if (!parse_seconds(cseq.substr(0, cseq.find(' ')), number)) return 400;
    if (number <= dialog_.remote_cseq) return 500; // RFC 3261 12.2.2
    view.package = options_.package;
    if (!read_notify(connection, view)) return 400;
    dialog_.remote_cseq = number;
    return 200;
}

void Watch_agent::on_request(SIPLIB_SIPConnection& connection)
{
    IMS_Message message(&connection);
    if (message.is_method("ACK")) return;
    Notify_view view;
    const bool is_notify = message.is_method("NOTIFY");
    const int code = is_notify ? take_notify(connection, view) : 405;
    message.init_response(code);
    if (code == 405) message.set_header("Allow", "NOTIFY");
    message.send();
    if (code != 200) return;
    ++notifies_;
    tell(view);
    subscriber_.on_notify(view.subscription, Clock::now());
}

// ---- telling ----

void Watch_agent::tell(const std::string& what, const std::string& detail)
{
    const std::string line =
        options_.json ? print_json(what, detail, now_text()) : print_text(what, detail, now_text());
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void Watch_agent::tell(const Notify_view& view)
{
    const std::string line = options_.json ? print_json(view, now_text()) : print_text(view, now_text());
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void Watch_agent::tell_state(Subscriber::State before)
{
    const auto state = subscriber_.state();
    if (state == before) return;
    if (state == Subscriber::State::waiting) tell("waiting", "to subscribe again");
    if (state == Subscriber::State::active && before == Subscriber::State::asking)
        tell("subscribed", options_.package + " at " + owner_);
    if (state == Subscriber::State::over) {
        const int code = subscriber_.refused_with();
        if (code != 0)
            tell("refused", "status " + std::to_string(code));
        else
            tell("ended", std::to_string(notifies_) + " NOTIFYs");
    }
}
