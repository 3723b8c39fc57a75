// Every request class: sent by one process, read by another, over UDP and TCP.
#include "tests/platform/siplib/raw_peer.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAreArray;
using testing::HasSubstr;

using Words = std::vector<std::string>;

ProcessStart reader(const std::string& port, const std::string& with, const Words& options = {})
{
    ProcessStart start;
    start.argv = {MESSAGE_READER_BINARY, port, with};
    start.argv.insert(start.argv.end(), options.begin(), options.end());
    return start;
}

// "127.0.0.1:5070" of "reading at <sip:message_reader@127.0.0.1:5070>".
std::string address_of(Process& reading)
{
    const std::string line = reading.wait_for_line("reading at ");
    const auto at = line.find('@');
    return at == std::string::npos ? "" : line.substr(at + 1, line.find('>') - at - 1);
}

int port_of(Process& reading)
{
    const std::string address = address_of(reading);
    return address.empty() ? 0 : std::stoi(address.substr(address.find(':') + 1));
}

ProcessStart sender(const std::string& address, const std::string& what, const std::string& transport)
{
    ProcessStart start;
    start.argv = {MESSAGE_SENDER_BINARY, "sip:reader@" + address + ";transport=" + transport, what};
    return start;
}

// The header lines of a raw message whose names are wanted, in the order of the message. Tags are cut off.
Words headers_of(const std::string& raw, const Words& wanted)
{
    Words found;
    std::istringstream lines(raw.substr(0, raw.find("\r\n\r\n")));
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        const std::string name = line.substr(0, line.find(':'));
        if (std::find(wanted.begin(), wanted.end(), name) != wanted.end())
            found.push_back(line.substr(0, line.find(";tag=")));
    }
    return found;
}

const Words set_by_the_classes = {"From",           "To",           "Contact",
                                  "Event",          "Expires",      "Subscription-State",
                                  "Kiv-Profile-ID", "Content-Type", "Authorization"};

// ---- class by class

struct Request {
    const char* sent_with;
    const char* read_with;
    const char* method;
    Words headers;      // after From and To, in order
    const char* values; // what the reader makes of the document
};

std::ostream& operator<<(std::ostream& out, const Request& request)
{
    return out << request.sent_with;
}

const char* const its_contact = "Contact: <sip:sender@127.0.0.1:5099>";
const char* const xml = "Content-Type: application/xml";
const char* const active = "Subscription-State: active";

const Request requests[] = {
    {"IMS_NotifyDALinkEv",
     "IMS_NotifyDALinkEv",
     "NOTIFY",
     {its_contact, "Event: kiv-link-event", "Expires: 1", active, "Kiv-Profile-ID: 7", xml},
     "name=internet profile=7 device=wlan0 status=up"},
    {"IMS_NotifyDALinkAvailEv",
     "IMS_NotifyDALinkAvailEv",
     "NOTIFY",
     {its_contact, "Event: kiv-link-avail-event", "Expires: 0", active, xml},
     "network=IEEE type=802.11 ap=ap1"},
    {"IMS_NotifyReg",
     "status",
     "NOTIFY",
     {its_contact, "Event: kiv-reg-event-info", "Expires: 0", active,
      "Content-Type: application/reginfo+xml"},
     "name=internet ip=192.0.2.7 network=IEEE status=registered"},
    {"IMS_NotifyReg",
     "IMS_NotifyReg-description",
     "NOTIFY",
     {its_contact, "Event: kiv-reg-event-info", "Expires: 0", active,
      "Content-Type: application/reginfo+xml"},
     "name=internet methods= type= events="},
    {"IMS_ProxyMessage",
     "IMS_ProxyMessage",
     "MESSAGE",
     {xml},
     "profile=7 action=add device=wlan0 proxy=192.0.2.1 port=5070"},
    {"IMS_DAMessage",
     "IMS_DAMessage",
     "MESSAGE",
     {xml},
     "name=internet profile=7 link=17 action=found services=SIP+D2U proxy=192.0.2.1/pcscf/5060 "
     "proxy=proxy.example.com/backup/5061"},
    {"IMS_RegPackageInfo", "IMS_RegPackageInfo", "REGISTER", {its_contact, xml}, "package=voice"},
    {"IMS_SubsReg", "none", "SUBSCRIBE", {its_contact, "Event: kiv-reg-event-info", "Expires: 0"}, ""},
    {"IMS_SubsDALinkEv", "none", "SUBSCRIBE", {its_contact, "Event: kiv-link-event", "Expires: 0"}, ""},
    {"IMS_SubsDALinkAvailEv",
     "none",
     "SUBSCRIBE",
     {its_contact, "Event: kiv-link-avail-event", "Expires: 0", "Kiv-Profile-ID: 7"},
     ""},
};

