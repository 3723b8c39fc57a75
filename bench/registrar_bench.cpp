// A REGISTER towards the registrar on the device: setup_message end to end, and its User-agent line alone,
// each beside the same calls written bare.
//
// Both sides work on one real client connection, with one configuration store in memory, and do the same: the
// address taken apart twice, the headers set, the interface asked for its hardware address, the version file
// opened, the description built, written and copied, libxml2 cleaned up. The bare side has no log, no lock
// and no class. The version file is the device's own (/etc/ap_version.txt), so on a machine without one
// "SetupMessage" has the failing open on both sides; "UserAgent" reads a file of the benchmark's own.
#include "baseuafw/baseuafw.h"
#include "bench/support/ratios.h"
#include "core/IMS_User_Agent.h"
#include "registrar/IMS_LocalRegistrar.h"
#include "registrar/user_agent_header.h"
#include "xml/RegUaXmlData.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlmemory.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <net/if.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const std::string address = "<sip:joe@192.0.2.7:5070;transport=tcp>";
const std::string profile = "internet";
const std::string credentials = "Digest username=\"joe\", realm=\"device\", nonce=\"1\", response=\"2\"";
const char* const device_file = "/etc/ap_version.txt";

enum : int { QUIET = 3, TRACES = 5 };

// A configuration in memory: both sides ask it for the interface.
struct Store : SIP_IMS_cfg_intf {
    int get_one(const std::string&, std::string& value, const std::string&) override
    {
        value = "lo";
        return 1;
    }
    int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>&, const std::string&) override { return 0; }
    int set_one(const std::string&, const std::string&, const std::string&) override { return 0; }
    int wait_for_sync() override { return 0; }
};

Store store;

// ---- bare

std::string bare_user_agent(const char* path)
{
    std::string interface;
    store.get_one("//napi-profile-name", interface, "config");
    ifreq request = {};
    std::memcpy(request.ifr_name, interface.c_str(), interface.size());
    char mac[13] = "000000000000";
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (ioctl(fd, SIOCGIFHWADDR, &request) == 0) {
        unsigned char b[6];
        std::memcpy(b, request.ifr_hwaddr.sa_data, sizeof b);
        std::snprintf(mac, sizeof mac, "%02X%02X%02X%02X%02X%02X", b[0], b[1], b[2], b[3], b[4], b[5]);
    }
    close(fd);
    char version[49] = "R12_K_03.07.2AB";
    if (std::FILE* file = std::fopen(path, "r")) {
        char text[48] = {};
        if (std::fread(text, 1, sizeof text, file) > 0) std::memcpy(version, text, sizeof text);
        std::fclose(file);
    }
    return std::string("Kivo/SIP/1.0-") + version + " SN/" + mac;
}

