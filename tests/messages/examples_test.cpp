// The examples of docs/messages/ are what the request classes send, the pages show them byte for byte, and
// what they carry is read back.
#include "include/imsua.h"
#include "tests/support/log_records.h"
#include "tests/support/recording_connection.h"
#include "tests/support/sample_documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using Connection = RecordingClientConnection;

const char* const from = "<sip:agent@192.0.2.7:5070>";
const char* const to = "<sip:alice@home.example>";
const char* const contact = "<sip:agent@192.0.2.7:5070;transport=tcp>";

// A document as the page of the document shows it.
template <typename Document>
struct Sample : Document {
    Sample() { samples::fill(*this); }
};

// What each page's example is made of
// ----------------------------------------------------------------------------------------------------------

void notify(Connection& conn)
{
    Sample<RegUaXmlData> document;
    IMS_Notify(&conn, from, to, contact, "kiv-reg-event-info", "application/xml", &document, "active", 3600,
               -1)
        .send();
}

void notify_reg(Connection& conn)
{
    Sample<NotifyUaXmlData> document;
    IMS_NotifyReg(&conn, from, to, contact, &document).send();
}

void notify_link_event(Connection& conn)
{
    Sample<DALinkEvXmlData> document;
    IMS_NotifyDALinkEv(&conn, from, to, contact, &document, 3).send();
}

void notify_link_availability(Connection& conn)
{
    Sample<DALinkAvailEvXmlData> document;
    IMS_NotifyDALinkAvailEv(&conn, from, to, contact, &document).send();
}

void message(Connection& conn)
{
    Sample<AppToRegUaXmlData> document;
    IMS_MessageMsg(&conn, from, to, "application/xml", &document).send();
}

void message_route(Connection& conn)
{
    Sample<IMSSetRouteXml> document;
    IMS_ProxyMessage(&conn, from, to, &document).send();
}

void message_proxy_discovery(Connection& conn)
{
    Sample<DAMessageXmlData> document;
    IMS_DAMessage(&conn, from, to, &document).send();
}

void register_with_a_document(Connection& conn)
{
    Sample<RegUaXmlData> document;
    IMS_reg_message(&conn, from, to, contact, "application/xml", &document).send();
}

void register_package_info(Connection& conn)
{
    Sample<IMSComponentPackageInfo> document;
    IMS_RegPackageInfo(&conn, from, to, contact, &document).send();
}

// What the class makes of the device's version and hardware address is fixed here.
void register_local(Connection& conn)
{
    RegUaXmlData document;
    IMS_LocalRegistrar::build_register_xml(&document, "internet");
    document.header_value = "Kivo/SIP/1.0-R12_K_03.07.2AB SN/020000000001";
    document.encodeXml();
    conn.initRequest("REGISTER");
    IMS_LocalRegistrar::setup_message(&conn, "<sip:alice@192.0.2.7:5070>", "internet", 3600, "", &document);
    conn.send();
}

void subscribe(Connection& conn)
{
    IMS_Subscribe(&conn, from, to, contact, "presence", 3600, "<sip:192.0.2.1:5062;transport=tcp>", -1)
        .send();
}

void subscribe_reg(Connection& conn)
{
    IMS_SubsReg(&conn, from, to, contact).send();
}

void subscribe_link_event(Connection& conn)
{
    IMS_SubsDALinkEv(&conn, from, to, contact).send();
}

void subscribe_link_availability(Connection& conn)
{
    IMS_SubsDALinkAvailEv(&conn, from, to, contact, 3).send();
}

struct Example {
    const char* name; // docs/messages/examples/<name>.sip
    const char* page; // in docs/
    void (*send)(Connection&);
    const char* next_hop; // as recorded; null: that of the connection
};

// Names a test's parameter.
std::ostream& operator<<(std::ostream& out, const Example& e)
{
    return out << e.name;
}

