#include "daemons/imsfwkd/document.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

using imsfwkd::Document;

namespace {

std::unique_ptr<Document> parse(const std::string& text)
{
    std::string why;
    auto document = Document::parse(text, why);
    EXPECT_NE(document, nullptr) << why;
    return document;
}

std::string get(const std::string& text, const std::string& xpath)
{
    std::string value = "(not found)";
    const auto document = parse(text);
    if (document) document->get(xpath, value);
    return value;
}

std::string set(const std::string& text, const std::string& xpath, const std::string& value)
{
    std::string why;
    return parse(text)->with(xpath, value, why);
}

std::string refusal(const std::string& text)
{
    std::string why;
    EXPECT_EQ(Document::parse(text, why), nullptr);
    return why;
}

const std::string HEAD = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const char* const PLAIN = "<a><b>one</b><b>two</b><c x=\"y\"/><d><![CDATA[<&>]]></d><e> </e></a>";

} // namespace

TEST(ADocument, GivesTheTextOfTheFirstNode)
{
    EXPECT_EQ(get(PLAIN, "/a/b"), "one");
    EXPECT_EQ(get(PLAIN, "/a/b[2]"), "two");
    EXPECT_EQ(get(PLAIN, "//b"), "one");
    EXPECT_EQ(get(PLAIN, "/a/c/@x"), "y");
    EXPECT_EQ(get(PLAIN, "/a/b/text()"), "one");
    EXPECT_EQ(get(PLAIN, "/a/d"), "<&>");
    EXPECT_EQ(get(PLAIN, "/a/e"), " ");
    EXPECT_EQ(get(PLAIN, "/a/c"), "");
    EXPECT_EQ(get(PLAIN, "/a"), "onetwo<&> ");
}

TEST(ADocument, TakesTheFirstInDocumentOrderWhateverTheOrderOfTheExpression)
{
    EXPECT_EQ(get(PLAIN, "/a/d | /a/b"), "one");
    EXPECT_EQ(get(PLAIN, "/a/d/preceding-sibling::b"), "one");
    EXPECT_EQ(get("<a xmlns:p='u'><b>t</b></a>", "//namespace::* | /a/b"), "t");
    EXPECT_EQ(get("<a xmlns:p='u'/>", "/a/namespace::p"), "u");
}

TEST(ADocument, FindsNothingWhereNothingIs)
{
    for (const char* xpath : {"/a/none", "/none", "", "/a[", "count(//b)", "'text'", "true()", "/a/b[3]",
                              "p:a", "document('x')", "$v", "//@none", "\xff"})
        EXPECT_EQ(get(PLAIN, xpath), "(not found)") << xpath;
    EXPECT_EQ(get(PLAIN, "/a" + std::string(2000, ' ')), "(not found)");
    EXPECT_EQ(get(PLAIN, std::string("/a\0", 3)), "(not found)");
}

// Steps multiply: without the bound this one would keep the daemon for minutes.
TEST(ADocument, GivesUpOnAnExpressionThatNeverEnds)
{
    std::string text = "<a>";
    for (int i = 0; i < 300; ++i)
        text += "<b/>";
    text += "</a>";
    EXPECT_EQ(get(text, "//b[count(//b[count(//b[count(//b) = 300]) = 300]) = 300]"), "(not found)");
}

TEST(ADocument, IsRefusedWhenItIsNone)
{
    for (const char* text : {"", "text", "<a>", "<a></b>", "<a/><b/>", "<a>&nbsp;</a>", "<a b='1' b='2'/>"})
        EXPECT_EQ(refusal(text), "not well-formed XML") << text;
    EXPECT_EQ(refusal(std::string(imsfwkd::MAX_DOCUMENT + 1, ' ')), "larger than 262144 bytes");
    std::string deep;
    for (int i = 0; i < 1000; ++i)
        deep += "<a>";
    EXPECT_EQ(refusal(deep), "not well-formed XML");
}

TEST(ADocument, IsRefusedWithATypeDeclaration)
{
    const std::string words = "a document type declaration is not allowed";
    EXPECT_EQ(refusal("<!DOCTYPE a><a/>"), words);
    EXPECT_EQ(refusal("<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><a>&x;</a>"), words);
    EXPECT_EQ(refusal("<!DOCTYPE a [<!ENTITY x 'xx'><!ENTITY y '&x;&x;'>]><a>&y;</a>"), words);
}

