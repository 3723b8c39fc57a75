// The schemas of docs/schemas/ describe what the documents write: xmllint accepts every encoding, and refuses
// each change of one.
#include "tests/support/process.h"
#include "tests/support/sample_documents.h"
#include "tests/support/temp_dir.h"
#include "tests/xml/documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <algorithm>
#include <functional>

namespace {

// What `Document` writes once `fill` has filled it.
template <typename Document, typename Fill>
std::string written(Fill fill)
{
    Document d;
    fill(d);
    EXPECT_EQ(d.encodeXml(), 0);
    return encoded(d);
}

// The documents of one kind: as they start, as the sample has them, and with texts that XML must escape.
template <typename Document>
std::vector<std::string> texts_of(const std::vector<std::string Document::*>& fields)
{
    return {
        written<Document>([](Document&) {}),
        written<Document>([](Document& d) { samples::fill(d); }),
        written<Document>([&](Document& d) {
            for (const auto field : fields)
                d.*field = "a&amp;b<c>\r\n\t\"'\xc3\xa4";
        }),
    };
}

struct Kind {
    const char* schema;
    std::vector<std::string> texts; // the second one is of the sample
    const char* optional = "";      // the one element that may be missing
};

std::vector<Kind> kinds()
{
    using Link = DALinkEvXmlData;
    using Discovery = DAMessageXmlData;
    using Route = IMSSetRouteXml;
    using Description = RegUaXmlData;
    using Status = NotifyUaXmlData;
    using Request = AppToRegUaXmlData;
    std::vector<Kind> all = {
        {"link-event", texts_of<Link>({&Link::name, &Link::access_network})},
        {"link-availability", texts_of<DALinkAvailEvXmlData>({&DALinkAvailEvXmlData::access_network})},
        {"proxy-discovery",
         texts_of<Discovery>({&Discovery::name, &Discovery::action, &Discovery::ip_address})},
        {"route", texts_of<Route>({&Route::name, &Route::profile_id, &Route::ue_sip_port})},
        {"component-package", texts_of<IMSComponentPackageInfo>({&IMSComponentPackageInfo::package_info})},
        {"ua-info", texts_of<Description>({&Description::aor, &Description::header_name,
                                           &Description::header_value, &Description::ua_section})},
        {"registration-status", texts_of<Status>({&Status::name, &Status::reg_status})},
        {"application-request", texts_of<Request>({&Request::error, &Request::diagnostic})},
    };
    all[2].optional = "ip-address";
    all[0].texts.push_back(written<Link>([](Link& d) { samples::fill_coverage(d); }));
    all[2].texts.push_back(written<Discovery>([](Discovery& d) {
        samples::fill(d);
        d.proxy_list.clear();
    }));
    return all;
}

// xmllint's verdict on each of `texts`: true when it validates against the schema.
std::vector<bool> verdicts(const std::string& schema, const std::vector<std::string>& texts)
{
    TempDir dir;
    ProcessStart start;
    start.argv = {"xmllint", "--noout", "--schema", IMSUA_SOURCE_DIR "/docs/schemas/" + schema + ".xsd"};
    for (std::size_t i = 0; i < texts.size(); ++i)
        start.argv.push_back(dir.write(std::to_string(i) + ".xml", texts[i]));
    Process xmllint(start);
    const int status = xmllint.wait().status;
    EXPECT_TRUE(status == 0 || status == 1 || status == 3) << "xmllint (libxml2-utils) gave " << status;
    std::vector<bool> all;
    for (std::size_t i = 0; i < texts.size(); ++i)
        all.push_back(xmllint.log().find("/" + std::to_string(i) + ".xml validates\n") != std::string::npos);
    const bool none_fails = std::find(all.begin(), all.end(), false) == all.end();
    EXPECT_EQ(status == 0, none_fails) << schema << ": " << xmllint.log();
    return all;
}

// The elements of a tree in document order, the root first.
void collect(xmlNode* node, std::vector<xmlNode*>& out)
{
    for (; node; node = node->next) {
        if (node->type != XML_ELEMENT_NODE) continue;
        out.push_back(node);
        collect(node->children, out);
    }
}

// `text` after `change` was applied to its `n`-th element; "" when it has fewer.
std::string changed(const std::string& text, std::size_t n, const std::function<void(xmlNode*)>& change)
{
    xmlDoc* doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0);
    std::vector<xmlNode*> elements;
    collect(xmlDocGetRootElement(doc), elements);
    std::string result;
    if (n < elements.size()) {
        change(elements[n]);
        xmlChar* dumped = nullptr;
        int length = 0;
        xmlDocDumpMemory(doc, &dumped, &length);
        result.assign(reinterpret_cast<char*>(dumped), static_cast<std::size_t>(length));
        xmlFree(dumped);
    }
    xmlFreeDoc(doc);
    return result;
}

