// Every document while memory runs out at each possible moment: libxml2's n-th allocation fails, for each n.
#include "tests/support/memory_sweep.h"
#include "tests/support/sample_documents.h"
#include "tests/xml/document_checks.h"
#include "tests/xml/failing_allocations.h"
#include "xml/fields.h"

#include <ctime>
#include <gtest/gtest.h>
#include <memory>

namespace {

using imsua::xml::ParsedText;

class ADocumentWithoutMemory : public FailingAllocations {
protected:
    // Writes `earlier`, then the sample of `Document`, with each allocation failing in turn. The outcome is
    // the whole text, or -1 and the earlier text still in place.
    template <typename Document>
    void expect_whole_or_nothing_written(Then then)
    {
        Document d;
        ASSERT_EQ(d.encodeXml(), 0);
        const std::string earlier = encoded(d);
        samples::fill(d);
        Document other;
        samples::fill(other);
        ASSERT_EQ(other.encodeXml(), 0);
        const std::string wanted = encoded(other);
        ASSERT_NE(wanted, earlier);
        int failures = 0;
        for (int n = 0;; ++n) {
            fail_after(n, then);
            const int status = d.encodeXml();
            const bool short_of_memory = has_failed();
            fail_never();
            if (status == 0) {
                EXPECT_EQ(encoded(d), wanted) << "allocation " << n;
                if (!short_of_memory) break;
                d.~Document();
                new (&d) Document;
                ASSERT_EQ(d.encodeXml(), 0);
                samples::fill(d);
                continue;
            }
            ++failures;
            EXPECT_EQ(status, -1);
            EXPECT_EQ(encoded(d), earlier) << "allocation " << n;
        }
        EXPECT_GT(failures, 10);
    }
};

TEST_F(ADocumentWithoutMemory, IsWrittenWholeOrNotAtAll)
{
    for (const Then then : {ALL_FAIL, ALL_SUCCEED}) {
        expect_whole_or_nothing_written<DALinkEvXmlData>(then);
        expect_whole_or_nothing_written<DALinkAvailEvXmlData>(then);
        expect_whole_or_nothing_written<DAMessageXmlData>(then);
        expect_whole_or_nothing_written<IMSSetRouteXml>(then);
        expect_whole_or_nothing_written<IMSComponentPackageInfo>(then);
        expect_whole_or_nothing_written<RegUaXmlData>(then);
        expect_whole_or_nothing_written<NotifyUaXmlData>(then);
        expect_whole_or_nothing_written<AppToRegUaXmlData>(then);
    }
}

// Read strictly; a text that is recovered may be a part of what was sent, here too. Only up to the tree:
// libxml2 2.9.14's evaluator of XPath expressions frees a block twice when it runs out of memory at the wrong
// moment.
class AReceivedTextWithoutMemory : public FailingAllocations {
protected:
    // The tree of `text` written out again; "" when there is none.
    static std::string tree_of(const std::string& text, int n, Then then)
    {
        fail_after(n, then);
        ParsedText parsed("inside parseXml", text.data(), static_cast<int>(text.size()));
        fail_never();
        if (!parsed) return "";
        xmlChar* dumped = nullptr;
        int length = 0;
        xmlDocDumpMemory(parsed.tree(), &dumped, &length);
        std::string result(reinterpret_cast<char*>(dumped), static_cast<std::size_t>(length));
        xmlFree(dumped);
        return result;
    }
    LogRecords quiet;
};

TEST_F(AReceivedTextWithoutMemory, IsAWholeTreeOrNone)
{
    const std::string text = "<!DOCTYPE e [<!ENTITY u \"b\">]><e xmlns:p=\"urn:p\"><name>a&u;c</name>"
                             "<aor p:state=\"x&u;\">sip:&amp;<![CDATA[&]]></aor><!-- y --><?z?></e>";
    const std::string whole = tree_of(text, 100000, ALL_FAIL);
    ASSERT_NE(whole, "");
    for (const Then then : {ALL_FAIL, ALL_SUCCEED}) {
        int none = 0;
        for (int n = 0;; ++n) {
            const std::string tree = tree_of(text, n, then);
            if (!has_failed()) break;
            none += tree.empty() ? 1 : 0;
            EXPECT_TRUE(tree.empty() || tree == whole) << "allocation " << n << ": " << tree;
        }
        EXPECT_GT(none, 10);
    }
}

TEST_F(AReceivedTextWithoutMemory, IsNoRegistrationStateOrAWholeOne)
{
    const std::string text = "<reginfo xmlns=\"urn:x\" state=\"full\"><registration aor=\"sip:a\">"
                             "<contact state=\"active\" expires=\"7\"><uri>sip:b</uri></contact>"
                             "</registration></reginfo>";
    for (const Then then : {ALL_FAIL, ALL_SUCCEED}) {
        for (int n = 0;; ++n) {
            RegXmlData d;
            d.match_uri = "sip:b";
            fail_after(n, then);
            const int status = parse(d, text);
            fail_never();
            const std::size_t entries = d.aors.size();
            EXPECT_EQ(d.states.size(), entries);
            EXPECT_EQ(d.expires_list.size(), entries);
            if (!has_failed()) break;
            if (status != 0) {
                EXPECT_EQ(entries, 0u);
                EXPECT_EQ(d.reginfo_state, "");
            }
        }
    }
}

// ---- our own allocations: the texts of the fields, the lists

// Longer than what a string holds without an allocation.
const std::string LONG = "a text that is longer than what fits into a string itself";

// Reads `text` with each allocation failing in turn: -1 and a line when one did, and nothing leaves.
template <typename Document, typename Look>
void expect_refused_when_memory_runs_out(const std::string& text, Look look)
{
    std::string received = text;
    int status = 0;
    std::unique_ptr<Document> d;
    const int failures = sweep(
        [&] {
            d->buffer = received.data();
            d->buffer_length = static_cast<int>(received.size());
            status = d->parseXml();
        },
        [&](bool has_failed, int lines) {
            EXPECT_EQ(status, has_failed ? -1 : 0);
            EXPECT_EQ(lines > 0, has_failed); // who takes a text apart may tell it as well
            look(*d);
        },
        [&] { d = std::make_unique<Document>(); });
    EXPECT_GT(failures, 0);
}

template <typename Document>
void expect_refused_when_memory_runs_out(const std::string& element)
{
    expect_refused_when_memory_runs_out<Document>(
        "<any><" + element + ">" + LONG + "</" + element + "></any>", [](const Document&) {});
}

TEST(AReceivedTextWithoutRoom, IsRefused)
{
    expect_refused_when_memory_runs_out<DALinkEvXmlData>("status");
    expect_refused_when_memory_runs_out<DALinkAvailEvXmlData>("hplmn");
    expect_refused_when_memory_runs_out<IMSSetRouteXml>("ip-address");
    expect_refused_when_memory_runs_out<IMSComponentPackageInfo>("package-info");
    expect_refused_when_memory_runs_out<RegUaXmlData>("aor");
    expect_refused_when_memory_runs_out<RegistrarToRegUaXmlData>("interval");
    expect_refused_when_memory_runs_out<NotifyUaXmlData>("reg-status");
    expect_refused_when_memory_runs_out<AppToRegUaXmlData>("diagnostic");
    expect_refused_when_memory_runs_out<RegUaNotifyData>("event");
}

TEST(AReceivedTextWithoutRoom, IsRefusedAlsoWhereItIsTakenApart)
{
    const std::string proxy = LONG + ":" + LONG + ":5060";
    expect_refused_when_memory_runs_out<DALinkEvXmlData>(
        "<l><proxy-list>" + proxy + ";" + proxy + "</proxy-list></l>", [](const DALinkEvXmlData& d) {
            for (const auto& each : d.proxy_list)
                EXPECT_EQ(each.address + each.kind, LONG + LONG);
        });
    expect_refused_when_memory_runs_out<DAMessageXmlData>(
        "<l><ip-address>" + proxy + "," + proxy + "</ip-address></l>", [](const DAMessageXmlData& d) {
            for (const auto& each : d.proxy_list)
                EXPECT_EQ(each.address + each.kind, LONG + LONG);
        });
    expect_refused_when_memory_runs_out<RegUaXmlData>(
        "<u><sip-headers>" + LONG + ":" + LONG + "</sip-headers></u>", [](const RegUaXmlData& d) {
            EXPECT_EQ(d.header_name, d.header_value); // both or none
        });
}

TEST(AReceivedTextWithoutRoom, GivesWholeEntriesOfRegistrationsOnly)
{
    std::string registrations;
    for (int i = 0; i < 5; ++i)
        registrations += "<registration aor=\"" + LONG + "\"><contact state=\"" + LONG +
                         "\" expires=\"7\"><uri>" + LONG + "</uri></contact></registration>";
    expect_refused_when_memory_runs_out<RegXmlData>(
        "<reginfo state=\"" + LONG + "\">" + registrations + "</reginfo>", [](const RegXmlData& d) {
            EXPECT_EQ(d.states, d.aors); // both are LONG
            EXPECT_EQ(d.expires_list.size(), d.aors.size());
        });
}

TEST(ARegistrationStateWithoutRoom, TellsItOfItsPartsToo)
{
    const std::string text = "<registration aor=\"a\"><contact state=\"" + LONG + "\"><uri>" + LONG +
                             "</uri></contact></registration>";
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0), xmlFreeDoc);
    xmlNode* const registration = xmlDocGetRootElement(doc.get());
    RegXmlData d;
    std::string state;
    std::string uri;
    int expires = 0;
    bool found = false;
    EXPECT_GT(sweep([&] { d.get_reg_info(registration, state, expires, found); },
                    [&](bool has_failed, int lines) {
                        EXPECT_EQ(found, !has_failed);
                        EXPECT_EQ(lines, has_failed ? 1 : 0);
                    }),
              1);
    EXPECT_GT(sweep([&] { d.get_uri(registration->children, uri); },
                    [&](bool has_failed, int lines) {
                        EXPECT_EQ(uri, has_failed ? "" : LONG);
                        EXPECT_EQ(lines, has_failed ? 1 : 0);
                    },
                    [&] { uri = std::string(); }),
              0);
}