struct ARequest : ::testing::TestWithParam<std::tuple<Request, const char*>> {
    const Request& request() const { return std::get<0>(GetParam()); }
    std::string transport() const { return std::get<1>(GetParam()); }

    // As the reader prints it: the method, then every header in an order of the reader's.
    std::string expected_line() const
    {
        std::string line = request().method;
        for (const char* name : {"Event", "Expires", "Subscription-State", "Kiv-Profile-ID", "Content-Type",
                                 "Authorization", "Contact"})
            for (const std::string& header : request().headers)
                if (header.find(std::string(name) + ": ") == 0) line += " | " + header;
        return *request().values ? line + " | " + request().values : line;
    }
};

TEST_P(ARequest, IsReadByAnotherProcess)
{
    Process reading(reader(std::to_string(free_port()), request().read_with));
    const std::string address = address_of(reading);
    ASSERT_NE(address, "") << reading.log();
    std::string said;
    const auto end = run_process(sender(address, request().sent_with, transport()), &said);
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(said, "answered 200\n");
    EXPECT_EQ(reading.wait_for_line("|"), expected_line()) << reading.log();
}

TEST_P(ARequest, HasItsHeadersInOrderOnTheWire)
{
    const bool tcp = transport() == "tcp";
    RawSocket peer = RawSocket::bound(tcp ? SOCK_STREAM : SOCK_DGRAM);
    ASSERT_TRUE(peer.open());
    Process sending(sender("127.0.0.1:" + std::to_string(peer.port()), request().sent_with, transport()));
    RawSocket stream = tcp ? peer.accepted() : RawSocket();
    std::string raw = tcp ? stream.receive_until("\r\n\r\n") : peer.receive();
    Words wanted = {"From: <sip:sender@127.0.0.1>", "To: <sip:reader@127.0.0.1>"};
    wanted.insert(wanted.end(), request().headers.begin(), request().headers.end());
    EXPECT_EQ(raw.substr(0, raw.find(' ')), request().method);
    EXPECT_THAT(headers_of(raw, set_by_the_classes), ElementsAreArray(wanted)) << raw;
    const std::string response = raw_response(raw, 202);
    if (tcp)
        stream.send(response);
    else
        peer.send_to(peer.last_from(), response);
    EXPECT_EQ(sending.wait().status, 0) << sending.log();
    EXPECT_EQ(sending.output(), "answered 202\n");
}

std::string name_of(const ::testing::TestParamInfo<ARequest::ParamType>& test)
{
    const Request& request = std::get<0>(test.param);
    std::string name =
        std::string(request.sent_with) + "_as_" + request.read_with + "_" + std::get<1>(test.param);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Over, ARequest,
                         ::testing::Combine(::testing::ValuesIn(requests), ::testing::Values("udp", "tcp")),
                         name_of);

// ---- registration state, as an IMS core sends it

