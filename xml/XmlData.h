// The base of every XML body document: fields on one side, text on the other.
//
// A document is filled by its owner and encoded, or handed a received text and parsed. Messages see only
// this interface and the three buffer fields.
//
// Thread   documents are used by one thread at a time, one document at a time: each parse and each encode
//          ends with libxml2's process-wide clean-up. An internal lock makes a breach of this rule safe, on
//          any thread; it is not an invitation.
// Memory   a document owns the texts it encoded and releases them when it is destroyed. It never owns the
//          text handed to it for parsing.
// Errors   0 success, -1 failure, with one level-4 log line that says why. Nothing throws.
#ifndef XMLDATA_H_INCLUDED
#define XMLDATA_H_INCLUDED

#include "include/imsua_export.h"

#include <libxml/tree.h>

#include <string>
#include <vector>

// The interface that messages see; derive to add a document.
class IMSUA_API XmlData {
public:
    // The text of the last encodeXml, zero-terminated, owned by the document; null before the first.
    xmlChar* encoded_buffer;
    // The text to parse (the owner keeps it alive until parseXml returns), or, after encodeXml, the text to
    // send: the same bytes as encoded_buffer.
    char* buffer;
    // Bytes at `buffer`, no terminating zero counted.
    int buffer_length;

    // An empty document. Checks that the libxml2 in the process is at least 2.6.16.
    XmlData();
    // Releases nothing: the documents that encode call release_encoded in their own destructors.
    virtual ~XmlData();

    // Reads buffer/buffer_length into the fields. An element that is absent leaves its field as it was and
    // is no failure. -1: null buffer ("NULL buffer cannot be parsed") or not well-formed ("Could not create
    // DOM"); the fields are untouched. Out of memory is -1 too, level 3; what was read by then stays. The
    // base does nothing and returns -1.
    //
    // No external entity, parameter entity or external DTD is ever loaded; internal entities are expanded,
    // so bound what you hand in (1024 bytes expand to less than 80 kB, 16 KiB to some 22 MB).
    virtual int parseXml();

    // Writes the fields into encoded_buffer/buffer/buffer_length: UTF-8, with an XML declaration, indented.
    // Field texts go in as they stand, so a "&" must already be written as "&amp;" by the owner.
    // -1: out of memory; the three buffer fields are as before. The base does nothing and returns -1.
    //
    // Encoding again: an identical text leaves the earlier one in place, same pointer, nothing grows. A
    // different one is new, and the earlier one stays readable until the document is destroyed.
    virtual int encodeXml();

    // Evaluates `xpath` on `doc` and stores the own text of the first node found, entity references
    // expanded and surrounding blanks stripped, in `out`. True when there is such a text.
    // False, with a level-4 line: null `doc`, bad expression, or no node: `out` unchanged; a node without
    // text, or out of memory (level 3): `out` is empty. Uses no document object; borrows `doc`.
    static bool get_value(xmlDocPtr doc, const char* xpath, std::string& out);

    XmlData(const XmlData&) = delete;
    XmlData& operator=(const XmlData&) = delete;

protected:
    // For encodeXml: writes `doc` out as the document's text, frees it on every path and cleans libxml2 up.
    // 0, or -1 (null `doc`, or out of memory) with the buffer fields unchanged. Logs nothing: each document
    // has its own wording.
    int publish(xmlDocPtr doc);

    // For destructors: frees every text this document encoded; buffer is null afterwards if it was one.
    void release_encoded();

private:
    // Takes over an encoded text; 0, or -1 when out of memory (the text is freed then).
    int keep(xmlChar* text, int length);

    std::vector<xmlChar*> retired_; // earlier encoded texts, still readable
};

#endif