TEST(AValueWithoutRoom, IsNotFound)
{
    const std::string text = "<a><b>" + LONG + "</b></a>";
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0), xmlFreeDoc);
    std::string out;
    bool found = false;
    EXPECT_GT(sweep([&] { found = XmlData::get_value(doc.get(), "//b", out); },
                    [&](bool has_failed, int lines) {
                        EXPECT_EQ(found, !has_failed);
                        EXPECT_EQ(out, has_failed ? "" : LONG);
                        EXPECT_EQ(lines, has_failed ? 1 : 0);
                    },
                    [&] { out = std::string(); }),
              0);
}

// Writes the document with each allocation failing in turn, at least `least` of them.
template <typename Document>
void expect_not_written_when_memory_runs_out(Document& d, int least)
{
    int status = 0;
    EXPECT_GE(sweep([&] { status = d.encodeXml(); },
                    [&](bool has_failed, int lines) {
                        EXPECT_EQ(status, has_failed ? -1 : 0);
                        EXPECT_EQ(lines, has_failed ? 1 : 0);
                        EXPECT_EQ(d.encoded_buffer != nullptr, !has_failed);
                    }),
              least);
}

TEST(ADocumentWithoutRoom, IsNotWritten)
{
    RegUaXmlData description;
    description.header_name = description.header_value = LONG;
    expect_not_written_when_memory_runs_out(description, 1);
    DALinkEvXmlData event;
    samples::fill(event);
    expect_not_written_when_memory_runs_out(event, 1);
    DAMessageXmlData discovery;
    samples::fill(discovery);
    expect_not_written_when_memory_runs_out(discovery, 1);
    IMSSetRouteXml route; // borrows what it writes
    route.action = LONG;
    expect_not_written_when_memory_runs_out(route, 0);
}

