#include "daemons/imsfwkd/document.h"

#include "daemons/imsfwkd/document_edit.h"

#include <cstring>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>
#include <new>

namespace imsfwkd {

namespace {

// Elementary steps of one evaluation: plenty for any path over the largest document, some 0.1 s at most.
constexpr unsigned long MAX_XPATH_STEPS = 1000000;

// libxml2 would print every error of every request; who asked hears of it in the answer.
void say_nothing(void*, xmlErrorPtr) {}
void print_nothing(void*, const char*, ...) {}

struct FreeContext {
    void operator()(xmlXPathContext* p) const { xmlXPathFreeContext(p); }
};
struct FreeResult {
    void operator()(xmlXPathObject* p) const { xmlXPathFreeObject(p); }
};

// A namespace node is no xmlNode inside and has no place to compare: it stands behind all others.
bool comes_before(xmlNode* a, xmlNode* b)
{
    if (a->type == XML_NAMESPACE_DECL) return false;
    return b->type == XML_NAMESPACE_DECL || xmlXPathCmpNodes(a, b) == 1;
}

xmlNode* first_in_order(const xmlNodeSet& nodes)
{
    xmlNode* first = nodes.nodeTab[0];
    for (int i = 1; i < nodes.nodeNr; ++i)
        if (comes_before(nodes.nodeTab[i], first)) first = nodes.nodeTab[i];
    return first;
}

// Runs `use(node)` on the first node while the result that may own it (a namespace node) is alive.
template <typename Use>
bool with_first_node(xmlDoc* doc, const std::string& xpath, Use use)
{
    if (xpath.size() > MAX_PATH || xpath.find('\0') != std::string::npos) return false;
    const std::unique_ptr<xmlXPathContext, FreeContext> context(xmlXPathNewContext(doc));
    if (!context) throw std::bad_alloc();
    context->error = say_nothing;
    context->opLimit = MAX_XPATH_STEPS;
    const std::unique_ptr<xmlXPathObject, FreeResult> result(
        xmlXPathEval(reinterpret_cast<const xmlChar*>(xpath.c_str()), context.get()));
    if (!result || result->type != XPATH_NODESET || xmlXPathNodeSetIsEmpty(result->nodesetval)) return false;
    return use(first_in_order(*result->nodesetval));
}

bool can_be_xml_text(const std::string& value)
{
    return value.find('\0') == std::string::npos &&
           xmlCheckUTF8(reinterpret_cast<const unsigned char*>(value.c_str())) == 1;
}

std::string text_of(xmlDoc* doc)
{
    xmlChar* bytes = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(doc, &bytes, &size, "UTF-8");
    if (bytes == nullptr) throw std::bad_alloc();
    std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    xmlFree(bytes);
    return text;
}

} // namespace

std::unique_ptr<Document> Document::parse(const std::string& text, std::string& why)
{
    if (text.size() > MAX_DOCUMENT) {
        why = "larger than " + std::to_string(MAX_DOCUMENT) + " bytes";
        return nullptr;
    }
    xmlSetStructuredErrorFunc(nullptr, say_nothing);
    xmlSetGenericErrorFunc(nullptr, print_nothing);
    Tree tree(xmlReadMemory(text.data(), static_cast<int>(text.size()), "document.xml", nullptr,
                            XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (!tree || xmlDocGetRootElement(tree.get()) == nullptr) {
        why = "not well-formed XML";
        return nullptr;
    }
    if (tree->intSubset != nullptr) {
        why = "a document type declaration is not allowed";
        return nullptr;
    }
    xmlXPathOrderDocElems(tree.get()); // makes comparing two nodes' order cheap
    return std::unique_ptr<Document>(new Document(std::move(tree)));
}

bool Document::get(const std::string& xpath, std::string& value) const
{
    return with_first_node(tree_.get(), xpath, [&value](xmlNode* node) {
        xmlChar* content = xmlNodeGetContent(node);
        value = content != nullptr ? reinterpret_cast<const char*>(content) : "";
        xmlFree(content);
        return true;
    });
}

// The proof of a change is that its text reads back: what XML cannot carry (control characters, say) or
// the parser would refuse (depth, size) is found here, before it could become the file.
std::string Document::with(const std::string& xpath, const std::string& value, std::string& why) const
{
    why = "the value is no XML text";
    if (!can_be_xml_text(value)) return "";
    const Tree copy(xmlCopyDoc(tree_.get(), 1));
    if (!copy) throw std::bad_alloc();
    bool there = false;
    const bool changed = with_first_node(copy.get(), xpath, [&](xmlNode* node) {
        there = true;
        return set_text(node, value);
    });
    why = there ? "the path names no text" : "there is nothing at the path, and it is no plain path of names";
    if (!changed && (there || !add_at(copy.get(), xpath, value))) return "";
    std::string text = text_of(copy.get());
    const auto again = parse(text, why);
    std::string read_back;
    if (!again) return "";
    if (again->get(xpath, read_back) && read_back == value) return text;
    why = "the value does not read back";
    return "";
}

const xmlNode* Document::root() const
{
    return xmlDocGetRootElement(tree_.get());
}

} // namespace imsfwkd
