// Documents: encode and parse, each beside the same libxml2 calls written bare.
//
// The bare side is a table of the elements and of the look-ups, walked by two loops that make the calls which
// a document makes, the clean-up at the end of each included, and keep the values in plain strings; it has no
// log, no lock and no class. Adding a document is adding a row to `main`.
//
// "Quiet" logs nothing but fatal lines, as a daemon is deployed (-loglevel 3), and has the target. "Failures
// logged" also writes the level-4 lines, to /dev/null: a parse has one for each element that the text does
// not carry.
#include "baseuafw/baseuafw.h"
#include "bench/support/ratios.h"
#include "include/imsua.h"
#include "tests/support/sample_documents.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlmemory.h>
#include <libxml/xpath.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

const xmlChar* chars(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

// ---- bare

struct Row {
    int depth;
    const char* name;
    const char* text; // null: the element only groups others
};
struct Bare;
using Values = std::array<std::string, 18>;
using Reader = void (*)(const Bare&, xmlDocPtr, Values&);

// What one document writes and what it looks for.
struct Bare {
    const char* root;
    std::vector<Row> tree;
    std::vector<const char*> lookups;
    int options = 0;
    Reader read;
};

struct Text {
    xmlChar* bytes = nullptr;
    int length = 0;
};

Text dump(xmlDocPtr doc)
{
    Text text;
    xmlDocDumpFormatMemoryEnc(doc, &text.bytes, &text.length, "UTF-8", 1);
    xmlFreeDoc(doc);
    xmlCleanupParser();
    xmlMemoryDump();
    return text;
}

// The values of a document, filled as its owner fills them.
void fill(const Bare& d, Values& values)
{
    std::size_t next = 0;
    for (const Row& row : d.tree)
        if (row.text) values[next++] = row.text;
}

Text encode(const Bare& d, const Values& values)
{
    xmlNodePtr path[8] = {};
    std::size_t next = 0;
    xmlDocPtr doc = xmlNewDoc(chars("1.0"));
    path[0] = xmlNewNode(nullptr, chars(d.root));
    xmlDocSetRootElement(doc, path[0]);
    for (const Row& row : d.tree)
        path[row.depth] = xmlNewChild(path[row.depth - 1], nullptr, chars(row.name),
                                      row.text ? chars(values[next++].c_str()) : nullptr);
    return dump(doc);
}

void look_up(xmlDocPtr doc, const char* xpath, std::string& out)
{
    xmlXPathContextPtr context = xmlXPathNewContext(doc);
    xmlXPathObjectPtr found = xmlXPathEvalExpression(chars(xpath), context);
    xmlXPathFreeContext(context);
    if (found->nodesetval && found->nodesetval->nodeNr > 0) {
        xmlChar* text = xmlNodeListGetString(doc, found->nodesetval->nodeTab[0]->children, 1);
        if (text) out = reinterpret_cast<const char*>(text);
        xmlFree(text);
    }
    xmlXPathFreeObject(found);
}

// Numbers and proxies stay texts: taking them apart is no libxml2 call.
void read_by_name(const Bare& d, xmlDocPtr doc, Values& values)
{
    std::size_t next = 0;
    for (const char* lookup : d.lookups)
        look_up(doc, lookup, values[next++]);
}

const char* attribute(xmlNodePtr node, const char* name)
{
    const xmlAttr* found = xmlHasProp(node, chars(name));
    return found ? reinterpret_cast<const char*>(found->children->content) : "-1";
}

bool is(xmlNodePtr node, const char* name)
{
    return xmlStrEqual(node->name, chars(name)) != 0;
}

// Every registration's first contact.
void read_registrations(const Bare&, xmlDocPtr doc, Values& values)
{
    std::size_t next = 0;
    xmlNodePtr root = xmlDocGetRootElement(doc);
    values[next++] = attribute(root, "state");
    for (xmlNodePtr registration = root->children; registration; registration = registration->next) {
        if (!is(registration, "registration")) continue;
        xmlNodePtr contact = registration->children;
        while (contact && !is(contact, "contact"))
            contact = contact->next;
        if (!contact) continue;
        xmlNodePtr uri = contact->children;
        while (uri && !is(uri, "uri"))
            uri = uri->next;
        xmlChar* text = xmlNodeGetContent(uri);
        benchmark::DoNotOptimize(std::string(reinterpret_cast<char*>(text)));
        xmlFree(text);
        values[next++] = attribute(contact, "state");
        benchmark::DoNotOptimize(std::atoi(attribute(contact, "expires")));
        values[next++] = attribute(registration, "aor");
    }
}

// ---- what is measured

enum : int { QUIET = 3, FAILURES = 4 };

// A fresh document for each message.
template <typename Document>
void encode_ours(benchmark::State& state)
{
    IMS_log::set_level(QUIET);
    for (auto _ : state) {
        Document document;
        samples::fill(document);
        benchmark::DoNotOptimize(document.encodeXml());
    }
}

void encode_bare(benchmark::State& state, const Bare& bare)
{
    for (auto _ : state) {
        xmlCheckVersion(20616);
        Values values;
        fill(bare, values);
        const Text text = encode(bare, values);
        benchmark::DoNotOptimize(text.length);
        xmlFree(text.bytes);
    }
}

// One document for many messages, as a sweep over all subscribers encodes it.
template <typename Document>
void encode_again_ours(benchmark::State& state)
{
    IMS_log::set_level(QUIET);
    Document document;
    samples::fill(document);
    for (auto _ : state)
        benchmark::DoNotOptimize(document.encodeXml());
}

void encode_again_bare(benchmark::State& state, const Bare& bare)
{
    Values values;
    fill(bare, values);
    for (auto _ : state) {
        const Text text = encode(bare, values);
        benchmark::DoNotOptimize(text.length);
        xmlFree(text.bytes);
    }
}

template <typename Document>
void parse_ours(benchmark::State& state, std::string text)
{
    IMS_log::set_level(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Document document;
        document.buffer = text.data();
        document.buffer_length = static_cast<int>(text.size());
        benchmark::DoNotOptimize(document.parseXml());
    }
}

void parse_bare(benchmark::State& state, const Bare& bare, const std::string& text)
{
    for (auto _ : state) {
        xmlCheckVersion(20616);
        Values values;
        xmlDocPtr doc =
            xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, bare.options);
        bare.read(bare, doc, values);
        benchmark::DoNotOptimize(values.data());
        xmlFreeDoc(doc);
        xmlCleanupParser();
    }
}

