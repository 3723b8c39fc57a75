// Which libxml2 calls end a piece of work, and that documents survive threads.
//
// Some calls are counted and looked at on their way into libxml2: this program's definitions come first, and
// pass each call on.
#include "xml/XmlSection.h"

#include "include/imsua.h"
#include "tests/support/log_records.h"
#include "tests/xml/documents.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/threads.h>
#include <libxml/xpath.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace {

std::atomic<int> freed{0};
std::atomic<int> cleaned{0};
std::atomic<int> dumped{0};

// Set by a test while it looks on.
std::vector<int>* versions_checked = nullptr;
struct Reading {
    int length, options;
    bool has_url, has_encoding;
};
std::vector<Reading>* readings = nullptr;
std::function<void()>* at_context = nullptr;
bool no_context = false;

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
__attribute__((visibility("default"))) void xmlCheckVersion(int version)
{
    if (versions_checked) versions_checked->push_back(version);
    next<void(int)>("xmlCheckVersion")(version);
}
__attribute__((visibility("default"))) xmlDocPtr xmlReadMemory(const char* text, int length, const char* url,
                                                               const char* encoding, int options)
{
    if (readings) readings->push_back({length, options, url != nullptr, encoding != nullptr});
    return next<xmlDocPtr(const char*, int, const char*, const char*, int)>("xmlReadMemory")(
        text, length, url, encoding, options);
}
__attribute__((visibility("default"))) xmlXPathContextPtr xmlXPathNewContext(xmlDocPtr doc)
{
    if (at_context) (*at_context)();
    return no_context ? nullptr : next<xmlXPathContextPtr(xmlDocPtr)>("xmlXPathNewContext")(doc);
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

TEST_F(AnXmlSection, ChecksTheVersionOnceForEachDocument)
{
    std::vector<int> versions;
    versions_checked = &versions;
    {
        const XmlData base;
        DALinkEvXmlData document;
        EXPECT_EQ(versions, (std::vector<int>{20616, 20616})) << "2.6.16, also when built with a later one";
        document.encodeXml();
        parse(document, BODY);
    }
    versions_checked = nullptr;
    EXPECT_EQ(versions.size(), 2u);
}

TEST_F(AnXmlSection, ParsesWithoutAnyOption)
{
    std::vector<Reading> seen;
    readings = &seen;
    DALinkEvXmlData event;
    DALinkAvailEvXmlData available;
    parse(event, BODY);
    parse(available, "no document");
    available.parseXml(); // null: not even tried
    readings = nullptr;
    ASSERT_EQ(seen.size(), 2u);
    for (const Reading& reading : seen) {
        EXPECT_EQ(reading.options, 0);
        EXPECT_FALSE(reading.has_url || reading.has_encoding);
    }
    EXPECT_EQ(seen[0].length, static_cast<int>(std::strlen(BODY)));
}

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

// How `Document` reads: with which options, and how that ends.
template <typename Document>
void expect_reading(int options, int status = 0)
{
    std::vector<Reading> seen;
    readings = &seen;
    Document document;
    EXPECT_EQ(calls_of([&] { EXPECT_EQ(parse(document, BODY), status); }), (Calls{1, 1, 0}));
    readings = nullptr;
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].options, options);
    EXPECT_EQ(seen[0].length, static_cast<int>(std::strlen(BODY)));
    EXPECT_FALSE(seen[0].has_url || seen[0].has_encoding);
}

TEST_F(AnXmlSection, IsTheSameForEachDocumentThatReads)
{
    expect_reading<DALinkEvXmlData>(0);
    expect_reading<DALinkAvailEvXmlData>(0);
    expect_reading<DAMessageXmlData>(0);
    expect_reading<IMSSetRouteXml>(0);
    expect_reading<IMSComponentPackageInfo>(0);
    expect_reading<RegUaXmlData>(0);
    expect_reading<RegistrarToRegUaXmlData>(0);
    expect_reading<NotifyUaXmlData>(0);
    expect_reading<AppToRegUaXmlData>(0);
    expect_reading<RegUaNotifyData>(1); // recovers
    expect_reading<RegXmlData>(0, -1);  // cleans up also behind a tree that it refuses
}

template <typename Document>
void expect_writing()
{
    Document document;
    EXPECT_EQ(calls_of([&] { EXPECT_EQ(document.encodeXml(), 0); }), (Calls{1, 1, 1}));
}

TEST_F(AnXmlSection, IsTheSameForEachDocumentThatWrites)
{
    expect_writing<DALinkEvXmlData>();
    expect_writing<DALinkAvailEvXmlData>();
    expect_writing<DAMessageXmlData>();
    expect_writing<IMSSetRouteXml>();
    expect_writing<IMSComponentPackageInfo>();
    expect_writing<RegUaXmlData>();
    expect_writing<NotifyUaXmlData>();
    expect_writing<AppToRegUaXmlData>();
}

TEST_F(AnXmlSection, KnowsWhetherMemoryRanOutSinceItWasAsked)
{
    XmlSection here(XmlSection::Kind::work);
    XmlSection::forget_errors();
    EXPECT_FALSE(XmlSection::ran_out_of_memory());
    EXPECT_EQ(xmlReadMemory("no document", 11, nullptr, nullptr, XML_PARSE_NOERROR), nullptr);
    EXPECT_FALSE(XmlSection::ran_out_of_memory()) << "another error";
    xmlLastError.code = XML_ERR_NO_MEMORY; // exhausted_memory_test.cpp has libxml2 set it
    EXPECT_TRUE(XmlSection::ran_out_of_memory());
    XmlSection::forget_errors();
    EXPECT_FALSE(XmlSection::ran_out_of_memory());
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

TEST_F(AnXmlSection, DumpsAtItsEndAlsoWhenAParseFollowsTheEncode)
{
    EXPECT_EQ(calls_of([] {
                  XmlSection outer(XmlSection::Kind::work);
                  DALinkAvailEvXmlData document;
                  EXPECT_EQ(document.encodeXml(), 0);
                  EXPECT_EQ(parse(document, BODY), 0);
              }),
              (Calls{2, 1, 1}));
}

TEST_F(AnXmlSection, KeepsOtherThreadsOutWhileAValueIsLookedUp)
{
    xmlDocPtr doc = xmlReadMemory("<a>x</a>", 8, nullptr, nullptr, 0);
    std::future<void> other;
    std::function<void()> look = [&] {
        other = std::async(std::launch::async, [] { const XmlSection turn(XmlSection::Kind::work); });
        EXPECT_EQ(other.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    };
    at_context = &look;
    std::string value;
    EXPECT_TRUE(XmlData::get_value(doc, "//a", value));
    at_context = nullptr;
    other.wait(); // its turn now
    xmlFreeDoc(doc);
}

TEST_F(AnXmlSection, OfALookUpWithoutAContextSaysSo)
{
    xmlDocPtr doc = xmlReadMemory("<a>x</a>", 8, nullptr, nullptr, 0);
    LogRecords log;
    std::string value = "before";
    no_context = true;
    EXPECT_FALSE(XmlData::get_value(doc, "//a", value));
    no_context = false;
    xmlFreeDoc(doc);
    EXPECT_EQ(value, "before");
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{{4, "get_value", "path_context is null"}}));
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
