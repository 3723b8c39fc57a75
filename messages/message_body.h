// How a message carries a document: into an outgoing body, and out of a received one. Shared by the message
// families that have a `body` and an `is_outgoing`; internal to messages/.
#ifndef MESSAGE_BODY_H_INCLUDED
#define MESSAGE_BODY_H_INCLUDED

#include "include/ims_types.h"
#include "messages/IMS_Message.h"
#include "xml/XmlData.h"

#include <new>

namespace imsua {

// Encodes `body` into `message`, if there is one. False when it cannot be encoded: nothing may be sent then.
bool put_body(IMS_Message& message, XmlData* body);

// Parses `body` and logs the outcome; null is left alone.
void parse_body(XmlData* body);

// For received constructors: reads what `message` carries, at most BODY_BUFFER_SIZE bytes of it, into a new
// Document, which the message owns. An empty body leaves message.body null; one that cannot be parsed leaves
// the document as far as the parse got.
template <typename Document, typename Message>
void read_body(Message& message)
{
    char text[BODY_BUFFER_SIZE] = {}; // a failing connection may leave it as it is
    int length = BODY_BUFFER_SIZE;
    message.get_body(text, length);
    if (length == 0) return;
    message.body = new (std::nothrow) Document;
    if (!message.body) return;
    message.body->buffer = text;
    message.body->buffer_length = length;
    message.parse();
    message.body->buffer = nullptr; // the text ends with this call
    message.body->buffer_length = 0;
}

} // namespace imsua

#endif