std::string example(const std::string& name)
{
    std::ifstream file(std::string(EXAMPLES) + "/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

struct ANotifyFromACore : ::testing::TestWithParam<const char*> {
    // Sends the example as the body of a NOTIFY; the status line of the answer.
    std::string notify(int port, const std::string& body)
    {
        static int sent = 0;
        const bool tcp = GetParam() == std::string("tcp");
        RawSocket core = tcp ? RawSocket::connected(SOCK_STREAM, port) : RawSocket::bound(SOCK_DGRAM);
        const std::string extra = "Event: reg\r\n"
                                  "Subscription-State: active;expires=600000\r\n"
                                  "Contact: <sip:scscf.home.example;lr>\r\n"
                                  "P-Asserted-Identity: <sip:scscf.home.example>\r\n"
                                  "Content-Type: application/reginfo+xml\r\n";
        const std::string text = raw_request("NOTIFY", core.port(), "core" + std::to_string(++sent), extra,
                                             tcp ? "TCP" : "UDP", body);
        if (tcp)
            core.send(text);
        else
            core.send_to(port, text);
        const std::string answer = tcp ? core.receive_until("\r\n\r\n") : core.receive();
        return answer.substr(0, answer.find('\r'));
    }
};

TEST_P(ANotifyFromACore, IsReadIntoTheListsOfRegistrations)
{
    Process reading(reader(std::to_string(free_port()), "IMS_NotifyReg"));
    const int port = port_of(reading);
    ASSERT_NE(port, 0) << reading.log();
    EXPECT_EQ(notify(port, example("reginfo-3gpp.xml")), "SIP/2.0 200 OK");
    EXPECT_THAT(
        reading.wait_for_line("NOTIFY"),
        HasSubstr("| reginfo=partial aor=sip:bob@home.example active 600000 aor=tel:+15550100 active 600000"))
        << reading.log();
    EXPECT_EQ(notify(port, example("reginfo.xml")), "SIP/2.0 200 OK");
    EXPECT_THAT(reading.wait_for_line("NOTIFY"),
                HasSubstr("| reginfo=full aor=sip:alice@home.example active 3600"))
        << reading.log();
}

// 1,800 bytes: the class reads 1024 of them, the agent all of them.
TEST_P(ANotifyFromACore, OfMoreThan1024BytesIsReadWholeByTheAgentItself)
{
    const std::string body = example("reginfo-large.xml");
    ASSERT_EQ(body.size(), 1800u);
    Process reading(reader(std::to_string(free_port()), "large-state"));
    const int port = port_of(reading);
    ASSERT_NE(port, 0) << reading.log();
    EXPECT_EQ(notify(port, body), "SIP/2.0 200 OK");
    EXPECT_EQ(reading.wait_for_line("cut="),
              "cut=1 | reginfo= | reginfo=full aor=sip:carol@home.example active 3600 "
              "aor=sip:sales@home.example terminated -1 aor=tel:+15550123 active 3600 "
              "aor=sip:support@home.example active 1800 | cut=1")
        << reading.log();
    EXPECT_TRUE(
        reading.wait_for_log("getBody: the body of NOTIFY has 1800 bytes and was cut to the reader's 1024"));
    EXPECT_TRUE(reading.wait_for_log("get_body: failed: len=1024 status=105"));
    EXPECT_TRUE(reading.wait_for_log("parse: Error parsing XML"));
}

INSTANTIATE_TEST_SUITE_P(Over, ANotifyFromACore, ::testing::Values("udp", "tcp"));

// ---- the registrar on the device, at its fixed place: 127.0.0.1:5060 of a network of the test's own

struct TheRegistrarOnTheDevice : ::testing::TestWithParam<const char*> {
    void SetUp() override { ASSERT_TRUE(net.valid()) << net.why(); }

    Process& start_registrar()
    {
        ProcessStart start = reader("5060", "description", {"-siptrace", dir.file("messages")});
        start.net = &net;
        registrar = std::make_unique<Process>(start);
        return *registrar;
    }
    std::string register_there(const Words& options = {})
    {
        ProcessStart start = sender("elsewhere.example", "IMS_LocalRegistrar", GetParam());
        start.argv.insert(start.argv.end(), options.begin(), options.end());
        start.net = &net;
        std::string said;
        run_process(start, &said);
        return said;
    }
    // The first message that the registrar's record holds.
    std::string recorded() const
    {
        std::istringstream lines(dir.read("messages"));
        std::string line;
        std::getline(lines, line);
        const auto record = nlohmann::json::parse(line, nullptr, false);
        return record.is_object() ? record["message"].get<std::string>() : line;
    }
    NetNamespace net;
    TempDir dir;
    std::unique_ptr<Process> registrar;
};

TEST_P(TheRegistrarOnTheDevice, ReadsTheUserAgentsDescription)
{
    Process& reading = start_registrar();
    ASSERT_EQ(address_of(reading), "127.0.0.1:5060") << reading.log();
    EXPECT_EQ(register_there({"-proxy", "<sip:192.0.2.99>"}), "answered 200\n");
    EXPECT_EQ(reading.wait_for_line("|"),
              "REGISTER | Expires: 3600 | Content-Type: application/xml"
              " | Authorization: Digest username=\"joe\", realm=\"device\""
              " | Contact: <sip:joe@192.0.2.7:5070;transport=tcp>"
              " | name=internet methods=INVITE,UPDATE,CANCEL,REFER,ACK,NOTIFY,BYE,PRACK,MESSAGE"
              " type=application/xml events=")
        << reading.log();
    const std::string raw = recorded();
    const Words wanted = {"From: sip:joe@192.0.2.7",
                          "To: sip:joe@192.0.2.7",
                          "Content-Type: application/xml",
                          "Expires: 3600",
                          "Authorization: Digest username=\"joe\", realm=\"device\"",
                          "Contact: <sip:joe@192.0.2.7:5070;transport=tcp>"};
    EXPECT_THAT(headers_of(raw, set_by_the_classes), ElementsAreArray(wanted)) << raw;
    EXPECT_THAT(raw, AllOf(ContainsRegex("^REGISTER sip:reader@elsewhere.example"),
                           ContainsRegex("<header>User-agent: Kivo/SIP/1.0-.* SN/000000000000</header>")));
}

INSTANTIATE_TEST_SUITE_P(Over, TheRegistrarOnTheDevice, ::testing::Values("udp", "tcp"));

} // namespace
