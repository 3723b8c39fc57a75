// Documents: encode and parse, each beside the same libxml2 calls written bare.
//
// The bare side makes the calls that a document makes, the clean-up at the end of each included, and keeps
// the same values in plain strings; it has no log, no lock and no class. "Quiet" logs nothing but fatal
// lines, as a daemon is deployed (-loglevel 3), and has the target. "Failures logged" also writes the level-4
// lines, to /dev/null: a parse has one for each element that the form at hand does not carry.
#include "baseuafw/baseuafw.h"
#include "bench/support/ratios.h"
#include "xml/DALinkAvailEvXmlData.h"
#include "xml/DALinkEvXmlData.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlmemory.h>
#include <libxml/xpath.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

const xmlChar* chars(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

// ---- the values, alike on both sides

template <typename Record>
void fill_link(Record& d)
{
    d.name = "internet";
    d.profile_id = 3;
    d.link_reference = 17;
    d.access_network = "IEEE";
    d.ieee.access_type = "IEEE-802.11g";
    d.ieee.ap = "00:11:22:33:44:55";
    d.device.name = "wlan0";
    d.device.ue_mac = "02:00:00:00:00:01";
    d.device.ip_address = "192.0.2.7";
    d.device.status = "up";
    d.device.cause = "carrier";
    d.proxy_list = {{"192.0.2.1", 5060, "pcscf"}, {"proxy.example.com", 5061, "backup"}};
}

template <typename Record>
void fill_availability(Record& d)
{
    d.access_network = "IEEE";
    d.ieee.access_type = "IEEE-802.11g";
    d.ieee.ap = "00:11:22:33:44:55";
}

// ---- bare

struct BareLink {
    THREEGPP_INFO_T coverage;
    std::string name;
    int profile_id = 0;
    int link_reference = 0;
    std::string access_network;
    IEEE_INFO_T ieee;
    LINK_DEVICE_T device;
    std::vector<IMS_DA_PROXY_INFO> proxy_list;
};

struct BareAvailability {
    std::string access_network;
    THREEGPP_INFO_T threegpp;
    IEEE_INFO_T ieee;
};

xmlNodePtr add(xmlNodePtr parent, const char* name, const std::string& text)
{
    return xmlNewChild(parent, nullptr, chars(name), chars(text.c_str()));
}

xmlNodePtr group(xmlNodePtr parent, const char* name)
{
    return xmlNewChild(parent, nullptr, chars(name), nullptr);
}

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

Text encode(const BareLink& d)
{
    xmlDocPtr doc = xmlNewDoc(chars("1.0"));
    xmlNodePtr root = xmlNewNode(nullptr, chars("link-info"));
    xmlDocSetRootElement(doc, root);
    xmlNodePtr profile = group(root, "profile-info");
    add(profile, "name", d.name);
    add(profile, "kiv-profile-id", std::to_string(d.profile_id));
    add(profile, "link-reference", std::to_string(d.link_reference));
    xmlNodePtr network = group(profile, "network");
    add(network, "access-network", d.access_network);
    xmlNodePtr ieee = group(network, "IEEE");
    add(ieee, "access-type", d.ieee.access_type);
    add(ieee, "AP", d.ieee.ap);
    std::string proxies;
    for (const auto& proxy : d.proxy_list) {
        if (!proxies.empty()) proxies += ';';
        proxies += proxy.address + ":" + proxy.kind + ":" + std::to_string(proxy.port);
    }
    add(network, "proxy-list", proxies);
    xmlNodePtr device = group(profile, "device");
    add(device, "name", d.device.name);
    add(device, "ue-mac", d.device.ue_mac);
    add(device, "ip-address", d.device.ip_address);
    add(device, "status", d.device.status);
    add(device, "cause", d.device.cause);
    return dump(doc);
}

Text encode(const BareAvailability& d)
{
    xmlDocPtr doc = xmlNewDoc(chars("1.0"));
    xmlNodePtr root = xmlNewNode(nullptr, chars("link-info"));
    xmlDocSetRootElement(doc, root);
    xmlNodePtr network = group(root, "network");
    add(network, "access-network", d.access_network);
    xmlNodePtr ieee = group(network, "IEEE");
    add(ieee, "access-type", d.ieee.access_type);
    add(ieee, "AP", d.ieee.ap);
    return dump(doc);
}

bool value(xmlDocPtr doc, const char* xpath, std::string& out)
{
    xmlXPathContextPtr context = xmlXPathNewContext(doc);
    xmlXPathObjectPtr found = xmlXPathEvalExpression(chars(xpath), context);
    xmlXPathFreeContext(context);
    bool has_text = false;
    if (found->nodesetval && found->nodesetval->nodeNr > 0) {
        xmlChar* text = xmlNodeListGetString(doc, found->nodesetval->nodeTab[0]->children, 1);
        if (text) {
            out = reinterpret_cast<const char*>(text);
            has_text = true;
        }
        xmlFree(text);
    }
    xmlXPathFreeObject(found);
    return has_text;
}

void parse(BareLink& d, const std::string& text)
{
    xmlCheckVersion(20616);
    xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0);
    std::string number;
    std::string proxies;
    value(doc, "//name", d.name);
    if (value(doc, "//kiv-profile-id", number)) d.profile_id = std::atoi(number.c_str());
    if (value(doc, "//link-reference", number)) d.link_reference = std::atoi(number.c_str());
    value(doc, "//access-network", d.access_network);
    value(doc, "//access-type", d.coverage.access_type);
    value(doc, "//hplmn", d.coverage.hplmn);
    value(doc, "//utran-cell-id-3gpp", d.coverage.utran_cell_id);
    value(doc, "//AP", d.ieee.ap);
    value(doc, "//device/name", d.device.name);
    value(doc, "//ue-mac", d.device.ue_mac);
    value(doc, "//ip-address", d.device.ip_address);
    value(doc, "//status", d.device.status);
    value(doc, "//cause", d.device.cause);
    value(doc, "//proxy-list", proxies); // not taken apart: that is no libxml2 call
    xmlFreeDoc(doc);
    xmlCleanupParser();
}