TEST(AChangedDocument, KeepsEverythingElse)
{
    EXPECT_EQ(set("<a>\n  <!-- kept -->\n  <b>1</b>\n  <c/>\n</a>", "/a/b", "2"),
              HEAD + "<a>\n  <!-- kept -->\n  <b>2</b>\n  <c/>\n</a>\n");
}

TEST(AChangedDocument, TakesElementsAttributesAndTexts)
{
    EXPECT_EQ(set("<a><b>1</b></a>", "//b", "2"), HEAD + "<a><b>2</b></a>\n");
    EXPECT_EQ(set("<a><b>1</b><b>1</b></a>", "/a/b[2]", "2"), HEAD + "<a><b>1</b><b>2</b></a>\n");
    EXPECT_EQ(set("<a b='1'/>", "/a/@b", "2"), HEAD + "<a b=\"2\"/>\n");
    EXPECT_EQ(set("<a>1</a>", "/a/text()", "2"), HEAD + "<a>2</a>\n");
    EXPECT_EQ(set("<a><b/></a>", "/a/b", "2"), HEAD + "<a><b>2</b></a>\n");
    EXPECT_EQ(set("<a><b>1</b></a>", "/a/b", ""), HEAD + "<a><b/></a>\n");
}

TEST(AChangedDocument, GetsTheElementsThatAPlainPathLacks)
{
    EXPECT_EQ(set("<a/>", "/a/b/c", "1"), HEAD + "<a><b><c>1</c></b></a>\n");
    EXPECT_EQ(set("<a><b/></a>", "/a/b/@c", "1"), HEAD + "<a><b c=\"1\"/></a>\n");
    EXPECT_EQ(set("<a>\n  <b/>\n</a>", "/a/c", "1"), HEAD + "<a>\n  <b/>\n  <c>1</c>\n</a>\n");
}

TEST(AChangedDocument, SavesEveryTextThatXmlCanCarry)
{
    for (const std::string value :
         {"<&>\"'", "&amp;", "a\nb", "\tx ", "a\rb", "\xc3\xa4\xe2\x82\xac", "]]>", " "}) {
        const std::string text = set("<a><b/></a>", "/a/b", value);
        EXPECT_EQ(get(text, "/a/b"), value);
        EXPECT_EQ(get(set("<a b='x'/>", "/a/@b", value), "/a/@b"), value);
    }
}

TEST(AChangedDocument, IsNotMadeWhenItWouldNotReadBack)
{
    for (const std::string& value :
         {std::string("a\0b", 3), std::string("\x01"), std::string("\xff"), std::string("\xed\xa0\x80"),
          std::string("\xef\xbf\xbf"), std::string(imsfwkd::MAX_DOCUMENT, 'x')})
        EXPECT_EQ(set("<a><b/></a>", "/a/b", value), "");
    std::string deep;
    for (int i = 0; i < 400; ++i)
        deep += "/a";
    EXPECT_EQ(set("<a/>", deep, "x"), "");
}

TEST(AChangedDocument, IsNotMadeFromAPathThatSaysTooLittle)
{
    for (const char* xpath : {"/z/b", "/a//c", "b", "/a/c[1]", "/a/@c/d", "/a/p:c", "/a/1c", "/a/", "/", "",
                              "//none", "/a/comment()", "/a[", "count(/a)", "/a/b/c"})
        EXPECT_EQ(set("<a><b>text</b></a>", xpath, "x"), "") << xpath;
}

TEST(AChangedDocument, NeverLosesASubtree)
{
    EXPECT_EQ(set("<a><b><c/></b></a>", "/a/b", "x"), "");
    EXPECT_EQ(set("<a><b><c/></b></a>", "/a", "x"), "");
}

TEST(AChangedDocument, IsWrittenInUtf8WhateverItWas)
{
    EXPECT_EQ(set("<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xe4'/>", "/a/@c", "1"),
              HEAD + "<a b=\"\xc3\xa4\" c=\"1\"/>\n");
}