class Measurements {
public:
    // A document that is written and read. Both sides are checked to write the same text.
    template <typename Document>
    void both_ways(const std::string& name, const Bare& bare)
    {
        const std::string text = text_of(bare);
        Document document;
        samples::fill(document);
        if (document.encodeXml() != 0 || text != document.buffer) {
            std::fprintf(stderr, "%s: the two sides differ:\n%s%s", name.c_str(), document.buffer,
                         text.c_str());
            std::abort();
        }
        add(name + "Encode", encode_ours<Document>, [bare](benchmark::State& s) { encode_bare(s, bare); });
        add(name + "EncodeAgain", encode_again_ours<Document>,
            [bare](benchmark::State& s) { encode_again_bare(s, bare); });
        read<Document>(name, bare, text);
    }
    // A document that is read only, from `text` or from what the bare side writes.
    template <typename Document>
    void read(const std::string& name, const Bare& bare, const std::string& text)
    {
        add(
            name + "Parse", [text](benchmark::State& s) { parse_ours<Document>(s, text); },
            [bare, text](benchmark::State& s) { parse_bare(s, bare, text); });
    }
    static std::string text_of(const Bare& bare)
    {
        Values values;
        fill(bare, values);
        const Text text = encode(bare, values);
        std::string result(reinterpret_cast<char*>(text.bytes), static_cast<std::size_t>(text.length));
        xmlFree(text.bytes);
        return result;
    }

    std::vector<bench::Ratio> ratios;

private:
    template <typename Ours, typename Baseline>
    void add(const std::string& what, Ours ours, Baseline bare)
    {
        const bool parses = what.find("Parse") != std::string::npos;
        auto* registered = benchmark::RegisterBenchmark((what + "/ours").c_str(), ours)->Arg(QUIET);
        ratios.push_back({what + ", quiet", what + "/ours/3", what + "/bare", 0.9});
        if (parses) {
            registered->Arg(FAILURES);
            ratios.push_back({what + ", failures logged", what + "/ours/4", what + "/bare", 0}); // to be seen
        }
        benchmark::RegisterBenchmark((what + "/bare").c_str(), bare);
    }
};

