// imslinkevd against requests that no SIP program would send: SIPp cannot do without these headers either.
#include "tests/platform/siplib/raw_peer.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

struct ARawPeer : ::testing::Test {
    // On this machine's own loopback, on a port of its own.
    void SetUp() override
    {
        ProcessStart start;
        start.argv = {IMSLINKEVD_BINARY, "-links", "lo", "-port", std::to_string(free_port())};
        start.dir = dir_.path();
        daemon_ = std::make_unique<Process>(start);
        ASSERT_TRUE(daemon_->wait_for_log("serving at")) << daemon_->log();
        const std::string mark = "serving at <sip:imslinkevd@127.0.0.1:";
        const std::string log = daemon_->log();
        port_ = std::stoi(log.substr(log.find(mark) + mark.size()));
        ASSERT_TRUE(peer_.open());
    }

    // A good request, one line a header.
    Lines request(const std::string& method)
    {
        const std::string number = std::to_string(++number_);
        const std::string mine = "127.0.0.1:" + std::to_string(peer_.port());
        const std::string its = "127.0.0.1:" + std::to_string(port_);
        return {method + " sip:imslinkevd@" + its + " SIP/2.0",
                "Via: SIP/2.0/UDP " + mine + ";branch=z9hG4bK" + number,
                "Max-Forwards: 70",
                "From: <sip:raw@" + mine + ">;tag=raw" + number,
                "To: <sip:imslinkevd@" + its + ">",
                "Call-ID: raw-" + number,
                "CSeq: " + number + " " + method,
                "Event: kiv-link-event",
                "Contact: <sip:raw@" + mine + ">",
                "Expires: 0",
                "Content-Length: 0"};
    }

    void send(const Lines& lines)
    {
        std::string text;
        for (const auto& line : lines)
            text += line.empty() ? "" : line + "\r\n";
        peer_.send_to(port_, text + "\r\n");
    }

    std::string status_line()
    {
        const std::string all = peer_.receive();
        return all.substr(0, all.find('\r'));
    }

    // Proves that what was sent before got no answer, and that the notifier serves on.
    void expect_next_answer_is_mine()
    {
        send(request("OPTIONS"));
        const std::string all = peer_.receive();
        EXPECT_EQ(all.substr(0, 11), "SIP/2.0 200") << all;
        EXPECT_NE(all.find("Call-ID: raw-" + std::to_string(number_) + "\r\n"), std::string::npos) << all;
        EXPECT_TRUE(daemon_->running());
    }

    TempDir dir_;
    std::unique_ptr<Process> daemon_;
    RawSocket peer_ = RawSocket::bound(SOCK_DGRAM);
    int port_ = 0;
    int number_ = 0;
};

std::size_t line_of(const Lines& lines, const std::string& name)
{
    std::size_t at = 0;
    while (at < lines.size() && lines[at].compare(0, name.size() + 1, name + ":") != 0)
        ++at;
    return at;
}

TEST_F(ARawPeer, IsAnswered400WhenAMandatoryHeaderIsMissing)
{
    for (const char* name : {"From", "To", "Call-ID", "CSeq"}) {
        auto lines = request("SUBSCRIBE");
        lines.at(line_of(lines, name)).clear();
        send(lines);
        EXPECT_EQ(status_line().substr(0, 11), "SIP/2.0 400") << name;
    }
    expect_next_answer_is_mine();
}

TEST_F(ARawPeer, IsAnswered400WhenItsCSeqCannotBe)
{
    for (const char* cseq : {"many SUBSCRIBE", "-1 SUBSCRIBE", "4294967296 SUBSCRIBE", "1", "1 NOTIFY"}) {
        auto lines = request("SUBSCRIBE");
        lines.at(line_of(lines, "CSeq")) = std::string("CSeq: ") + cseq;
        send(lines);
        EXPECT_EQ(status_line().substr(0, 11), "SIP/2.0 400") << cseq;
    }
    expect_next_answer_is_mine();
}

TEST_F(ARawPeer, IsAnswered400WhenAHeaderStandsTwice)
{
    for (const char* line : {"CSeq: 9 SUBSCRIBE", "Call-ID: other"}) {
        auto lines = request("SUBSCRIBE");
        lines.push_back(line);
        send(lines);
        EXPECT_EQ(status_line().substr(0, 11), "SIP/2.0 400") << line;
    }
    expect_next_answer_is_mine();
}

TEST_F(ARawPeer, IsNotAnsweredWhereNobodyCouldHear)
{
    auto lines = request("SUBSCRIBE");
    lines.at(line_of(lines, "Via")).clear();
    send(lines);
    lines = request("SUBSCRIBE");
    lines.at(line_of(lines, "Via")) = "Via: nonsense";
    send(lines);
    for (const std::string& noise :
         {std::string("\r\n\r\n"), std::string("\0\0\0\0", 4), std::string("GET / HTTP/1.1\r\n\r\n"),
          std::string(1400, 'A'), std::string("SIP/2.0 200 OK\r\nCSeq: 1 NOTIFY\r\n\r\n")})
        peer_.send_to(port_, noise);
    expect_next_answer_is_mine();
}

} // namespace
