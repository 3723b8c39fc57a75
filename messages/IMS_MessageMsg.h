// MESSAGE (RFC 3428): hands one document to another agent. It has neither Contact nor route.
//
// Thread   as IMS_Message.
// Memory   an outgoing message borrows the caller's document until send() has returned. A message made from
//          a received connection owns the document it read and deletes it.
#ifndef IMS_MESSAGEMSG_H_INCLUDED
#define IMS_MESSAGEMSG_H_INCLUDED

#include "messages/IMS_Message.h"
#include "xml/XmlData.h"

// A MESSAGE with its document.
class IMSUA_API IMS_MessageMsg : public IMS_Message {
public:
    XmlData* body; // may be null
    bool is_outgoing;

    // Starts a MESSAGE on `conn` and sets Content-Type. `body` is borrowed.
    IMS_MessageMsg(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                   const char* content_type, XmlData* body);
    // Wraps a received MESSAGE and reads no body: the kinds do.
    explicit IMS_MessageMsg(SIPLIB_SIPConnection* conn);
    ~IMS_MessageMsg() override;

    // Encodes the document of an outgoing message into the body, then sends. False, and nothing sent, when
    // it cannot be encoded ("Error encoding XML").
    bool send() override;

    // Parses body->buffer into the document; logs "Successfully parsed XML" or "Error parsing XML".
    void parse();
};

#endif