const char* const REGINFO =
    "<?xml version=\"1.0\"?>\n"
    "<reginfo xmlns=\"urn:ietf:params:xml:ns:reginfo\" version=\"0\" state=\"full\">\n"
    "  <registration aor=\"sip:alice@home.example\" id=\"r1\" state=\"active\">\n"
    "    <contact id=\"c1\" state=\"active\" event=\"registered\" expires=\"3600\" q=\"0.8\">\n"
    "      <uri>sip:alice@192.0.2.7:5070</uri>\n"
    "    </contact>\n"
    "  </registration>\n"
    "  <registration aor=\"tel:+15550100\" id=\"r2\" state=\"active\">\n"
    "    <contact id=\"c2\" state=\"active\" event=\"created\" expires=\"3600\">\n"
    "      <uri>sip:alice@192.0.2.7:5070</uri>\n"
    "    </contact>\n"
    "  </registration>\n"
    "</reginfo>\n";

// ---- the documents, each as what its bare side writes and looks for

const Bare LINK_EVENT = {"link-info",
                         {{1, "profile-info", nullptr},
                          {2, "name", "internet"},
                          {2, "kiv-profile-id", "3"},
                          {2, "link-reference", "17"},
                          {2, "network", nullptr},
                          {3, "access-network", "IEEE"},
                          {3, "IEEE", nullptr},
                          {4, "access-type", "IEEE-802.11g"},
                          {4, "AP", "00:11:22:33:44:55"},
                          {3, "proxy-list", "192.0.2.1:pcscf:5060;proxy.example.com:backup:5061"},
                          {2, "device", nullptr},
                          {3, "name", "wlan0"},
                          {3, "ue-mac", "02:00:00:00:00:01"},
                          {3, "ip-address", "192.0.2.7"},
                          {3, "status", "up"},
                          {3, "cause", "carrier"}},
                         {"//name", "//kiv-profile-id", "//link-reference", "//access-network",
                          "//access-type", "//hplmn", "//utran-cell-id-3gpp", "//AP", "//device/name",
                          "//ue-mac", "//ip-address", "//status", "//cause", "//proxy-list"},
                         0,
                         read_by_name};

const Bare LINK_AVAILABILITY = {
    "link-info",
    {{1, "network", nullptr},
     {2, "access-network", "IEEE"},
     {2, "IEEE", nullptr},
     {3, "access-type", "IEEE-802.11g"},
     {3, "AP", "00:11:22:33:44:55"}},
    {"//access-network", "//access-type", "//hplmn", "//utran-cell-id-3gpp", "//AP"},
    0,
    read_by_name};

const Bare PROXY_DISCOVERY = {"link-info",
                              {{1, "profile-info", nullptr},
                               {2, "name", "internet"},
                               {2, "kiv-profile-id", "3"},
                               {2, "link-reference", "17"},
                               {2, "action", "found"},
                               {2, "napi-profile-name", "ap1"},
                               {2, "proxy", nullptr},
                               {3, "disc-pref", "dns"},
                               {3, "dns-realm", "home.example"},
                               {3, "dns-services", "SIP+D2U"},
                               {3, "ip-address", "192.0.2.1:pcscf:5060,proxy.example.com:backup:5061"}},
                              {"//name", "//kiv-profile-id", "//link-reference", "//napi-profile-name",
                               "//action", "//disc-pref", "//ip-address", "//dns-realm", "//dns-services"},
                              0,
                              read_by_name};

const Bare ROUTE = {"route-info",
                    {{1, "profile-info", nullptr},
                     {2, "kiv-profile-id", "3"},
                     {1, "action", "set"},
                     {1, "device", nullptr},
                     {2, "name", "wlan0"},
                     {1, "proxy", nullptr},
                     {2, "ip-address", "192.0.2.1"},
                     {1, "ue-sip-port", "5062"}},
                    {"//kiv-profile-id", "//action", "//ip-address", "//name", "//ue-sip-port"},
                    0,
                    read_by_name};

const Bare COMPONENT_PACKAGE = {
    "module-info", {{1, "package-info", "presence-agent-2"}}, {"//package-info"}, 0, read_by_name};

const Bare DESCRIPTION = {"ua-info",
                          {{1, "profile-info", nullptr},
                           {2, "name", "internet"},
                           {1, "aor", "sip:alice@home.example"},
                           {2, "request-routing-support", nullptr},
                           {3, "methods", "INVITE,MESSAGE"},
                           {3, "content-type", "application/sdp"},
                           {3, "events", "presence"},
                           {2, "ua-specific-parameters", nullptr},
                           {3, "sip-headers", nullptr},
                           {4, "header", "Accept-Contact: *"},
                           {3, "ua-section-in-network-profile", "voice"}},
                          {"//aor", "//name", "//methods", "//content-type", "//events",
                           "//ua-section-in-network-profile", "//sip-headers"},
                          0,
                          read_by_name};

