#include "xml/XmlData.h"

#include "tests/support/log_records.h"
#include "tests/xml/documents.h"
#include "tests/xml/failing_allocations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <cstddef>
#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A document of one element whose text is settable, as a daemon of its own would derive one.
class Note : public XmlData {
public:
    std::string text;
    ~Note() override { release_encoded(); }
    int encodeXml() override
    {
        xmlDocPtr doc = xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"));
        xmlNodePtr root = xmlNewNode(nullptr, reinterpret_cast<const xmlChar*>("note"));
        xmlDocSetRootElement(doc, root);
        xmlNewChild(root, nullptr, reinterpret_cast<const xmlChar*>("text"),
                    reinterpret_cast<const xmlChar*>(text.c_str()));
        return publish(doc);
    }
    using XmlData::publish;
    using XmlData::release_encoded;
};

// A tree for look-ups, and the log of what happens from then on.
class AValue : public testing::Test {
protected:
    ~AValue() override { xmlFreeDoc(doc_); }
    bool get(const char* text, const char* xpath)
    {
        xmlFreeDoc(doc_);
        doc_ =
            xmlReadMemory(text, static_cast<int>(std::char_traits<char>::length(text)), nullptr, nullptr, 0);
        EXPECT_NE(doc_, nullptr);
        log.clear();
        return XmlData::get_value(doc_, xpath, out);
    }
    std::vector<LogRecord> logged(int level, const std::string& text) { return {{level, "get_value", text}}; }

    std::string out = "before";
    LogRecords log;
    xmlDocPtr doc_ = nullptr; // of the last look-up
};

TEST_F(AValue, IsTheTextOfTheElement)
{
    EXPECT_TRUE(get("<a><b>value</b></a>", "//b"));
    EXPECT_EQ(out, "value");
    EXPECT_EQ(log.all(), logged(5, "expr=//b value =value"));
}

TEST_F(AValue, IsThatOfTheFirstElementInDocumentOrder)
{
    EXPECT_TRUE(get("<a><x><b>first</b></x><b>second</b></a>", "//b"));
    EXPECT_EQ(out, "first");
}

TEST_F(AValue, IsTrimmedAtBothEnds)
{
    EXPECT_TRUE(get("<a><b> \t\r\n two words \n </b></a>", "//b"));
    EXPECT_EQ(out, "two words");
    EXPECT_EQ(log.all(), logged(5, "expr=//b value =two words"));
}

TEST_F(AValue, OfBlanksAloneIsFoundAndEmpty)
{
    EXPECT_TRUE(get("<a><b>  \n </b></a>", "//b"));
    EXPECT_EQ(out, "");
    EXPECT_EQ(log.all(), logged(5, "expr=//b value ="));
}

TEST_F(AValue, IsTheElementsOwnTextWithoutThatOfItsChildren)
{
    EXPECT_TRUE(get("<a>own<b>child</b> text\n</a>", "//a"));
    EXPECT_EQ(out, "own text");
}

TEST_F(AValue, HoldsEntitiesExpanded)
{
    EXPECT_TRUE(get("<!DOCTYPE a [<!ENTITY e \"inside\">]><a>&lt;&e;&amp;&#65;</a>", "//a"));
    EXPECT_EQ(out, "<inside&A");
}

// Entities are expanded here, in time linear to the text; the result is that of libxml2's own function.
TEST_F(AValue, WithEntitiesIsWhatLibxml2MakesOfThem)
{
    const char* const entities =
        "<!DOCTYPE a [<!ENTITY t \"text\"><!ENTITY n \"-&t;-&t;\"><!ENTITY z \"\"><!ENTITY c "
        "\"&#38;#60;&#65;\">"
        "<!ENTITY e \"<i>inner</i>\"><!ENTITY m \"x<i>y</i>z&n;<![CDATA[#]]>\"><!ENTITY o \"<!-- -->\">"
        "<!ENTITY x SYSTEM \"nowhere\">]>";
    for (const char* own :
         {"&t;", "a&t;b", "&n;", "&n;&n;", "&z;", "&z;a", "&c;", "&e;", "a&e;b", "&m;", "&o;", "&x;", "a&x;b",
          "&t;<b>&t;</b>&t;", "&lt;&t;&amp;", "<![CDATA[c]]>&t;", "&z;&e;&m;&o;&x;"}) {
        SCOPED_TRACE(own);
        out = "before";
        const bool found = get((std::string(entities) + "<a>" + own + "</a>").c_str(), "/a");
        xmlChar* text = xmlNodeListGetString(doc_, xmlDocGetRootElement(doc_)->children, 1);
        EXPECT_EQ(found, text != nullptr);
        EXPECT_EQ(out, text ? reinterpret_cast<char*>(text) : "");
        xmlFree(text);
    }
}

TEST_F(AValue, HoldsCharacterDataSections)
{
    EXPECT_TRUE(get("<a><![CDATA[<raw>&]]></a>", "//a"));
    EXPECT_EQ(out, "<raw>&");
}

