// SUBSCRIBE (RFC 6665): asks for the state of an event package. It carries no body.
//
// Thread, Memory   as IMS_Message.
#ifndef IMS_SUBSCRIBE_H_INCLUDED
#define IMS_SUBSCRIBE_H_INCLUDED

#include "messages/IMS_Message.h"

// A SUBSCRIBE to any package.
class IMSUA_API IMS_Subscribe : public IMS_Message {
public:
    // Starts a SUBSCRIBE on `conn` (next hop from `route` if it is not null or empty) and sets Event,
    // Expires (seconds) and, for the event "kiv-link-avail-event" only, Kiv-Profile-ID.
    IMS_Subscribe(SIPLIB_SIPClientConnection* conn, const char* from, const char* to, const char* contact,
                  const char* event, int expires, const char* route, int profile);
    IMS_Subscribe(SIPLIB_SIPClientConnection* conn, const std::string& from, const std::string& to,
                  const std::string& contact, const char* event, int expires, const std::string& route,
                  int profile);
    // Wraps a received SUBSCRIBE.
    explicit IMS_Subscribe(SIPLIB_SIPConnection* conn);
    ~IMS_Subscribe() override;

    // Each sets one header; with a null connection they do nothing, without a line.
    void set_event(const char* event);
    void set_expires(int expires); // seconds; 0 ends a subscription
    void set_profile(int profile);

private:
    // The headers that name the package, in order.
    void set_package(const char* event, int expires, int profile);
};

#endif