const xmlChar* chars(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

xmlNodePtr add(xmlNodePtr parent, const char* name, const char* text = nullptr)
{
    return xmlNewChild(parent, nullptr, chars(name), chars(text));
}

void bare_body(SIPLIB_SIPClientConnection& conn)
{
    xmlCheckVersion(20616);
    const std::string header = "User-agent: " + bare_user_agent(device_file);
    xmlDocPtr doc = xmlNewDoc(chars("1.0"));
    xmlNodePtr root = xmlNewNode(nullptr, chars("ua-info"));
    xmlDocSetRootElement(doc, root);
    add(add(root, "profile-info"), "name", profile.c_str());
    xmlNodePtr aor = add(root, "aor", "");
    xmlNodePtr routing = add(aor, "request-routing-support");
    add(routing, "methods", "INVITE,UPDATE,CANCEL,REFER,ACK,NOTIFY,BYE,PRACK,MESSAGE");
    add(routing, "content-type", "application/xml");
    add(routing, "events", "");
    xmlNodePtr specific = add(aor, "ua-specific-parameters");
    add(add(specific, "sip-headers"), "header", header.c_str());
    add(specific, "ua-section-in-network-profile", "");
    xmlChar* text = nullptr;
    int length = 0;
    xmlDocDumpFormatMemoryEnc(doc, &text, &length, "UTF-8", 1);
    xmlFreeDoc(doc);
    xmlCleanupParser();
    xmlMemoryDump();
    conn.setBody(reinterpret_cast<char*>(text), length);
    xmlFree(text);
}

std::string bare_part(int (SIPLIB_SIPAddress::*read)(std::string&) const)
{
    const std::unique_ptr<SIPLIB_SIPAddress> parsed(
        SIPLIB_SIPAddress::createSIPAddressObject("From", address));
    std::string part;
    (parsed.get()->*read)(part);
    return part;
}

void bare_setup(SIPLIB_SIPClientConnection& conn)
{
    const std::string from =
        "sip:" + bare_part(&SIPLIB_SIPAddress::getUser) + "@" + bare_part(&SIPLIB_SIPAddress::getHost);
    conn.setHeader("From", from.c_str());
    conn.setHeader("To", from.c_str());
    conn.setHeader("Content-Type", "application/xml");
    ServerAddressRecord hop;
    hop.port = 5060;
    std::memcpy(hop.host, "127.0.0.1", 9);
    hop.flag = 1;
    conn.setImsServerAddress(hop);
    conn.setHeader("Expires", std::to_string(3600).c_str());
    conn.setHeader("Authorization", credentials.c_str());
    conn.setHeader("Contact", address.c_str());
    bare_body(conn);
}

// ---- both

SIPLIB_SIPClientConnection& connection()
{
    static SIPLIB_SIPConnector connector;
    static SIPLIB_SIPObject* object = connector.open("sip:registrar.example", nullptr);
    if (!object || !object->asClientConnection()) std::abort();
    return *object->asClientConnection();
}

std::string body_of(SIPLIB_SIPClientConnection& conn)
{
    char text[4096];
    int length = sizeof text;
    return conn.getBody(text, length) == SIPLIB_OK ? std::string(text, static_cast<std::size_t>(length)) : "";
}

void setup_ours(benchmark::State& state)
{
    IMS_log::set_level(static_cast<int>(state.range(0)));
    SIPLIB_SIPClientConnection& conn = connection();
    for (auto _ : state) {
        conn.initRequest("REGISTER");
        IMS_LocalRegistrar::setup_message(&conn, address, profile, 3600, credentials, nullptr);
    }
}

void setup_bare(benchmark::State& state)
{
    SIPLIB_SIPClientConnection& conn = connection();
    for (auto _ : state) {
        conn.initRequest("REGISTER");
        bare_setup(conn);
    }
}

// The same message on both sides, or there is nothing to compare.
void check_equal()
{
    SIPLIB_SIPClientConnection& conn = connection();
    conn.initRequest("REGISTER");
    IMS_LocalRegistrar::setup_message(&conn, address, profile, 3600, credentials, nullptr);
    const std::string ours = body_of(conn);
    conn.initRequest("REGISTER");
    bare_setup(conn);
    if (ours.empty() || ours != body_of(conn)) std::abort();
}

} // namespace

int main(int argc, char** argv)
{
    char program[] = "registrar_bench";
    char option[] = "-logfile";
    char nowhere[] = "/dev/null";
    char* log_options[] = {program, option, nowhere, nullptr};
    IMS_log::set_options(3, log_options);
    IMS_User_Agent::__ua_fwk_intf = &store;
    check_equal();

    char path[] = "/tmp/registrar_bench_XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0 || write(fd, "R13_K_01", 8) != 8 || close(fd) != 0) return 1;
    if (imsua::user_agent_header(path) != bare_user_agent(path)) std::abort();
    const std::string version_file = path;
    benchmark::RegisterBenchmark("SetupMessage/ours", setup_ours)->Arg(QUIET)->Arg(TRACES);
    benchmark::RegisterBenchmark("SetupMessage/bare", setup_bare);
    benchmark::RegisterBenchmark("UserAgent/ours", [version_file](benchmark::State& state) {
        IMS_log::set_level(QUIET);
        for (auto _ : state)
            benchmark::DoNotOptimize(imsua::user_agent_header(version_file.c_str()));
    });
    benchmark::RegisterBenchmark("UserAgent/bare", [version_file](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(bare_user_agent(version_file.c_str()));
    });
    const int status = bench::run_with_ratios(
        argc, argv,
        {{"SetupMessage, quiet", "SetupMessage/ours/3", "SetupMessage/bare", 0.9},
         {"SetupMessage, traces logged", "SetupMessage/ours/5", "SetupMessage/bare", 0}, // to be seen
         {"UserAgent, quiet", "UserAgent/ours", "UserAgent/bare", 0.9}});
    unlink(path);
    SIPLIB_SIPStop();
    return status;
}
