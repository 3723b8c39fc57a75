// What a NOTIFY says, ready to be shown.
//
// Thread   any; plain values.
#ifndef IMSWATCH_NOTIFY_VIEW_H_INCLUDED
#define IMSWATCH_NOTIFY_VIEW_H_INCLUDED

#include "tools/imswatch/subscriber.h"

#include <string>

struct Notify_view {
    std::string package;
    Subscriber::Notified subscription;
    std::string profile_header; // Kiv-Profile-ID; "" without one

    enum class Body { none, link, access, unknown } kind = Body::none;
    std::string raw; // an unknown body as it came, printable characters only

    // link: one network link of the device
    std::string profile_name;
    int profile_id = 0;
    int reference = 0;
    std::string name, mac, ip_address, status, cause;
    // link and access: how the network is reached
    std::string network, access_type, access_point;
};

// Taken apart: the Subscription-State header. False when it is absent or broken.
bool parse_subscription_state(const std::string& header, Subscriber::Notified& out);

// One line without line feed. `time` is shown as it is.
std::string print_text(const Notify_view& view, const std::string& time);
std::string print_json(const Notify_view& view, const std::string& time);

// One line about the subscription itself: `what` is "subscribed", "ended", ...
std::string print_text(const std::string& what, const std::string& detail, const std::string& time);
std::string print_json(const std::string& what, const std::string& detail, const std::string& time);

#endif
