// REGISTER (RFC 3261 section 10): a registration that carries a document.
//
// Thread   as IMS_Message.
// Memory   an outgoing message borrows the caller's document until send() has returned. A message made from
//          a received connection owns the document it read and deletes it.
#ifndef IMS_REG_MESSAGE_H_INCLUDED
#define IMS_REG_MESSAGE_H_INCLUDED

#include "messages/IMS_Message.h"
#include "xml/XmlData.h"

// A REGISTER with its document.
class IMSUA_API IMS_reg_message : public IMS_Message {
public:
    XmlData* body; // may be null
    bool is_outgoing;

    // Starts a REGISTER on `conn`, without a route, and sets Content-Type. `body` is borrowed. Expires, or a
    // Contact with an expires parameter, is the caller's to set.
    IMS_reg_message(SIPLIB_SIPClientConnection* conn, const char* from, const char* to, const char* contact,
                    const char* content_type, XmlData* body);
    // Wraps a received REGISTER and reads no body: the kinds do.
    explicit IMS_reg_message(SIPLIB_SIPConnection* conn);
    ~IMS_reg_message() override;

    // Encodes the document of an outgoing message into the body, then sends. False, and nothing sent, when
    // it cannot be encoded ("Error encoding XML").
    bool send() override;

    // Parses body->buffer into the document; logs "Successfully parsed XML" or "Error parsing XML".
    void parse();
};

#endif
