// One configuration document: an XML tree that is read by XPath and changed by making a new text.
//
// Thread   one at a time (libxml2's trees).
// Memory   a document owns its tree; texts over MAX_DOCUMENT bytes are refused.
// Errors   a failure fills `why` with words for the log; nothing throws but bad_alloc, nothing logs.
//
// The files are the administrator's, but nothing in them is trusted: no document type declaration (so no
// entity can multiply), no network, the parser's own depth limit, and a bound on the work of one path.
#ifndef IMSFWKD_DOCUMENT_H_INCLUDED
#define IMSFWKD_DOCUMENT_H_INCLUDED

#include <cstddef>
#include <libxml/tree.h>
#include <memory>
#include <string>

namespace imsfwkd {

constexpr std::size_t MAX_DOCUMENT = 256 * 1024; // bytes of one file
constexpr std::size_t MAX_PATH = 1024;           // bytes of one XPath expression

class Document {
public:
    // Null when `text` is not a well-formed document within the limits.
    static std::unique_ptr<Document> parse(const std::string& text, std::string& why);

    // The text of the first node, in document order, that `xpath` gives: all text inside it, as it stands.
    // False, with `value` unchanged: no node, no valid expression, or one that yields no nodes.
    bool get(const std::string& xpath, std::string& value) const;

    // The document's text with `value` at `xpath`: in the first node that it gives, which is an attribute,
    // a text or an element without elements inside. When it gives none and is a plain path of names,
    // /a/b/c or /a/b/@c, below the document's own root, what is missing is added. "" on failure.
    std::string with(const std::string& xpath, const std::string& value, std::string& why) const;

    const xmlNode* root() const; // never null; lives as long as the document

private:
    struct FreeTree {
        void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
    };
    using Tree = std::unique_ptr<xmlDoc, FreeTree>;
    explicit Document(Tree tree) : tree_(std::move(tree)) {}

    Tree tree_;
};

} // namespace imsfwkd

#endif
