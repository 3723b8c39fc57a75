// What the tests of the documents share.
#ifndef TESTS_XML_DOCUMENTS_H_INCLUDED
#define TESTS_XML_DOCUMENTS_H_INCLUDED

#include "xml/XmlData.h"

#include <cstdio>
#include <string>

// Hands `text` to `document` as a received body would be, and parses it.
inline int parse(XmlData& document, const std::string& text)
{
    std::string received = text;
    document.buffer = received.data();
    document.buffer_length = static_cast<int>(received.size());
    const int status = document.parseXml();
    document.buffer = nullptr;
    document.buffer_length = 0;
    return status;
}

// The text that `document` encoded last.
inline std::string encoded(const XmlData& document)
{
    return document.buffer ? std::string(document.buffer, static_cast<std::size_t>(document.buffer_length))
                           : "";
}

// A pointer as the log writes it.
inline std::string pointer(const void* p)
{
    char text[32];
    std::snprintf(text, sizeof text, "%p", p);
    return text;
}

#endif
