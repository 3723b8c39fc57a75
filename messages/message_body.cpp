#include "messages/message_body.h"

#include "baseuafw/baseuafw.h"

namespace imsua {

bool put_body(IMS_Message& message, XmlData* body)
{
    if (!body) return true;
    if (body->encodeXml() != 0) {
        IMS_log::loginfo(4, "send", "Error encoding XML");
        return false;
    }
    IMS_log::loginfo(5, "send", "Successfully encoded XML...");
    message.set_body(body->buffer, body->buffer_length);
    return true;
}

void parse_body(XmlData* body)
{
    if (!body) return;
    if (body->parseXml() != 0)
        IMS_log::loginfo(4, "parse", "Error parsing XML");
    else
        IMS_log::loginfo(5, "parse", "Successfully parsed XML");
}

} // namespace imsua
