#include "xml/fields.h"

#include "baseuafw/baseuafw.h"
#include "include/text.h"

#include <libxml/parser.h>

namespace imsua::xml {

namespace {

enum : int { DEEPEST = 8 };

const xmlChar* chars(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

} // namespace

xmlNodePtr Element::add_to(xmlNodePtr parent) const
{
    const std::string digits = holds_ == NUMBER ? IMS_utility::itostring(number_) : std::string();
    const std::string* text = holds_ == NUMBER ? &digits : text_;
    // Not the escaping variant: a field's text goes out as it stands.
    return xmlNewChild(parent, nullptr, chars(name_), text ? chars(text->c_str()) : nullptr);
}

xmlDocPtr build(const char* root, const Element* rows, std::size_t count)
{
    XmlSection::forget_errors();
    xmlNodePtr path[DEEPEST + 1] = {}; // path[d]: the element that rows of depth d + 1 go into
    xmlDocPtr doc = xmlNewDoc(chars("1.0"));
    path[0] = doc ? xmlNewNode(nullptr, chars(root)) : nullptr;
    if (path[0]) xmlDocSetRootElement(doc, path[0]);
    bool whole = path[0] != nullptr;
    for (std::size_t i = 0; whole && i < count; ++i) {
        if (rows[i].is_left_out()) continue;
        const int depth = rows[i].depth();
        whole = depth >= 1 && depth <= DEEPEST && path[depth - 1];
        if (whole) path[depth] = rows[i].add_to(path[depth - 1]);
        whole = whole && path[depth];
    }
    if (whole && !XmlSection::ran_out_of_memory()) return doc;
    xmlFreeDoc(doc);
    return nullptr;
}

void Lookup::read(xmlDocPtr doc) const
{
    if (text_) {
        look_up(doc, expression_, *text_);
        return;
    }
    std::string digits;
    look_up(doc, expression_, digits);
    if (!digits.empty()) *number_ = IMS_atoi(digits.c_str());
}

ParsedText::ParsedText(const char* announcement, const char* buffer, int length, Options options,
                       const char* line_end)
    : section_(XmlSection::Kind::work)
{
    IMS_log::loginfo(5, "parseXml", "%s %p %d%s", announcement, static_cast<const void*>(buffer), length,
                     line_end);
    if (!buffer) {
        IMS_log::loginfo(4, "parseXml", "NULL buffer cannot be parsed%s", line_end);
        return;
    }
    XmlSection::forget_errors();
    tree_ = xmlReadMemory(buffer, length, nullptr, nullptr, options);
    if (tree_ && XmlSection::ran_out_of_memory()) { // a part of the text alone
        xmlFreeDoc(tree_);
        tree_ = nullptr;
    }
    if (!tree_) IMS_log::loginfo(4, "parseXml", "Could not create DOM%s", line_end);
}

ParsedText::~ParsedText()
{
    if (!tree_) return;
    xmlFreeDoc(tree_);
    section_.end_with(XmlSection::End::parsed);
}

int ParsedText::read(const Lookup* rows, std::size_t count) const
{
    return guarded("parseXml", [&] {
        for (std::size_t i = 0; i < count; ++i)
            rows[i].read(tree_);
        return 0;
    });
}

} // namespace imsua::xml
