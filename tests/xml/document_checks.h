// Checks that hold for every document, so that the test of one is mostly its tables.
#ifndef TESTS_XML_DOCUMENT_CHECKS_H_INCLUDED
#define TESTS_XML_DOCUMENT_CHECKS_H_INCLUDED

#include "tests/support/log_records.h"
#include "tests/xml/documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

// A text field of a document, and the element it is read from.
template <typename Document>
struct TextField {
    std::string Document::*field;
    const char* element;
};

template <typename Document>
using TextFields = std::vector<TextField<Document>>;

// Each element alone fills its field and no other; the others keep what they held.
template <typename Document>
void expect_each_element_fills_its_field(const TextFields<Document>& fields)
{
    for (const auto& wanted : fields) {
        Document d;
        for (const auto& each : fields)
            d.*each.field = "kept";
        const std::string name = wanted.element;
        ASSERT_EQ(parse(d, "<any><x><" + name + "> its value\n</" + name + "></x></any>"), 0) << name;
        for (const auto& each : fields)
            EXPECT_EQ(d.*each.field, each.field == wanted.field ? "its value" : "kept")
                << each.element << " after " << name;
    }
}

// All elements together; the first of each name counts, and one that is empty empties its field.
template <typename Document>
void expect_first_of_each_name_counts(const TextFields<Document>& fields)
{
    std::string text;
    std::string empty;
    for (const auto& each : fields) {
        const std::string name = each.element;
        text += "<" + name + ">" + name + "1</" + name + "><" + name + ">second</" + name + ">";
        empty += "<" + name + "/>";
    }
    Document d;
    ASSERT_EQ(parse(d, "<any>" + text + "</any>"), 0);
    for (const auto& each : fields)
        EXPECT_EQ(d.*each.field, std::string(each.element) + "1");
    ASSERT_EQ(parse(d, "<any>" + empty + "</any>"), 0);
    for (const auto& each : fields)
        EXPECT_EQ(d.*each.field, "") << each.element;
}

// Elements in a namespace are not found: 0, and all fields are as before.
template <typename Document>
void expect_nothing_is_found_in_a_namespace(const TextFields<Document>& fields)
{
    std::string text;
    for (const auto& each : fields)
        text += std::string("<") + each.element + ">v</" + each.element + ">";
    Document d;
    for (const auto& each : fields)
        d.*each.field = "kept";
    EXPECT_EQ(parse(d, "<any xmlns=\"urn:n\">" + text + "</any>"), 0);
    for (const auto& each : fields)
        EXPECT_EQ(d.*each.field, "kept") << each.element;
}

// The look-ups in the order given, seen by the lines of those that find nothing.
template <typename Document>
void expect_lookups_in_order(std::initializer_list<const char*> expressions)
{
    LogRecords log;
    Document d;
    ASSERT_EQ(parse(d, "<any/>"), 0);
    std::vector<LogRecord> lines;
    for (const char* expression : expressions)
        lines.push_back({4, "get_value", std::string("xmlXPathNodeSetIsEmpty for ") + expression});
    EXPECT_EQ(log.of("get_value"), lines);
}

// A null buffer and unreadable texts: -1, the lines that say why, and the fields as before. A document that
// recovers what it can refuses only what has nothing in it.
template <typename Document>
void expect_refusals(const TextFields<Document>& fields, const std::string& announcement = "inside parseXml",
                     const std::string& line_end = "", bool recovers = false)
{
    Document d;
    for (const auto& each : fields)
        d.*each.field = "kept";
    LogRecords log;
    d.buffer_length = 7;
    EXPECT_EQ(d.parseXml(), -1);
    EXPECT_EQ(log.all(),
              (std::vector<LogRecord>{{5, "parseXml", announcement + " (nil) 7" + line_end},
                                      {4, "parseXml", "NULL buffer cannot be parsed" + line_end}}));
    std::vector<std::string> texts = {"", std::string(1024, '\0')};
    if (!recovers) texts.insert(texts.end(), {"garbage", std::string("<any><") + fields[0].element + ">new"});
    for (std::string& text : texts) {
        log.clear();
        d.buffer = text.data();
        d.buffer_length = static_cast<int>(text.size());
        EXPECT_EQ(d.parseXml(), -1) << text;
        EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "parseXml",
                                                      announcement + " " + pointer(text.data()) + " " +
                                                          std::to_string(text.size()) + line_end},
                                                     {4, "parseXml", "Could not create DOM" + line_end}}));
    }
    d.buffer = nullptr;
    for (const auto& each : fields)
        EXPECT_EQ(d.*each.field, "kept") << each.element;
}

// The text that `document` encodes, and the one line about it: `line` with its size and its place.
template <typename Document>
void expect_encoding(Document& document, const std::string& text, const char* line)
{
    LogRecords log;
    ASSERT_EQ(document.encodeXml(), 0);
    EXPECT_EQ(encoded(document), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + text);
    EXPECT_EQ(static_cast<void*>(document.buffer), static_cast<void*>(document.encoded_buffer));
    std::string wanted = line;
    wanted.replace(wanted.find("%d"), 2, std::to_string(document.buffer_length));
    wanted.replace(wanted.find("%p"), 2, pointer(document.encoded_buffer));
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{5, "encodeXml", wanted}}));
}

// The second line of a parse tells where the tree stands, seen by libxml2's own word on it.
template <typename Document>
void expect_place_of_the_tree()
{
    static const void* tree;
    tree = nullptr;
    xmlRegisterNodeDefault([](xmlNode* node) {
        if (node->type == XML_DOCUMENT_NODE) tree = node;
    });
    LogRecords log;
    Document d;
    const int status = parse(d, "<eventinfo/>");
    xmlRegisterNodeDefault(nullptr);
    ASSERT_EQ(status, 0);
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(log.all().at(1), (LogRecord{5, "parseXml", "doc=" + pointer(tree)}));
    EXPECT_EQ(log.of("parseXml").size(), 2u);
}

// Encoding is refused, in silence, and changes nothing.
template <typename Document>
void expect_never_encodes()
{
    LogRecords log;
    Document d;
    char text[] = "<a/>";
    d.buffer = text;
    d.buffer_length = 4;
    EXPECT_EQ(d.encodeXml(), -1);
    EXPECT_EQ(d.buffer, text);
    EXPECT_EQ(d.buffer_length, 4);
    EXPECT_EQ(d.encoded_buffer, nullptr);
    EXPECT_THAT(log.all(), testing::IsEmpty());
}

#endif
