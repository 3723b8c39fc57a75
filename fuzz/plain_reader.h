// A second reader of documents, to compare the library's with: it walks the tree, where the library evaluates
// XPath expressions and asks libxml2 for texts.
//
// An element counts by its name when it is in no namespace; entities are expanded where they are referred to.
// Elements inside an entity's text are not looked for. A document type that holds other declarations than
// entities is not compared: XPath finds elements inside entity declarations then.
#ifndef FUZZ_PLAIN_READER_H_INCLUDED
#define FUZZ_PLAIN_READER_H_INCLUDED

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

namespace fuzz {

class PlainReader {
public:
    PlainReader(const std::string& text, int options)
        : doc_(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, options))
    {
    }
    ~PlainReader() { xmlFreeDoc(doc_); }
    PlainReader(const PlainReader&) = delete;
    PlainReader& operator=(const PlainReader&) = delete;

    bool readable() const { return doc_ != nullptr; }
    bool comparable() const
    {
        if (!doc_ || doc_->extSubset) return false;
        if (!doc_->intSubset) return true;
        for (const xmlNode* node = doc_->intSubset->children; node; node = node->next)
            if (node->type != XML_ENTITY_DECL) return false;
        return true;
    }
    xmlNode* root() const { return xmlDocGetRootElement(doc_); }

    // Puts the text of the first element `name` (with a parent `parent`, if one is given) into `out`, which
    // is left when there is none.
    void read(const char* name, std::string& out, const char* parent = nullptr) const
    {
        const xmlNode* found = find(doc_ ? doc_->children : nullptr, name, parent);
        if (!found) return;
        out.clear();
        bool any = false;
        std::string text;
        own_text(found->children, text, any);
        if (any) out = trimmed(text.c_str());
    }
    void read(const char* name, int& out) const
    {
        std::string text;
        read(name, text);
        if (!text.empty()) out = number(text);
    }

    // Leading digits, kept within int.
    static int number(const std::string& text)
    {
        errno = 0;
        const long long value = std::strtoll(text.c_str(), nullptr, 10);
        return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
    }

private:
    static bool is(const xmlNode* node, const char* name)
    {
        return node && node->type == XML_ELEMENT_NODE && !node->ns &&
               std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
    }
    // Without recursion: a recovered tree may be deep.
    static const xmlNode* find(const xmlNode* node, const char* name, const char* parent)
    {
        while (node) {
            if (is(node, name) && (!parent || is(node->parent, parent))) return node;
            if (node->type == XML_ELEMENT_NODE && node->children) {
                node = node->children;
                continue;
            }
            while (node && !node->next)
                node = node->parent && node->parent->type == XML_ELEMENT_NODE ? node->parent : nullptr;
            if (node) node = node->next;
        }
        return nullptr;
    }
    void own_text(const xmlNode* list, std::string& out, bool& any) const
    {
        for (; list; list = list->next) {
            if (list->type == XML_TEXT_NODE || list->type == XML_CDATA_SECTION_NODE) {
                if (!list->content) continue;
                any = true;
                out += reinterpret_cast<const char*>(list->content);
            } else if (list->type == XML_ENTITY_REF_NODE) {
                entity_text(list, out, any);
            }
        }
    }
    void entity_text(const xmlNode* reference, std::string& out, bool& any) const
    {
        const xmlEntity* entity = xmlGetDocEntity(doc_, reference->name);
        if (entity) {
            own_text(entity->children, out, any);
        } else if (reference->content) {
            any = true;
            out += reinterpret_cast<const char*>(reference->content);
        }
    }
    static std::string trimmed(const std::string& text)
    {
        const std::size_t from = text.find_first_not_of(" \t\r\n");
        if (from == std::string::npos) return "";
        return text.substr(from, text.find_last_not_of(" \t\r\n") - from + 1);
    }

    xmlDoc* doc_;
};

} // namespace fuzz

#endif