// ---- texts that want more memory than they have bytes

// Entities of entities, `width` references each, as deep as fits into `size` bytes; the last one stands where
// `%` stands in `document`.
std::string nested_entities(const std::string& document, int width, std::size_t size)
{
    const std::size_t at = document.find('%');
    std::string declarations = "<!DOCTYPE d [<!ENTITY a0 \"lol\">";
    for (int level = 1;; ++level) {
        const std::string reference = "&a" + std::to_string(level - 1) + ";";
        std::string next = "<!ENTITY a" + std::to_string(level) + " \"";
        for (int i = 0; i < width; ++i)
            next += reference;
        next += "\">";
        if (declarations.size() + next.size() + document.size() + 16 > size)
            return declarations + "]>" + document.substr(0, at) + reference + document.substr(at + 1);
        declarations += next;
    }
}

// One long entity, referred to as often as fits into `size` bytes.
std::string repeated_entity(const std::string& document, std::size_t size)
{
    const std::size_t at = document.find('%');
    const std::size_t room = size - document.size() - 40;
    std::string text = "<!DOCTYPE d [<!ENTITY a \"" + std::string(room / 2, 'x') + "\">]>";
    text += document.substr(0, at);
    for (std::size_t i = 0; i < room / 2 / 3; ++i)
        text += "&a;";
    return text + document.substr(at + 1);
}

