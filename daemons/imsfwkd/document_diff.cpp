#include "daemons/imsfwkd/document_diff.h"

#include <map>
#include <utility>

namespace imsfwkd {

namespace {

using Children = std::vector<const xmlNode*>;

std::string name_of(const xmlChar* name, const xmlNs* ns)
{
    std::string local = reinterpret_cast<const char*>(name);
    if (ns == nullptr || ns->prefix == nullptr) return local;
    return reinterpret_cast<const char*>(ns->prefix) + (":" + local);
}

// A namespace is part of what an element is called, but not of the path that people read.
using Key = std::pair<std::string, std::string>;

Key key_of(const xmlChar* name, const xmlNs* ns)
{
    const bool has_uri = ns != nullptr && ns->href != nullptr;
    return {name_of(name, ns), has_uri ? reinterpret_cast<const char*>(ns->href) : ""};
}

std::map<Key, Children> elements_of(const xmlNode* parent, std::vector<Key>& order)
{
    std::map<Key, Children> elements;
    for (const xmlNode* child = parent->children; child != nullptr; child = child->next) {
        if (child->type != XML_ELEMENT_NODE) continue;
        const Key key = key_of(child->name, child->ns);
        Children& same = elements[key];
        if (same.empty()) order.push_back(key);
        same.push_back(child);
    }
    return elements;
}

std::string own_text(const xmlNode* node)
{
    std::string text;
    for (const xmlNode* child = node->children; child != nullptr; child = child->next)
        if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE)
            text += reinterpret_cast<const char*>(child->content);
    return text;
}

std::map<Key, std::string> attributes_of(const xmlNode* element)
{
    std::map<Key, std::string> values;
    for (const xmlAttr* a = element->properties; a != nullptr; a = a->next)
        values[key_of(a->name, a->ns)] = own_text(reinterpret_cast<const xmlNode*>(a));
    return values;
}

// Walks two trees side by side. The parser bounds the depth (256), and thereby the recursion.
class Comparison {
public:
    std::vector<std::string> take() { return paths_.size() > MAX_CHANGED_PATHS ? everything() : paths_; }

    void elements(const xmlNode& before, const xmlNode& after, const std::string& path)
    {
        if (is_full()) return;
        attributes(before, after, path);
        std::vector<Key> order;
        auto new_ones = elements_of(&after, order);
        auto old_ones = elements_of(&before, order);
        // An element's own text is what it says, as long as it holds no elements.
        const bool was_leaf = old_ones.empty();
        const bool is_leaf = new_ones.empty();
        if (was_leaf != is_leaf || (is_leaf && own_text(&before) != own_text(&after))) report(path);
        for (const Key& key : order) // one that both have stands in it twice, the second time with nothing
            siblings(std::exchange(old_ones[key], {}), std::exchange(new_ones[key], {}),
                     path + "/" + key.first);
    }

private:
    bool is_full() const { return paths_.size() > MAX_CHANGED_PATHS; }
    void report(const std::string& path)
    {
        if (!is_full()) paths_.push_back(path);
    }

    void siblings(const Children& before, const Children& after, const std::string& path)
    {
        const std::size_t both = std::min(before.size(), after.size());
        const std::size_t all = std::max(before.size(), after.size());
        for (std::size_t i = 0; i < all && !is_full(); ++i) {
            const std::string numbered = all == 1 ? path : path + "[" + std::to_string(i + 1) + "]";
            if (i < both)
                elements(*before[i], *after[i], numbered);
            else
                subtree(i < after.size() ? *after[i] : *before[i], numbered);
        }
    }

    // Everything in an element that only one version has.
    void subtree(const xmlNode& element, const std::string& path)
    {
        if (is_full()) return;
        for (const auto& attribute : attributes_of(&element))
            report(path + "/@" + attribute.first.first);
        std::vector<Key> order;
        const auto children = elements_of(&element, order);
        if (children.empty()) report(path);
        for (const Key& key : order)
            siblings({}, children.at(key), path + "/" + key.first);
    }

    void attributes(const xmlNode& before, const xmlNode& after, const std::string& path)
    {
        const auto old_ones = attributes_of(&before);
        const auto new_ones = attributes_of(&after);
        for (const auto& a : new_ones) {
            const auto old = old_ones.find(a.first);
            if (old == old_ones.end() || old->second != a.second) report(path + "/@" + a.first.first);
        }
        for (const auto& a : old_ones)
            if (new_ones.count(a.first) == 0) report(path + "/@" + a.first.first);
    }

    std::vector<std::string> paths_;
};

} // namespace

std::vector<std::string> changed_paths(const Document& before, const Document& after)
{
    const xmlNode& old_root = *before.root();
    const xmlNode& new_root = *after.root();
    if (key_of(old_root.name, old_root.ns) != key_of(new_root.name, new_root.ns)) return everything();
    Comparison comparison;
    comparison.elements(old_root, new_root, "/" + name_of(new_root.name, new_root.ns));
    return comparison.take();
}

} // namespace imsfwkd
