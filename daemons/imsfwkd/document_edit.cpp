#include "daemons/imsfwkd/document_edit.h"

#include <algorithm>
#include <new>
#include <vector>

namespace imsfwkd {

namespace {

const xmlChar* xml(const std::string& text)
{
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

template <typename T>
T* demand(T* made)
{
    if (made == nullptr) throw std::bad_alloc();
    return made;
}

bool is_letter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool is_name(const std::string& text)
{
    return !text.empty() && is_letter(text[0]) && std::all_of(text.begin(), text.end(), [](char c) {
        return is_letter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
    });
}

// "/a/b/@c" in pieces {"a", "b", "@c"}; empty when it is not such a path.
std::vector<std::string> names_of(const std::string& path)
{
    std::vector<std::string> names;
    for (std::size_t at = 0; at < path.size();) {
        if (path[at] != '/') return {};
        const std::size_t end = std::min(path.find('/', at + 1), path.size());
        names.push_back(path.substr(at + 1, end - at - 1));
        at = end;
        const bool attribute = names.size() > 1 && at == path.size() && names.back()[0] == '@';
        if (!is_name(attribute ? names.back().substr(1) : names.back())) return {};
    }
    return names;
}

bool is_called(const xmlNode* node, const std::string& name)
{
    return node->type == XML_ELEMENT_NODE && node->ns == nullptr && xmlStrEqual(node->name, xml(name)) == 1;
}

xmlNode* child_called(xmlNode* parent, const std::string& name)
{
    xmlNode* child = parent->children;
    while (child != nullptr && !is_called(child, name))
        child = child->next;
    return child;
}

bool holds_text(const xmlNode* element)
{
    for (xmlNode* child = element->children; child != nullptr; child = child->next)
        if ((child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) &&
            xmlIsBlankNode(child) == 0)
            return true;
    return false;
}

void append(xmlNode* element, const std::string& value)
{
    xmlNodeAddContentLen(element, xml(value), static_cast<int>(value.size()));
}

// The new element stands before the blank that ends its parent, after a blank like the first one's.
xmlNode* add_child(xmlNode* parent, const std::string& name)
{
    xmlNode* const child = demand(xmlNewDocNode(parent->doc, nullptr, xml(name), nullptr));
    xmlNode* const first = parent->children;
    xmlNode* const last = parent->last;
    if (first == last || xmlIsBlankNode(first) == 0 || xmlIsBlankNode(last) == 0)
        return xmlAddChild(parent, child);
    xmlAddPrevSibling(last, child);
    xmlAddPrevSibling(child, demand(xmlCopyNode(first, 0)));
    return child;
}

} // namespace

bool set_text(xmlNode* node, const std::string& value)
{
    switch (node->type) {
    case XML_ELEMENT_NODE:
        if (xmlChildElementCount(node) != 0) return false;
        xmlNodeSetContent(node, nullptr);
        append(node, value);
        return true;
    case XML_ATTRIBUTE_NODE: return xmlSetNsProp(node->parent, node->ns, node->name, xml(value)) != nullptr;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE: xmlNodeSetContent(node, xml(value)); return true;
    default: return false;
    }
}

bool add_at(xmlDoc* doc, const std::string& path, const std::string& value)
{
    const std::vector<std::string> names = names_of(path);
    xmlNode* node = xmlDocGetRootElement(doc);
    if (names.empty() || node == nullptr || !is_called(node, names[0])) return false;
    for (std::size_t i = 1; i < names.size(); ++i) {
        if (names[i][0] == '@')
            return xmlSetNsProp(node, nullptr, xml(names[i].substr(1)), xml(value)) != nullptr;
        xmlNode* const child = child_called(node, names[i]);
        if (child == nullptr && holds_text(node)) return false;
        node = child != nullptr ? child : add_child(node, names[i]);
    }
    append(node, value);
    return true;
}

} // namespace imsfwkd