const xmlChar* chars(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

void remove(xmlNode* element)
{
    xmlUnlinkNode(element);
    xmlFreeNode(element);
}

void rename(xmlNode* element)
{
    xmlNodeSetName(element, chars("other"));
}

void repeat(xmlNode* element)
{
    xmlAddNextSibling(element, xmlCopyNode(element, 1));
}

void mark(xmlNode* element)
{
    xmlNewProp(element, chars("attribute"), chars("x"));
}

// `text` with each of its elements removed, renamed, repeated and marked in turn; but for a root, which can
// be neither removed nor repeated, and for `optional`, which may be missing.
std::vector<std::string> breaches(const std::string& text, const char* optional)
{
    std::vector<std::string> all;
    std::string name;
    const auto look = [&name](xmlNode* element) { name = reinterpret_cast<const char*>(element->name); };
    for (std::size_t n = 0; !changed(text, n, look).empty(); ++n) {
        all.push_back(changed(text, n, rename));
        all.push_back(changed(text, n, mark));
        if (n > 0) all.push_back(changed(text, n, repeat));
        if (n > 0 && name != optional) all.push_back(changed(text, n, remove));
    }
    return all;
}

TEST(TheSchemas, AcceptEveryEncoding)
{
    for (const Kind& kind : kinds()) {
        const std::vector<bool> accepted = verdicts(kind.schema, kind.texts);
        for (std::size_t i = 0; i < accepted.size(); ++i)
            EXPECT_TRUE(accepted[i]) << kind.schema << ":\n" << kind.texts[i];
    }
}

TEST(TheSchemas, RefuseAnyElementThatIsMissingOrOtherOrThereTwiceOrHasAnAttribute)
{
    for (const Kind& kind : kinds()) {
        for (const std::string& text : kind.texts) {
            const std::vector<std::string> wrong = breaches(text, kind.optional);
            ASSERT_GE(wrong.size(), 5u) << kind.schema;
            const std::vector<bool> accepted = verdicts(kind.schema, wrong);
            for (std::size_t i = 0; i < accepted.size(); ++i)
                EXPECT_FALSE(accepted[i]) << kind.schema << ":\n" << wrong[i];
        }
    }
}

TEST(TheSchemas, RefuseWhatTheOtherDocumentsWrite)
{
    const std::vector<Kind> all = kinds();
    for (const Kind& kind : all) {
        for (const Kind& other : all) {
            if (&other == &kind) continue;
            EXPECT_THAT(verdicts(kind.schema, other.texts), testing::Each(false))
                << kind.schema << " and " << other.schema;
        }
    }
}

// The types of single elements.
TEST(TheSchemas, RefuseTextsOfAnotherForm)
{
    const struct {
        const char* schema;
        std::size_t kind;
        const char* from;
        const char* to;
    } rows[] = {
        {"link-event", 0, "<kiv-profile-id>3<", "<kiv-profile-id>three<"},
        {"link-event", 0, "<link-reference>17<", "<link-reference>99999999999<"},
        {"link-event", 0, "5060;proxy", "5060,proxy"},
        {"proxy-discovery", 2, "<kiv-profile-id>3<", "<kiv-profile-id><"},
        {"ua-info", 5, "Accept-Contact: *", "Accept-Contact"},
    };
    const std::vector<Kind> all = kinds();
    for (const auto& row : rows) {
        std::string text = all[row.kind].texts[1];
        const std::size_t at = text.find(row.from);
        ASSERT_NE(at, std::string::npos) << row.from;
        text.replace(at, std::string(row.from).size(), row.to);
        EXPECT_THAT(verdicts(row.schema, {text}), testing::ElementsAre(false)) << text;
    }
}

// The form without a schema: no parser reads a name that starts with a digit.
TEST(TheSchemas, CannotDescribeTheAvailabilityOfTheRadioNetwork)
{
    const std::string text = written<DALinkAvailEvXmlData>([](auto& d) { samples::fill(d, "3GPP"); });
    EXPECT_THAT(verdicts("link-availability", {text}), testing::ElementsAre(false));
}

} // namespace
