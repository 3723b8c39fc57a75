// How a document is written down: as the table of its elements and the table of its look-ups.
//
//     const Element tree[] = {                     const Lookup fields[] = {
//         {1, "profile-info"},                         {"//name", name},
//         {2, "name", name},                           {"//kiv-profile-id", profile_id},
//         {2, "kiv-profile-id", profile_id},           {"//ip-address", device.ip_address},
//     };                                           };
//
// Two tables, because what is read is not what is written, nor in the same order. Adding a document means
// adding rows. Internal to xml/.
//
// Thread   as XmlData.
// Memory   rows borrow the names and the fields they point at; tables live on the stack of one call.
#ifndef XML_FIELDS_H_INCLUDED
#define XML_FIELDS_H_INCLUDED

#include "baseuafw/baseuafw.h"
#include "include/while_memory_lasts.h"
#include "xml/XmlSection.h"

#include <libxml/tree.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace imsua::xml {

// What `work` returns, 0 or -1; -1 and a level-3 line under `operation` when it runs out of memory.
template <typename Work>
int guarded(const char* operation, Work work)
{
    int status = -1;
    if (while_memory_lasts([&] { status = work(); })) return status;
    IMS_log::loginfo(3, operation, "out of memory");
    return -1;
}

// XmlData::get_value, for callers that have to know when memory runs out: throws bad_alloc then.
bool look_up(xmlDocPtr doc, const char* xpath, std::string& out);

// One element to write. `depth` 1 is a child of the root; an element deeper than the one before it is that
// one's child, also when that one has a text. It holds a text, a number in decimal, or nothing of its own.
class Element {
public:
    enum Written { ALWAYS, UNLESS_EMPTY }; // also when its text is empty, or only when there is one

    Element(int depth, const char* name) : name_(name), depth_(depth) {}
    Element(int depth, const char* name, const std::string& text, Written written = ALWAYS)
        : name_(name), text_(&text), depth_(depth), written_(written)
    {
    }
    // A text that is made for the row alone would be gone before it is written.
    Element(int depth, const char* name, std::string&& text, Written written = ALWAYS) = delete;
    Element(int depth, const char* name, std::int32_t number)
        : name_(name), depth_(depth), holds_(NUMBER), number_(number)
    {
    }

    int depth() const { return depth_; }
    bool is_left_out() const { return written_ == UNLESS_EMPTY && text_->empty(); }
    // Adds the element to `parent`; null when out of memory.
    xmlNodePtr add_to(xmlNodePtr parent) const;

private:
    enum Holds { TEXT, NUMBER };
    const char* name_;
    const std::string* text_ = nullptr;
    int depth_;
    Written written_ = ALWAYS;
    Holds holds_ = TEXT;
    std::int32_t number_ = 0;
};

// The tree of `rows` under an element `root`; null when out of memory. The caller owns the tree.
xmlDocPtr build(const char* root, const Element* rows, std::size_t count);

template <std::size_t N>
xmlDocPtr build(const char* root, const Element (&rows)[N])
{
    return build(root, rows, N);
}

// One value to read: the first node that `expression` finds, into a text or a number. What is not found
// leaves the field as it was; an empty element empties a text and leaves a number.
class Lookup {
public:
    Lookup(const char* expression, std::string& text) : expression_(expression), text_(&text) {}
    Lookup(const char* expression, std::int32_t& number) : expression_(expression), number_(&number) {}

    // Throws bad_alloc.
    void read(xmlDocPtr doc) const;

private:
    const char* expression_;
    std::string* text_ = nullptr;
    std::int32_t* number_ = nullptr;
};

// A received text as a tree, for the length of one parseXml.
class ParsedText {
public:
    enum Options : int { STRICT = 0, RECOVER = 1 }; // nothing else: no network, no entities, no DTD loading

    // Logs "<announcement> <buffer> <length>", then parses. On failure there is no tree and the reason is
    // logged, under "parseXml" as well. Each line ends in `line_end`: one document's have a line feed.
    ParsedText(const char* announcement, const char* buffer, int length, Options options = STRICT,
               const char* line_end = "");
    // Frees the tree and cleans libxml2 up; without a tree it does neither.
    ~ParsedText();

    explicit operator bool() const { return tree_ != nullptr; }
    xmlDocPtr tree() const { return tree_; } // borrowed

    // Reads the rows, first to last. 0; -1 when memory runs out: what was read by then stays, and it is
    // logged.
    template <std::size_t N>
    int read(const Lookup (&rows)[N]) const
    {
        return read(rows, N);
    }

    ParsedText(const ParsedText&) = delete;
    ParsedText& operator=(const ParsedText&) = delete;

private:
    int read(const Lookup* rows, std::size_t count) const;

    XmlSection section_;
    xmlDocPtr tree_ = nullptr;
};

} // namespace imsua::xml

#endif