constexpr const char* REGINFO =
    "<reginfo state=\"s\"><registration aor=\"a\"><contact state=\"s\"><uri>%</uri>"
    "</contact></registration></reginfo>";

class AHostileText : public FailingAllocations {
protected:
    struct Cost {
        std::size_t bytes; // that libxml2 held at the worst moment
        double seconds;    // of this process
    };
    template <typename Document>
    void read(const std::string& text)
    {
        Document d;
        parse(d, text);
    }
    void read_by_all(const std::string& text)
    {
        read<DALinkEvXmlData>(text);
        read<DALinkAvailEvXmlData>(text);
        read<DAMessageXmlData>(text);
        read<IMSSetRouteXml>(text);
        read<IMSComponentPackageInfo>(text);
        read<RegUaXmlData>(text);
        read<RegistrarToRegUaXmlData>(text);
        read<NotifyUaXmlData>(text);
        read<AppToRegUaXmlData>(text);
        read<RegUaNotifyData>(text);
        read<RegXmlData>(text);
    }
    template <typename Work>
    Cost cost_of(Work work)
    {
        forget_most_held();
        const double before = cpu_seconds();
        work();
        return {most_held(), cpu_seconds() - before};
    }
    static double cpu_seconds()
    {
        timespec now{};
        ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    }
    void read_nested(std::size_t size)
    {
        for (const char* document : DOCUMENTS)
            for (const int width : {2, 3, 10})
                read_by_all(nested_entities(document, width, size));
    }

    static constexpr const char* DOCUMENTS[] = {
        "<d><name>%</name></d>",
        "<d><aor>%</aor><event>%</event></d>",
        "<d><ip-address>%</ip-address><package-info>x</package-info></d>",
        REGINFO,
        "<reginfo state=\"%\"/>",
    };
    LogRecords quiet;
};

// The document that recovers what it can meets the same limits.
TEST_F(AHostileText, OfNestedEntitiesExpandsToLittleAlsoWhenItIsRecovered)
{
    for (const int width : {2, 3, 10}) {
        RegUaNotifyData d;
        parse(d, nested_entities(DOCUMENTS[1], width, 16384));
        EXPECT_LT(d.aor.size() + d.event.size(), 1000000u) << width;
    }
}

// Each is read 165 times: five texts, three widths, eleven documents.
TEST_F(AHostileText, OfNestedEntitiesCostsLittle)
{
    const Cost body = cost_of([this] { read_nested(1024); });
    EXPECT_LT(body.bytes, 500000u);
    EXPECT_LT(body.seconds, 20.0);
    const Cost large = cost_of([this] { read_nested(16384); });
    EXPECT_LT(large.bytes, 1500000u);
    EXPECT_LT(large.seconds, 20.0);
}

TEST_F(AHostileText, OfOneEntityOverAndOverCostsLittleWithinABodysLength)
{
    const Cost cost = cost_of([this] {
        for (const char* document : DOCUMENTS)
            read_by_all(repeated_entity(document, 1024));
    });
    EXPECT_LT(cost.bytes, 500000u);
    EXPECT_LT(cost.seconds, 20.0);
}

// The text grows with the square of what was received, which is why larger ones are to be bounded before they
// are handed over; the time grows with the text and no more.
TEST_F(AHostileText, OfOneEntityOverAndOverIsBoundedByTheSquareOfItsLength)
{
    const std::string by_name = repeated_entity("<d><aor>%</aor></d>", 16384);
    RegUaXmlData d;
    const Cost of_name = cost_of([&] { parse(d, by_name); });
    EXPECT_GT(d.aor.size(), 16000000u);
    EXPECT_LT(d.aor.size(), 25000000u);
    EXPECT_LT(of_name.seconds, 5.0);
    // A smaller one: libxml2 grows the walk's text bit by bit, which only an allocator that moves pages does
    // fast.
    const Cost of_walk = cost_of([this] { read<RegXmlData>(repeated_entity(REGINFO, 4096)); });
    EXPECT_LT(of_walk.bytes, 5000000u);
    EXPECT_LT(of_walk.seconds, 10.0);
    RecordProperty("seconds", std::to_string(of_name.seconds) + " and " + std::to_string(of_walk.seconds));
}

} // namespace
