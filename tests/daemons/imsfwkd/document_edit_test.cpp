#include "daemons/imsfwkd/document_edit.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <memory>
#include <string>

namespace {

class AnEdit : public ::testing::Test {
protected:
    void given(const std::string& text)
    {
        doc.reset(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0));
        ASSERT_NE(doc, nullptr);
    }
    std::string result() const
    {
        const std::unique_ptr<xmlBuffer, void (*)(xmlBuffer*)> buffer(xmlBufferCreate(), xmlBufferFree);
        xmlNodeDump(buffer.get(), doc.get(), xmlDocGetRootElement(doc.get()), 0, 0);
        return reinterpret_cast<const char*>(xmlBufferContent(buffer.get()));
    }
    xmlNode* root() const { return xmlDocGetRootElement(doc.get()); }

    std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> doc{nullptr, xmlFreeDoc};
};

} // namespace

TEST_F(AnEdit, ReplacesTextCommentsAndSectionsOfALeaf)
{
    given("<a>1<!-- c --><![CDATA[2]]></a>");
    EXPECT_TRUE(imsfwkd::set_text(root(), "<3>"));
    EXPECT_EQ(result(), "<a>&lt;3&gt;</a>");
}

TEST_F(AnEdit, RefusesNodesWithoutTextOfTheirOwn)
{
    given("<a><b/><!-- c --></a>");
    EXPECT_FALSE(imsfwkd::set_text(root(), "x"));
    EXPECT_FALSE(imsfwkd::set_text(root()->last, "x"));
    EXPECT_EQ(result(), "<a><b/><!-- c --></a>");
}

TEST_F(AnEdit, IndentsANewElementLikeItsSiblings)
{
    given("<a>\n\t<b/>\n\t<c/>\n</a>");
    EXPECT_TRUE(imsfwkd::add_at(doc.get(), "/a/d", "1"));
    EXPECT_EQ(result(), "<a>\n\t<b/>\n\t<c/>\n\t<d>1</d>\n</a>");
}

TEST_F(AnEdit, FollowsWhatIsThereAndAddsTheRest)
{
    given("<a><b><c/></b></a>");
    EXPECT_TRUE(imsfwkd::add_at(doc.get(), "/a/b/c/d/e-1.x", "1"));
    EXPECT_EQ(result(), "<a><b><c><d><e-1.x>1</e-1.x></d></c></b></a>");
}

TEST_F(AnEdit, TakesElementsOfNamespacesForOthers)
{
    given("<a><b xmlns='u'/></a>");
    EXPECT_TRUE(imsfwkd::add_at(doc.get(), "/a/b", "1"));
    EXPECT_EQ(result(), "<a><b xmlns=\"u\"/><b>1</b></a>");
    given("<a xmlns='u'/>");
    EXPECT_FALSE(imsfwkd::add_at(doc.get(), "/a/b", "1"));
}

TEST_F(AnEdit, DoesNotMixElementsIntoText)
{
    given("<a>text</a>");
    EXPECT_FALSE(imsfwkd::add_at(doc.get(), "/a/b", "1"));
    EXPECT_EQ(result(), "<a>text</a>");
}
