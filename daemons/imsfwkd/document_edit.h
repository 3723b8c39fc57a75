// Changes to an XML tree: the text of a node, and elements added along a plain path.
//
// Thread   the one that owns the tree.
// Errors   false: the tree may hold a part of the change, and the caller throws it away. bad_alloc.
#ifndef IMSFWKD_DOCUMENT_EDIT_H_INCLUDED
#define IMSFWKD_DOCUMENT_EDIT_H_INCLUDED

#include <libxml/tree.h>
#include <string>

namespace imsfwkd {

// Makes `value` (UTF-8 without zeros) the text of `node`. False unless it is an attribute, a text, or an
// element without elements inside: a SET never wipes out a subtree.
bool set_text(xmlNode* node, const std::string& value);

// Adds what is missing of `path`, /root/name/name or /root/name/@name, and gives its end the text `value`.
// Names are ASCII names without a prefix; the first is the root's own. New elements are indented like
// their siblings. False when the path is another one or leads below an element that holds text.
bool add_at(xmlDoc* doc, const std::string& path, const std::string& value);

} // namespace imsfwkd

#endif