void parse(BareAvailability& d, const std::string& text)
{
    xmlCheckVersion(20616);
    xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0);
    value(doc, "//access-network", d.access_network);
    value(doc, "//access-type", d.threegpp.access_type);
    value(doc, "//hplmn", d.threegpp.hplmn);
    value(doc, "//utran-cell-id-3gpp", d.threegpp.utran_cell_id);
    value(doc, "//AP", d.ieee.ap);
    xmlFreeDoc(doc);
    xmlCleanupParser();
}

// ---- what is measured

enum : int { QUIET = 3, FAILURES = 4 };

// One text for both sides, checked to be the same.
template <typename Document, typename Bare, typename Fill>
std::string common_text(Fill fill)
{
    Document document;
    fill(document);
    Bare bare;
    fill(bare);
    const Text text = encode(bare);
    const std::string theirs(reinterpret_cast<char*>(text.bytes), static_cast<std::size_t>(text.length));
    xmlFree(text.bytes);
    if (document.encodeXml() != 0 || theirs != document.buffer) std::abort();
    return theirs;
}

// A fresh document for each message.
template <typename Document, typename Fill>
void encode_ours(benchmark::State& state, Fill fill)
{
    IMS_log::set_level(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Document document;
        fill(document);
        benchmark::DoNotOptimize(document.encodeXml());
    }
}

template <typename Bare, typename Fill>
void encode_bare(benchmark::State& state, Fill fill)
{
    for (auto _ : state) {
        xmlCheckVersion(20616);
        Bare bare;
        fill(bare);
        const Text text = encode(bare);
        benchmark::DoNotOptimize(text.length);
        xmlFree(text.bytes);
    }
}

// One document for many messages, as a sweep over all subscribers encodes it.
template <typename Document, typename Fill>
void encode_again_ours(benchmark::State& state, Fill fill)
{
    IMS_log::set_level(static_cast<int>(state.range(0)));
    Document document;
    fill(document);
    for (auto _ : state)
        benchmark::DoNotOptimize(document.encodeXml());
}

template <typename Bare, typename Fill>
void encode_again_bare(benchmark::State& state, Fill fill)
{
    Bare bare;
    fill(bare);
    for (auto _ : state) {
        const Text text = encode(bare);
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

template <typename Bare>
void parse_bare(benchmark::State& state, const std::string& text)
{
    for (auto _ : state) {
        Bare bare;
        parse(bare, text);
        benchmark::DoNotOptimize(bare.ieee.ap.data());
    }
}

template <typename Document, typename Bare, typename Fill>
void measure(const std::string& name, Fill fill, std::vector<bench::Ratio>& ratios)
{
    const std::string text = common_text<Document, Bare>(fill);
    const auto ours = [](const std::string& what, auto run) {
        benchmark::RegisterBenchmark((what + "/ours").c_str(), run)->Arg(QUIET)->Arg(FAILURES);
    };
    ours(name + "Encode", [fill](benchmark::State& s) { encode_ours<Document>(s, fill); });
    ours(name + "EncodeAgain", [fill](benchmark::State& s) { encode_again_ours<Document>(s, fill); });
    ours(name + "Parse", [text](benchmark::State& s) { parse_ours<Document>(s, text); });
    benchmark::RegisterBenchmark((name + "Encode/bare").c_str(),
                                 [fill](benchmark::State& s) { encode_bare<Bare>(s, fill); });
    benchmark::RegisterBenchmark((name + "EncodeAgain/bare").c_str(),
                                 [fill](benchmark::State& s) { encode_again_bare<Bare>(s, fill); });
    benchmark::RegisterBenchmark((name + "Parse/bare").c_str(),
                                 [text](benchmark::State& s) { parse_bare<Bare>(s, text); });
    for (const char* what : {"Encode", "EncodeAgain", "Parse"}) {
        const std::string both = name + what;
        ratios.push_back({both + ", quiet", both + "/ours/3", both + "/bare", 0.9});
        ratios.push_back({both + ", failures logged", both + "/ours/4", both + "/bare", 0}); // to be seen
    }
}

} // namespace

int main(int argc, char** argv)
{
    char program[] = "documents_bench";
    char option[] = "-logfile";
    char nowhere[] = "/dev/null";
    char* log_options[] = {program, option, nowhere, nullptr};
    IMS_log::set_options(3, log_options);
    std::vector<bench::Ratio> ratios;
    measure<DALinkEvXmlData, BareLink>(
        "LinkEvent", [](auto& d) { fill_link(d); }, ratios);
    measure<DALinkAvailEvXmlData, BareAvailability>(
        "LinkAvailability", [](auto& d) { fill_availability(d); }, ratios);
    return bench::run_with_ratios(argc, argv, ratios);
}