// clang-format off
const Example examples[] = {
    {"notify",                      "messages/notify.md",                   notify,                      nullptr},
    {"notify-reg",                  "messages/notify-reg.md",               notify_reg,                  nullptr},
    {"notify-link-event",           "messages/notify-link-event.md",        notify_link_event,           nullptr},
    {"notify-link-availability",    "messages/notify-link-availability.md", notify_link_availability,    nullptr},
    {"message",                     "messages/message.md",                  message,                     nullptr},
    {"message-route",               "messages/message-route.md",            message_route,               nullptr},
    {"message-proxy-discovery",     "messages/message-proxy-discovery.md",  message_proxy_discovery,     nullptr},
    {"register",                    "messages/register-package-info.md",    register_with_a_document,    nullptr},
    {"register-package-info",       "messages/register-package-info.md",    register_package_info,       nullptr},
    {"register-local",              "registrar.md",                         register_local,              "127.0.0.1, 5060, "},
    {"subscribe",                   "messages/subscribe.md",                subscribe,                   "192.0.2.1, 5062, tcp"},
    {"subscribe-reg",               "messages/subscribe.md",                subscribe_reg,               nullptr},
    {"subscribe-link-event",        "messages/subscribe.md",                subscribe_link_event,        nullptr},
    {"subscribe-link-availability", "messages/subscribe.md",                subscribe_link_availability, nullptr},
};
// clang-format on

// Files, and what a connection recorded
// ----------------------------------------------------------------------------------------------------------

const std::string docs = IMSUA_SOURCE_DIR "/docs/";

std::string file(const std::string& name)
{
    std::ifstream in(docs + name);
    std::ostringstream text;
    text << in.rdbuf();
    EXPECT_FALSE(text.str().empty()) << name;
    return text.str();
}

std::string example(const std::string& name)
{
    return file("messages/examples/" + name + ".sip");
}

// The arguments of a recorded call of `operation`; false when it is another call.
bool is_call(const std::string& call, const std::string& operation, std::string& arguments)
{
    if (call.compare(0, operation.size() + 1, operation + "(") != 0) return false;
    arguments = call.substr(operation.size() + 1, call.size() - operation.size() - 2);
    return true;
}

// The line of an example that a recorded call makes; the calls that make none are looked at apart.
std::string line_of(const std::string& call)
{
    std::string arguments;
    if (is_call(call, "initRequest", arguments)) return arguments + "\n";
    if (is_call(call, "setHeader", arguments)) return arguments.replace(arguments.find(", "), 2, ": ") + "\n";
    for (const char* apart : {"setImsServerAddress", "setBody", "send"})
        if (is_call(call, apart, arguments)) return "";
    return "unexpected: " + call + "\n";
}

// What was sent, as the examples show it: method, headers in the order in which they were set, body.
std::string sent_on(const Connection& conn)
{
    std::string text;
    for (const std::string& call : conn.calls)
        text += line_of(call);
    for (const std::string& body : conn.bodies) // one a message that was sent
        text += "\n" + body;
    return text;
}

// Each example
// ----------------------------------------------------------------------------------------------------------

struct AMessageExample : ::testing::TestWithParam<Example> {};

TEST_P(AMessageExample, IsWhatItsClassSends)
{
    Connection conn;
    GetParam().send(conn);
    EXPECT_EQ(conn.calls.back(), "send()");
    EXPECT_EQ(sent_on(conn), example(GetParam().name));
}

TEST_P(AMessageExample, LeavesThroughTheNextHopThatItsPageNames)
{
    Connection conn;
    GetParam().send(conn);
    const auto hops = conn.calls_of("setImsServerAddress");
    if (GetParam().next_hop)
        EXPECT_THAT(hops, ElementsAre("setImsServerAddress(" + std::string(GetParam().next_hop) + ")"));
    else
        EXPECT_THAT(hops, IsEmpty());
}

TEST_P(AMessageExample, IsShownAndLinkedOnItsPage)
{
    const std::string page = file(GetParam().page);
    EXPECT_NE(page.find("\n```\n" + example(GetParam().name) + "```\n"), std::string::npos);
    EXPECT_NE(page.find("examples/" + std::string(GetParam().name) + ".sip)"), std::string::npos);
}

// The headers in a page's numbered table.
std::vector<std::string> table_of(const std::string& page)
{
    const std::regex row("\\| [0-9]+ \\| ([^ ]+) \\|.*");
    std::vector<std::string> headers;
    std::istringstream lines(page);
    std::smatch found;
    for (std::string line; std::getline(lines, line);)
        if (std::regex_match(line, found, row)) headers.push_back(found[1]);
    return headers;
}

// Those of an example, without their values.
std::vector<std::string> headers_of(const std::string& text)
{
    std::istringstream lines(text.substr(0, text.find("\n\n")));
    std::vector<std::string> headers;
    std::string line;
    std::getline(lines, line); // the method
    while (std::getline(lines, line))
        headers.push_back(line.substr(0, line.find(':')));
    return headers;
}