const Bare STATUS = {"eventinfo",
                     {{1, "profile-info", nullptr},
                      {2, "name", "internet"},
                      {2, "ip-address", "192.0.2.7"},
                      {2, "reg-status", "registered"},
                      {2, "access-network", "IEEE"}},
                     {"//name", "//ip-address", "//reg-status", "//access-network"},
                     0,
                     read_by_name};

const Bare REQUEST = {
    "eventinfo",
    {{1, "request-type", "register"}, {1, "error", "403"}, {1, "diagnostic", "not allowed"}},
    {"//request-type", "//error", "//diagnostic"},
    0,
    read_by_name};

const Bare CONFIGURATION = {"registrar-info",
                            {{1, "name", "internet"},
                             {1, "kiv-profile-id", "3"},
                             {1, "action", "register"},
                             {1, "napi-profile-name", "ap1"},
                             {1, "aor", "sip:alice@home.example"},
                             {1, "reg-expiry", "3600"},
                             {1, "impi", "alice@home.example"},
                             {1, "impu", "sip:alice@home.example"},
                             {1, "id", "r1"},
                             {1, "registrar-address", "sip:registrar.home.example"},
                             {1, "registrar-realm", "home.example"},
                             {1, "domain-name", "home.example"},
                             {1, "disc-pref", "dns"},
                             {1, "dns-realm", "home.example"},
                             {1, "ip-address", "192.0.2.1"},
                             {1, "ue-sip-port", "5062"},
                             {1, "max-attempts", "5"},
                             {1, "interval", "30"}},
                            {"//name", "//kiv-profile-id", "//action", "//napi-profile-name", "//aor",
                             "//reg-expiry", "//impi", "//impu", "//id", "//registrar-address",
                             "//registrar-realm", "//domain-name", "//disc-pref", "//dns-realm",
                             "//ip-address", "//ue-sip-port", "//max-attempts", "//interval"},
                            0,
                            read_by_name};

const Bare VALUES = {"notification",
                     {{1, "registration", "r1"},
                      {1, "aor", "sip:alice@home.example"},
                      {1, "contact", "c1"},
                      {1, "state", "active"},
                      {1, "xmlns", "urn:ietf:params:xml:ns:reginfo"},
                      {1, "version", "0"},
                      {1, "duration-registered", "7322"},
                      {1, "uri", "sip:alice@192.0.2.7:5070"},
                      {1, "event", "registered"}},
                     {"//registration", "//aor", "//contact", "//state", "//xmlns", "//version",
                      "//duration-registered", "//uri", "//event"},
                     XML_PARSE_RECOVER,
                     read_by_name};

const Bare STATE = {"reginfo", {}, {}, 0, read_registrations};

} // namespace

int main(int argc, char** argv)
{
    char program[] = "documents_bench";
    char option[] = "-logfile";
    char nowhere[] = "/dev/null";
    char* log_options[] = {program, option, nowhere, nullptr};
    IMS_log::set_options(3, log_options);
    Measurements all;
    all.both_ways<DALinkEvXmlData>("LinkEvent", LINK_EVENT);
    all.both_ways<DALinkAvailEvXmlData>("LinkAvailability", LINK_AVAILABILITY);
    all.both_ways<DAMessageXmlData>("ProxyDiscovery", PROXY_DISCOVERY);
    all.both_ways<IMSSetRouteXml>("Route", ROUTE);
    all.both_ways<IMSComponentPackageInfo>("ComponentPackage", COMPONENT_PACKAGE);
    all.both_ways<RegUaXmlData>("UaInfo", DESCRIPTION);
    all.both_ways<NotifyUaXmlData>("RegistrationStatus", STATUS);
    all.both_ways<AppToRegUaXmlData>("ApplicationRequest", REQUEST);
    all.read<RegistrarToRegUaXmlData>("RegistrarConfiguration", CONFIGURATION,
                                      Measurements::text_of(CONFIGURATION));
    all.read<RegUaNotifyData>("RegistrationValues", VALUES, Measurements::text_of(VALUES));
    all.read<RegXmlData>("RegistrationState", STATE, REGINFO);
    return bench::run_with_ratios(argc, argv, all.ratios);
}
