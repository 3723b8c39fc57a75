// Which libxml2 calls end a piece of work, and that documents survive threads.
//
// The three clean-up calls are counted on their way into libxml2: this program's definitions come first, and
// pass each call on.
#include "xml/XmlSection.h"

#include "tests/xml/documents.h"
#include "xml/DALinkAvailEvXmlData.h"
#include "xml/DALinkEvXmlData.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/threads.h>

#include <atomic>
#include <dlfcn.h>
#include <memory>
#include <thread>

namespace {

std::atomic<int> freed{0};
std::atomic<int> cleaned{0};
std::atomic<int> dumped{0};

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {
__attribute__((visibility("default"))) void xmlFreeDoc(xmlDocPtr doc)
{
    ++freed;
    next<void(xmlDocPtr)>("xmlFreeDoc")(doc);
}
__attribute__((visibility("default"))) void xmlCleanupParser(void)
{
    ++cleaned;
    next<void()>("xmlCleanupParser")();
}
__attribute__((visibility("default"))) void xmlMemoryDump(void)
{
    ++dumped;
    next<void()>("xmlMemoryDump")();
}
}

namespace {

struct Calls {
    int free_doc;
    int cleanup;
    int memory_dump;
    bool operator==(const Calls& o) const
    {
        return free_doc == o.free_doc && cleanup == o.cleanup && memory_dump == o.memory_dump;
    }
};

std::ostream& operator<<(std::ostream& out, const Calls& c)
{
    return out << "xmlFreeDoc " << c.free_doc << ", xmlCleanupParser " << c.cleanup << ", xmlMemoryDump "
               << c.memory_dump;
}

template <typename Work>
Calls calls_of(Work work)
{
    freed = cleaned = dumped = 0;
    work();
    return {freed, cleaned, dumped};
}

class AnXmlSection : public testing::Test {
protected:
    // Tests before this one may have left another thread elected, or libxml2 started.
    AnXmlSection()
    {
        XmlSection here(XmlSection::Kind::work);
        here.end_with(XmlSection::End::parsed);
    }
};

const char* const BODY = "<link-info><network><access-network>IEEE</access-network></network></link-info>";

TEST_F(AnXmlSection, EndsAParseWithTheTreeFreedAndOneCleanUp)
{
    DALinkAvailEvXmlData document;
    EXPECT_EQ(calls_of([&] { EXPECT_EQ(parse(document, BODY), 0); }), (Calls{1, 1, 0}));
}

TEST_F(AnXmlSection, EndsAnEncodeWithOneMemoryDumpMore)
{
    DALinkAvailEvXmlData document;
    EXPECT_EQ(calls_of([&] { EXPECT_EQ(document.encodeXml(), 0); }), (Calls{1, 1, 1}));
}

TEST_F(AnXmlSection, CleansNothingWhenAParseFails)
{
    DALinkAvailEvXmlData document;
    EXPECT_EQ(calls_of([&] {
                  EXPECT_EQ(document.parseXml(), -1);
                  EXPECT_EQ(parse(document, "no document"), -1);
              }),
              (Calls{0, 0, 0}));
}

TEST_F(AnXmlSection, CleansNothingForConstructionAndLookUp)
{
    xmlDocPtr doc = xmlReadMemory("<a>x</a>", 8, nullptr, nullptr, 0);
    std::string value;
    EXPECT_EQ(calls_of([&] {
                  DALinkEvXmlData document;
                  EXPECT_TRUE(XmlData::get_value(doc, "//a", value));
              }),
              (Calls{0, 0, 0}));
    xmlFreeDoc(doc);
    EXPECT_EQ(value, "x");
}

TEST_F(AnXmlSection, CleansUpOnceForWorkInsideWork)
{
    EXPECT_EQ(calls_of([] {
                  XmlSection outer(XmlSection::Kind::work);
                  xmlDocPtr doc = xmlReadMemory("<a>x</a>", 8, nullptr, nullptr, 0);
                  DALinkAvailEvXmlData document;
                  EXPECT_EQ(parse(document, BODY), 0);
                  EXPECT_EQ(document.encodeXml(), 0);
                  EXPECT_EQ(cleaned, 0) << "the enclosing work still needs libxml2";
                  std::string value;
                  EXPECT_TRUE(XmlData::get_value(doc, "//a", value));
                  xmlFreeDoc(doc);
              }),
              (Calls{3, 1, 1}));
}

TEST_F(AnXmlSection, ElectsTheThreadThatWorks)
{
    { // makes this thread the one that libxml2 elected
        XmlSection here(XmlSection::Kind::work);
        EXPECT_TRUE(xmlIsMainThread());
    }
    std::thread([] {
        XmlSection there(XmlSection::Kind::work);
        EXPECT_TRUE(xmlIsMainThread());
    }).join();
}

// The leak checker of the address lane sees what a wrongly elected thread would lose.
TEST_F(AnXmlSection, LosesNothingWhenADocumentMovesBetweenThreads)
{
    auto document = std::make_unique<DALinkEvXmlData>();
    for (int i = 0; i < 5; ++i) {
        std::thread([&] {
            EXPECT_EQ(parse(*document, BODY), 0);
            EXPECT_EQ(document->encodeXml(), 0);
        }).join();
        EXPECT_EQ(document->encodeXml(), 0);
        EXPECT_EQ(document->encodeXml(), 0); // the parser is not even started now
    }
    std::thread([&] { document.reset(); }).join();
}

TEST_F(AnXmlSection, LetsTwoThreadsTakeTurns)
{
    const auto work = [](const char* network) {
        for (int i = 0; i < 200; ++i) {
            DALinkAvailEvXmlData sent;
            sent.access_network = network;
            ASSERT_EQ(sent.encodeXml(), 0);
            DALinkAvailEvXmlData received;
            ASSERT_EQ(parse(received, encoded(sent)), 0);
            ASSERT_EQ(received.access_network, network);
        }
    };
    std::thread one(work, "IEEE");
    std::thread two(work, "wired");
    work("main");
    one.join();
    two.join();
}

} // namespace