TEST_P(AMessageExample, HasItsHeadersInTheOrderOfItsPagesTable)
{
    const auto table = table_of(file(GetParam().page));
    auto row = table.begin();
    for (const std::string& header : headers_of(example(GetParam().name))) {
        row = std::find(row, table.end(), header); // a row may be absent from an example
        ASSERT_NE(row++, table.end()) << header;
    }
}

INSTANTIATE_TEST_SUITE_P(, AMessageExample, ::testing::ValuesIn(examples), [](const auto& tested) {
    std::string name = tested.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

// The names, without `extension`, of the files in a folder of docs/.
std::set<std::string> names_in(const std::string& folder, const std::string& extension)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(docs + folder)) {
        if (entry.is_directory()) continue;
        EXPECT_EQ(entry.path().extension(), extension) << entry.path();
        names.insert(entry.path().stem());
    }
    return names;
}

TEST(TheMessageExamples, HaveACheckEach)
{
    std::set<std::string> checked;
    for (const Example& e : examples)
        checked.insert(e.name);
    EXPECT_EQ(names_in("messages/examples", ".sip"), checked);
}

TEST(TheMessagePages, HaveAnExampleEach)
{
    std::set<std::string> with_example = {"messages/README.md"}; // tells what is common
    for (const Example& e : examples)
        with_example.insert(e.page);
    for (const std::string& page : names_in("messages", ".md"))
        EXPECT_THAT(with_example, Contains("messages/" + page + ".md"));
}

// What a receiver gets
// ----------------------------------------------------------------------------------------------------------

// A connection on which an example arrived.
struct Received : RecordingServerConnection {
    explicit Received(const std::string& name)
    {
        const std::string text = example(name);
        const std::size_t end = text.find("\n\n");
        std::istringstream head(text.substr(0, end));
        std::getline(head, method);
        for (std::string line; std::getline(head, line);)
            headers[line.substr(0, line.find(": "))] = line.substr(line.find(": ") + 2);
        body = text.substr(end + 2);
    }
};

std::string header_of(IMS_Message& received, const char* name)
{
    char value[128];
    return received.get_header(name, value, sizeof value) ? value : "(none)";
}

template <typename Document>
std::string encoded_again(Document& document)
{
    EXPECT_EQ(document.encodeXml(), 0);
    return std::string(document.buffer, static_cast<std::size_t>(document.buffer_length));
}

// The body, read by a document of the reader's own.
template <typename Document>
void read_whole(IMS_Message& received, Document& document)
{
    std::string text(4096, '\0');
    int length = static_cast<int>(text.size());
    ASSERT_TRUE(received.get_body(text.data(), length));
    document.buffer = text.data();
    document.buffer_length = length;
    EXPECT_EQ(document.parseXml(), 0);
    document.buffer = nullptr;
    document.buffer_length = 0;
}

// Those whose document is written again as it was read.
template <typename Message, typename Document>
void expect_read(const std::string& name)
{
    Received conn(name);
    Message received(&conn);
    auto* const document = dynamic_cast<Document*>(received.body);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(encoded_again(*document), conn.body);
}

TEST(AReceivedMessageExample, OfARouteGivesItsFiveTexts)
{
    expect_read<IMS_ProxyMessage, IMSSetRouteXml>("message-route");
}

TEST(AReceivedMessageExample, OfProxyDiscoveryGivesTheProxies)
{
    expect_read<IMS_DAMessage, DAMessageXmlData>("message-proxy-discovery");
}

TEST(AReceivedMessageExample, OfAComponentPackageGivesItsName)
{
    expect_read<IMS_RegPackageInfo, IMSComponentPackageInfo>("register-package-info");
}

TEST(AReceivedMessageExample, OfALinkEventGivesTheAccessTypeAsThatOfTheCoverage)
{
    Received conn("notify-link-event");
    IMS_NotifyDALinkEv received(&conn);
    auto* const document = dynamic_cast<DALinkEvXmlData*>(received.body);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->coverage.access_type, "IEEE-802.11g");
    document->ieee.access_type.swap(document->coverage.access_type);
    EXPECT_EQ(encoded_again(*document), conn.body);
    EXPECT_EQ(header_of(received, "Kiv-Profile-ID"), "3");
}