TEST_F(AValue, OfAnAbsentElementLeavesTheOutputAlone)
{
    EXPECT_FALSE(get("<a/>", "//b"));
    EXPECT_EQ(out, "before");
    EXPECT_EQ(log.all(), logged(4, "xmlXPathNodeSetIsEmpty for //b"));
}

TEST_F(AValue, OfAnEmptyElementEmptiesTheOutput)
{
    EXPECT_FALSE(get("<a><b/></a>", "//b"));
    EXPECT_EQ(out, "");
    EXPECT_EQ(log.all(), logged(4, "val_cstr is NULL for //b"));
}

TEST_F(AValue, OfAnElementWithChildrenAloneEmptiesTheOutput)
{
    EXPECT_FALSE(get("<a><b><c>x</c></b></a>", "//b"));
    EXPECT_EQ(out, "");
    EXPECT_EQ(log.all(), logged(4, "val_cstr is NULL for //b"));
}

TEST_F(AValue, OfANamespaceNodeIsNoText)
{
    EXPECT_FALSE(get("<a xmlns:p=\"urn:p\"/>", "//namespace::*"));
    EXPECT_EQ(out, "");
    EXPECT_EQ(log.all(), logged(4, "val_cstr is NULL for //namespace::*"));
}

TEST_F(AValue, InADefaultNamespaceIsNotFound)
{
    EXPECT_FALSE(get("<a xmlns=\"urn:x\"><b>value</b></a>", "//b"));
    EXPECT_EQ(out, "before");
}

TEST_F(AValue, OfAnAttributeIsItsText)
{
    EXPECT_TRUE(get("<a state=\"full\"/>", "//@state"));
    EXPECT_EQ(out, "full");
}

TEST_F(AValue, OfANumberIsNoNodeSet)
{
    EXPECT_FALSE(get("<a/>", "count(//a)"));
    EXPECT_EQ(out, "before");
    EXPECT_EQ(log.all(), logged(4, "xmlXPathNodeSetIsEmpty for count(//a)"));
}

TEST_F(AValue, OfABadExpressionIsToldByItsText)
{
    EXPECT_FALSE(get("<a/>", "//["));
    EXPECT_EQ(out, "before");
    EXPECT_EQ(log.all(), logged(4, "head_path_ptr is null for //["));
}

TEST_F(AValue, OfANullExpressionIsToldAsNull)
{
    EXPECT_FALSE(get("<a/>", nullptr));
    EXPECT_EQ(out, "before");
    EXPECT_EQ(log.all(), logged(4, "head_path_ptr is null for (null)"));
}

TEST_F(AValue, OfANullDocumentIsRefused)
{
    EXPECT_FALSE(XmlData::get_value(nullptr, "//a", out));
    EXPECT_EQ(out, "before");
    EXPECT_EQ(log.all(), logged(4, "doc_ptr is null"));
}

TEST_F(AValue, WithPercentSignsIsLoggedAsItStands)
{
    EXPECT_TRUE(get("<a>100%s%n</a>", "//a"));
    EXPECT_EQ(log.all(), logged(5, "expr=//a value =100%s%n"));
}

TEST(AnXmlDocument, StartsWithNullBuffers)
{
    const XmlData document;
    EXPECT_EQ(document.encoded_buffer, nullptr);
    EXPECT_EQ(document.buffer, nullptr);
    EXPECT_EQ(document.buffer_length, 0);
}

TEST(AnXmlDocument, OfTheBaseParsesAndEncodesNothingInSilence)
{
    LogRecords log;
    XmlData document;
    char text[] = "<a/>";
    document.buffer = text;
    document.buffer_length = 4;
    EXPECT_EQ(document.parseXml(), -1);
    EXPECT_EQ(document.encodeXml(), -1);
    EXPECT_EQ(document.buffer, text);
    EXPECT_EQ(document.buffer_length, 4);
    EXPECT_EQ(document.encoded_buffer, nullptr);
    EXPECT_THAT(log.all(), IsEmpty());
}

TEST(AnXmlDocument, LaysItsThreeFieldsOutInOrderBehindTheTable)
{
    const XmlData document;
    const auto at = [&](const void* field) {
        return static_cast<std::size_t>(static_cast<const char*>(field) -
                                        reinterpret_cast<const char*>(&document));
    };
    EXPECT_EQ(at(&document.encoded_buffer), sizeof(void*));
    EXPECT_EQ(at(&document.buffer), 2 * sizeof(void*));
    EXPECT_EQ(at(&document.buffer_length), 3 * sizeof(void*));
}

static_assert(!std::is_copy_constructible<XmlData>::value && !std::is_copy_assignable<XmlData>::value, "");
static_assert(std::has_virtual_destructor<XmlData>::value, "");
static_assert(std::is_same<decltype(XmlData::buffer), char*>::value, "");
static_assert(std::is_same<decltype(XmlData::buffer_length), int>::value, "");

