#include "xml/RegUaNotifyData.h"

#include "xml/fields.h"

using imsua::xml::Lookup;
using imsua::xml::ParsedText;

RegUaNotifyData::RegUaNotifyData() = default;

RegUaNotifyData::~RegUaNotifyData() = default;

int RegUaNotifyData::parseXml()
{
    ParsedText text("inside REG_UA::parseXml", buffer, buffer_length, ParsedText::RECOVER);
    if (!text) return -1;
    const Lookup fields[] = {
        {"//registration", registration},
        {"//aor", aor},
        {"//contact", contact},
        {"//state", state},
        {"//xmlns", xmlns},
        {"//version", version},
        {"//duration-registered", duration_registered},
        {"//uri", uri},
        {"//event", event},
    };
    return text.read(fields);
}