TEST(AReceivedMessageExample, OfLinkAvailabilityGivesTheAccessTypeAsThatOf3gpp)
{
    Received conn("notify-link-availability");
    IMS_NotifyDALinkAvailEv received(&conn);
    auto* const document = dynamic_cast<DALinkAvailEvXmlData*>(received.body);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->threegpp.access_type, "IEEE-802.11g");
    document->ieee.access_type.swap(document->threegpp.access_type);
    EXPECT_EQ(encoded_again(*document), conn.body);
    EXPECT_EQ(header_of(received, "Kiv-Profile-ID"), "(none)");
}

TEST(AReceivedMessageExample, OfARegistrationStatusIsReadByADocumentOfOnesOwn)
{
    Received conn("notify-reg");
    IMS_Notify received(&conn);
    EXPECT_EQ(received.body, nullptr);
    NotifyUaXmlData document;
    read_whole(received, document);
    EXPECT_EQ(encoded_again(document), conn.body);
}

TEST(AReceivedMessageExample, OfARegistrationStatusIsNoneOfTheTwoThatTheKindReads)
{
    Received conn("notify-reg");
    LogRecords log;
    const IMS_NotifyReg state(&conn, true);
    EXPECT_TRUE(log.has(4, "parse", "Error parsing XML"));
    const auto* const as_state = dynamic_cast<RegXmlData*>(state.body);
    ASSERT_NE(as_state, nullptr);
    EXPECT_THAT(as_state->aors, IsEmpty());
    const IMS_NotifyReg description(&conn, false);
    const auto* const as_description = dynamic_cast<RegUaXmlData*>(description.body);
    ASSERT_NE(as_description, nullptr);
    EXPECT_EQ(as_description->name, "internet");
    EXPECT_EQ(as_description->aor + as_description->methods, "");
}

TEST(AReceivedMessageExample, OfADescriptionIsReadByTheRegistrationKind)
{
    Received conn("notify");
    const IMS_NotifyReg received(&conn, false);
    const auto* const document = dynamic_cast<RegUaXmlData*>(received.body);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->aor, "sip:alice@home.example");
    EXPECT_EQ(document->methods, "INVITE,MESSAGE");
    EXPECT_EQ(document->ua_section, "voice");
}

TEST(AReceivedMessageExample, OfADescriptionIsNoRegistrationStateNorTheOtherWayRound)
{
    Received conn("notify");
    LogRecords log;
    const IMS_NotifyReg state(&conn, true);
    EXPECT_TRUE(log.has(4, "parse", "Error parsing XML"));
    conn.body = file("documents/examples/reginfo.xml");
    const IMS_NotifyReg description(&conn, false);
    const auto* const document = dynamic_cast<RegUaXmlData*>(description.body);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->name + document->aor + document->methods + document->events, "");
}

TEST(AReceivedMessageExample, OfAnApplicationsRequestIsReadByADocumentOfOnesOwn)
{
    Received conn("message");
    IMS_MessageMsg received(&conn);
    EXPECT_EQ(received.body, nullptr);
    AppToRegUaXmlData document;
    read_whole(received, document);
    EXPECT_EQ(encoded_again(document), conn.body);
}

TEST(AReceivedMessageExample, OfARegistrationIsReadByADocumentOfOnesOwn)
{
    for (const char* name : {"register", "register-local"}) {
        Received conn(name);
        IMS_reg_message received(&conn);
        EXPECT_EQ(received.body, nullptr);
        RegUaXmlData document;
        read_whole(received, document);
        EXPECT_EQ(document.name, "internet") << name;
        EXPECT_EQ(document.methods, std::string(name) == "register"
                                        ? "INVITE,MESSAGE"
                                        : "INVITE,UPDATE,CANCEL,REFER,ACK,NOTIFY,BYE,PRACK,MESSAGE");
    }
}

TEST(AReceivedMessageExample, OfASubscriptionNamesThePackageAndHasNoBody)
{
    const std::pair<const char*, const char*> packages[] = {
        {"subscribe", "presence"},
        {"subscribe-reg", "kiv-reg-event-info"},
        {"subscribe-link-event", "kiv-link-event"},
        {"subscribe-link-availability", "kiv-link-avail-event"}};
    for (const auto& package : packages) {
        Received conn(package.first);
        IMS_Subscribe received(&conn);
        EXPECT_TRUE(received.is_method("SUBSCRIBE"));
        EXPECT_EQ(header_of(received, "Event"), package.second);
        EXPECT_EQ(conn.body, "") << package.first;
    }
}

} // namespace