TEST(AnEncodedText, IsBothBuffersAndItsLength)
{
    Note note;
    note.text = "hello";
    EXPECT_EQ(note.encodeXml(), 0);
    EXPECT_EQ(static_cast<void*>(note.buffer), static_cast<void*>(note.encoded_buffer));
    EXPECT_EQ(encoded(note),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<note>\n  <text>hello</text>\n</note>\n");
    EXPECT_EQ(note.buffer[note.buffer_length], 0);
}

TEST(AnEncodedText, StaysInPlaceWhenTheNextIsIdentical)
{
    Note note;
    note.text = "same";
    ASSERT_EQ(note.encodeXml(), 0);
    const char* first = note.buffer;
    const int length = note.buffer_length;
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(note.encodeXml(), 0);
        ASSERT_EQ(note.buffer, first);
        ASSERT_EQ(note.buffer_length, length);
    }
}

TEST(AnEncodedText, IsTheBufferAgainAfterTheBufferHeldAReceivedText)
{
    Note note;
    ASSERT_EQ(note.encodeXml(), 0);
    const char* first = note.buffer;
    const int length = note.buffer_length;
    char other[] = "<x/>";
    note.buffer = other;
    note.buffer_length = 4;
    ASSERT_EQ(note.encodeXml(), 0);
    EXPECT_EQ(note.buffer, first);
    EXPECT_EQ(note.buffer_length, length);
}

TEST(AnEncodedText, StaysReadableAfterADifferentOne)
{
    Note note;
    note.text = "one";
    ASSERT_EQ(note.encodeXml(), 0);
    const char* first = note.buffer;
    const std::string text = encoded(note);
    for (const char* next : {"two", "three", "one"}) {
        note.text = next;
        ASSERT_EQ(note.encodeXml(), 0);
        ASSERT_NE(note.buffer, first);
    }
    EXPECT_STREQ(first, text.c_str());
    EXPECT_EQ(encoded(note), text);
}

TEST(AnEncodedText, IsReleasedOnDemandAndTheDocumentIsUsableAgain)
{
    Note note;
    ASSERT_EQ(note.encodeXml(), 0);
    note.release_encoded();
    EXPECT_EQ(note.encoded_buffer, nullptr);
    EXPECT_EQ(note.buffer, nullptr);
    EXPECT_EQ(note.buffer_length, 0);
    note.release_encoded();
    EXPECT_EQ(note.encodeXml(), 0);
}

TEST(AnEncodedText, ReleasedLeavesAReceivedBufferAlone)
{
    Note note;
    ASSERT_EQ(note.encodeXml(), 0);
    char received[] = "<x/>";
    note.buffer = received;
    note.buffer_length = 4;
    note.release_encoded();
    EXPECT_EQ(note.buffer, received);
    EXPECT_EQ(note.buffer_length, 4);
}

// A field's text goes out as it stands: its owner escapes what needs it.
TEST(AnEncodedText, TakesTheAmpersandAsMarkup)
{
    Note note;
    note.text = "a&amp;b";
    ASSERT_EQ(note.encodeXml(), 0);
    EXPECT_NE(encoded(note).find("<text>a&amp;b</text>"), std::string::npos);
    note.text = "a&b;c";
    ASSERT_EQ(note.encodeXml(), 0);
    EXPECT_NE(encoded(note).find("<text>a&b;c</text>"), std::string::npos);
    note.text = "a&b"; // an entity reference without its end: the text is lost
    ASSERT_EQ(note.encodeXml(), 0);
    EXPECT_NE(encoded(note).find("<text/>"), std::string::npos);
    note.text = "abc&x;def&y";
    ASSERT_EQ(note.encodeXml(), 0);
    EXPECT_NE(encoded(note).find("<text>abc&x;</text>"), std::string::npos);
}

TEST(AnEncodedText, EscapesAnglesAndCarriageReturns)
{
    Note note;
    note.text = "a<b>c\rd";
    ASSERT_EQ(note.encodeXml(), 0);
    EXPECT_NE(encoded(note).find("<text>a&lt;b&gt;c&#13;d</text>"), std::string::npos);
}

TEST(AnEncodedText, OfNoTreeIsAFailureThatChangesNothing)
{
    Note note;
    ASSERT_EQ(note.encodeXml(), 0);
    const char* before = note.buffer;
    EXPECT_EQ(note.publish(nullptr), -1);
    EXPECT_EQ(note.buffer, before);
}

using AnExhaustedMemory = FailingAllocations;

TEST_F(AnExhaustedMemory, FailsTheEncodeAndLeavesTheBuffers)
{
    Note note;
    note.text = "earlier";
    ASSERT_EQ(note.encodeXml(), 0);
    const char* earlier = note.buffer;
    note.text = "later";
    xmlDocPtr doc = xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"));
    fail_after(0);
    EXPECT_EQ(note.publish(doc), -1);
    fail_never();
    EXPECT_EQ(note.buffer, earlier);
    EXPECT_EQ(reinterpret_cast<const char*>(note.encoded_buffer), earlier);
    EXPECT_EQ(note.encodeXml(), 0);
    EXPECT_NE(encoded(note).find("later"), std::string::npos);
}

} // namespace
