// NOTIFY (RFC 6665): tells a subscriber the state of an event package, in an XML document.
//
// Thread   as IMS_Message.
// Memory   an outgoing message borrows the caller's document until send() has returned. A message made from
//          a received connection owns the document it read and deletes it.
#ifndef IMS_NOTIFY_H_INCLUDED
#define IMS_NOTIFY_H_INCLUDED

#include "messages/IMS_Message.h"
#include "xml/XmlData.h"

// A NOTIFY with its document.
class IMSUA_API IMS_Notify : public IMS_Message {
public:
    XmlData* body; // may be null
    bool is_outgoing;

    // Starts a NOTIFY on `conn` and sets Event, Expires (seconds), Subscription-State, for the event
    // "kiv-link-event" also Kiv-Profile-ID, and Content-Type, in this order. `body` is borrowed.
    IMS_Notify(SIPLIB_SIPClientConnection* conn, const char* from, const char* to, const char* contact,
               const char* event, const char* content_type, XmlData* body, const char* subscription_state,
               int expires, int profile);
    // Wraps a received NOTIFY and reads no body: the kinds do.
    explicit IMS_Notify(SIPLIB_SIPConnection* conn);
    ~IMS_Notify() override;

    // Encodes the document of an outgoing message into the body, then sends. False, and nothing sent, when
    // it cannot be encoded ("Error encoding XML").
    bool send() override;

    // Parses body->buffer into the document; logs "Successfully parsed XML" or "Error parsing XML".
    void parse();
};

#endif
