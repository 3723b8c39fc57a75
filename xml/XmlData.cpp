#include "xml/XmlData.h"

#include "baseuafw/baseuafw.h"
#include "include/text.h"
#include "xml/fields.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <cstring>
#include <memory>
#include <new>

using imsua::shown;

namespace {

enum : int {
    OLDEST_LIBXML2 = 20616, // 2.6.16
    DEEPEST_ENTITY = 64     // libxml2 refuses more than 40, but for a text that it recovers
};

struct FreeText {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
struct FreeFound {
    void operator()(xmlXPathObjectPtr found) const { xmlXPathFreeObject(found); }
};

const char* plain(const xmlChar* text)
{
    return reinterpret_cast<const char*>(text);
}

// The nodes that `xpath` finds in `doc`, or null with a line that says why. Free with xmlXPathFreeObject.
xmlXPathObjectPtr evaluate(xmlDocPtr doc, const char* xpath)
{
    xmlXPathContextPtr context = xmlXPathNewContext(doc);
    if (!context) {
        IMS_log::loginfo(4, "get_value", "path_context is null");
        return nullptr;
    }
    const xmlChar* expression = reinterpret_cast<const xmlChar*>(xpath);
    xmlXPathObjectPtr found = xpath ? xmlXPathEvalExpression(expression, context) : nullptr;
    xmlXPathFreeContext(context);
    if (!found) IMS_log::loginfo(4, "get_value", "head_path_ptr is null for %s", shown(xpath));
    return found;
}

bool append(const xmlChar* text, std::string& out)
{
    if (text) out += plain(text);
    return text != nullptr;
}

// What xmlNodeListGetString(doc, list, 1) gives, behind `out`; false when that is null. libxml2's own
// measures all that it has so far at each reference, which a text of 16 KiB turns into half a minute of a
// small processor.
bool append_expanded(xmlDocPtr doc, const xmlNode* list, std::string& out, int depth = 0)
{
    bool any = false;
    for (; list; list = list->next) {
        if (list->type == XML_TEXT_NODE || list->type == XML_CDATA_SECTION_NODE)
            any = append(list->content, out) || any;
        if (list->type != XML_ENTITY_REF_NODE) continue;
        const xmlEntity* entity = xmlGetDocEntity(doc, list->name);
        if (!entity)
            any = append(list->content, out) || any;
        else if (depth < DEEPEST_ENTITY)
            any = append_expanded(doc, entity->children, out, depth + 1) || any;
    }
    return any;
}

bool has_references(const xmlNode* list)
{
    while (list && list->type != XML_ENTITY_REF_NODE)
        list = list->next;
    return list != nullptr;
}

// The own text of `node`; false when it has none. A namespace node is not an xmlNode and has no children.
bool own_text(xmlDocPtr doc, xmlNodePtr node, std::string& out)
{
    if (!node || node->type == XML_NAMESPACE_DECL) return false;
    if (has_references(node->children)) return append_expanded(doc, node->children, out);
    const std::unique_ptr<xmlChar, FreeText> text(xmlNodeListGetString(doc, node->children, 1));
    return append(text.get(), out);
}

bool first_text(xmlDocPtr doc, const char* xpath, xmlNodeSetPtr nodes, std::string& out)
{
    if (!nodes || nodes->nodeNr == 0 || !nodes->nodeTab) {
        IMS_log::loginfo(4, "get_value", "xmlXPathNodeSetIsEmpty for %s", xpath);
        return false;
    }
    out.clear();
    if (nodes->nodeNr < 1) {
        IMS_log::loginfo(4, "get_value", "nodeNr is less than 1 for %s", xpath);
        return false;
    }
    if (!own_text(doc, nodes->nodeTab[0], out)) {
        IMS_log::loginfo(4, "get_value", "val_cstr is NULL for %s", xpath);
        return false;
    }
    IMS_utility::skipspaces(out);
    IMS_log::loginfo(5, "get_value", "expr=%s value =%s", xpath, out.c_str());
    return true;
}

} // namespace

XmlData::XmlData() : encoded_buffer(nullptr), buffer(nullptr), buffer_length(0)
{
    XmlSection section(XmlSection::Kind::work);
    xmlCheckVersion(OLDEST_LIBXML2);
}

XmlData::~XmlData() = default;

int XmlData::parseXml()
{
    return -1;
}

int XmlData::encodeXml()
{
    return -1;
}

bool XmlData::get_value(xmlDocPtr doc, const char* xpath, std::string& out)
{
    bool found = false;
    if (imsua::while_memory_lasts([&] { found = imsua::xml::look_up(doc, xpath, out); })) return found;
    out.clear();
    IMS_log::loginfo(3, "get_value", "out of memory");
    return false;
}

bool imsua::xml::look_up(xmlDocPtr doc, const char* xpath, std::string& out)
{
    if (!doc) {
        IMS_log::loginfo(4, "get_value", "doc_ptr is null");
        return false;
    }
    XmlSection section(XmlSection::Kind::lookup);
    const std::unique_ptr<xmlXPathObject, FreeFound> found(evaluate(doc, xpath));
    return found && first_text(doc, xpath, found->nodesetval, out);
}

int XmlData::publish(xmlDocPtr doc)
{
    if (!doc) return -1;
    XmlSection section(XmlSection::Kind::work);
    XmlSection::forget_errors();
    xmlChar* text = nullptr;
    int length = 0;
    xmlDocDumpFormatMemoryEnc(doc, &text, &length, "UTF-8", 1);
    xmlFreeDoc(doc);
    if (XmlSection::ran_out_of_memory()) {
        xmlFree(text);
        text = nullptr;
    }
    const int status = text ? keep(text, length) : -1;
    section.end_with(XmlSection::End::encoded);
    return status;
}

// One document may be encoded for many receivers: an identical text must not grow anything, and a text that
// somebody may still point at must not vanish.
int XmlData::keep(xmlChar* text, int length)
{
    if (encoded_buffer && std::strcmp(plain(encoded_buffer), plain(text)) == 0) {
        xmlFree(text);
    } else {
        if (encoded_buffer) {
            try {
                retired_.push_back(encoded_buffer);
            } catch (const std::bad_alloc&) {
                xmlFree(text);
                return -1;
            }
        }
        encoded_buffer = text;
    }
    buffer = reinterpret_cast<char*>(encoded_buffer);
    buffer_length = length;
    return 0;
}

void XmlData::release_encoded()
{
    for (xmlChar* earlier : retired_) {
        if (buffer == reinterpret_cast<char*>(earlier)) buffer = nullptr;
        xmlFree(earlier);
    }
    retired_.clear();
    if (encoded_buffer) {
        if (buffer == reinterpret_cast<char*>(encoded_buffer)) buffer = nullptr;
        xmlFree(encoded_buffer);
    }
    encoded_buffer = nullptr;
    if (!buffer) buffer_length = 0;
}
