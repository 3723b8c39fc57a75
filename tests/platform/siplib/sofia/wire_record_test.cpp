#include "siplib/sofia/wire_record.h"

#include "../raw_peer.h"
#include "../sip_fixture.h"
#include "siplib/message_record.h"
#include "tests/support/temp_dir.h"

#include <vector>

using siplib::sofia::DumpReader;

namespace {

struct Seen {
    bool sent;
    std::string transport, peer, bytes;
    bool operator==(const Seen& o) const
    {
        return sent == o.sent && transport == o.transport && peer == o.peer && bytes == o.bytes;
    }
};

class ADump : public ::testing::Test {
protected:
    std::string record(const std::string& what, const std::string& from, const std::string& bytes)
    {
        return what + " " + std::to_string(bytes.size()) + " bytes " + from + " at 12:00:00.000001:\n" +
               bytes + "\v\n";
    }
    std::size_t read(const std::string& dump)
    {
        return reader.read(dump, [this](const DumpReader::Message& m) {
            seen.push_back({m.sent, std::string(m.transport), std::string(m.peer), std::string(m.bytes)});
        });
    }
    siplib::sofia::SentBodies bodies;
    DumpReader reader{bodies};
    std::vector<Seen> seen;
};

TEST_F(ADump, IsReadRecordByRecord)
{
    const std::string dump = "dump started at Mon\n\n" +
                             record("recv", "from udp/[127.0.0.1]:5060", "one\v\n") +
                             record("sent", "to udp/[::1]:5061", "two");
    EXPECT_EQ(read(dump), dump.size());
    EXPECT_EQ(seen, (std::vector<Seen>{{false, "udp", "127.0.0.1:5060", "one\v\n"},
                                       {true, "udp", "[::1]:5061", "two"}}));
}

TEST_F(ADump, OfAStreamIsCutIntoMessages)
{
    const std::string first = "OPTIONS sip:a SIP/2.0\r\nl: 3\r\n\r\nabc";
    const std::string second = "SIP/2.0 200 OK\r\nContent-Length: 0\r\n\r\n";
    const std::string stream = first + "\r\n\r\n" + second;
    for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
        seen.clear();
        read(record("recv", "from tcp/[127.0.0.1]:7", stream.substr(0, cut)) +
             record("sent", "to tcp/[127.0.0.1]:7", second) +
             record("recv", "from tcp/[127.0.0.1]:7", stream.substr(cut)));
        ASSERT_EQ(seen.size(), 3u) << cut;
        EXPECT_NE(std::find(seen.begin(), seen.end(), Seen{false, "tcp", "127.0.0.1:7", first}), seen.end());
        EXPECT_NE(std::find(seen.begin(), seen.end(), Seen{false, "tcp", "127.0.0.1:7", second}), seen.end());
    }
}

// The stack's dump stops before the blank line of what it sends.
TEST_F(ADump, GetsBackTheBodyThatItLacks)
{
    const std::string head =
        "MESSAGE sip:a SIP/2.0\r\nCall-ID: c\r\nCSeq: 1 MESSAGE\r\nContent-Length: 4\r\n";
    bodies.note(head + "\r\nbody");
    const auto lacking = [&](const std::string& text, std::size_t size) {
        return "sent " + std::to_string(size) + " bytes to udp/[127.0.0.1]:9 at 1:\n" + text + "\v\n";
    };
    const std::string with_via = "MESSAGE sip:a SIP/2.0\r\nVia: v\r\nCall-ID: c\r\nCSeq: 1 MESSAGE\r\n";
    const std::string other = "MESSAGE sip:a SIP/2.0\r\nCall-ID: other\r\nCSeq: 1 MESSAGE\r\n";
    read(lacking(with_via, with_via.size() + 6) + lacking(other, other.size() + 2) +
         lacking(other, other.size() + 6));
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].bytes, with_via + "\r\nbody");
    EXPECT_EQ(seen[1].bytes, other + "\r\n");
    EXPECT_EQ(seen[2].bytes, other + "\r\n"); // not known any more
}

TEST_F(ADump, RemembersTheLastBodiesOnly)
{
    const auto message = [](std::size_t n, const char* body) {
        return "MESSAGE sip:a SIP/2.0\r\nCall-ID: " + std::to_string(n) + "\r\n" + body;
    };
    for (std::size_t n = 0; n <= siplib::sofia::SentBodies::most; ++n)
        bodies.note(message(n, "\r\nbody"));
    EXPECT_EQ(bodies.find(message(0, "")), "");
    EXPECT_EQ(bodies.find(message(1, "")), "body");
}

TEST_F(ADump, WaitsForTheRestOfARecord)
{
    const std::string whole = record("recv", "from udp/[127.0.0.1]:5060", "text");
    EXPECT_EQ(read(whole.substr(0, whole.size() - 1)), 0u);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(read("garbage\nrecv x bytes\n"), 21u);
    EXPECT_TRUE(seen.empty());
}

class AMessageRecordOfTheStack : public WithStack, public ::testing::WithParamInterface<const char*> {
protected:
    ~AMessageRecordOfTheStack() override { siplib::MessageRecord::close(); }
    static std::size_t count(const std::string& text, const std::string& what)
    {
        std::size_t found = 0;
        for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
            ++found;
        return found;
    }
    TempDir dir;
};

TEST_P(AMessageRecordOfTheStack, HoldsEveryMessageOfBothSides)
{
    ASSERT_TRUE(siplib::MessageRecord::open(dir.file("trace").c_str()));
    start();
    RequestEars server;
    ResponseEars client;
    int port = 0;
    ASSERT_TRUE(listen(&server, port));
    SIPLIB_SIPClientConnection* out = request("MESSAGE", port, GetParam(), &client);
    out->setBody("the\r\nbody", 9);
    ASSERT_EQ(out->send(), SIPLIB_OK);
    ASSERT_EQ(answer(server.next(), 200), SIPLIB_OK);
    ASSERT_EQ(client.next_status(), 200);
    SIPLIB_SIPStop();
    const std::string trace = dir.read("trace");
    EXPECT_EQ(count(trace, "MESSAGE sip:peer@"), 2u) << trace;
    EXPECT_EQ(count(trace, "SIP/2.0 200 OK"), 2u) << trace;
    EXPECT_EQ(count(trace, "\n"), 4u);
    EXPECT_EQ(count(trace, R"(\r\n\r\nthe\r\nbody")"), 2u) << trace;
    EXPECT_GE(count(trace, "127.0.0.1:" + std::to_string(port)), 4u) << trace;
}
INSTANTIATE_TEST_SUITE_P(Over, AMessageRecordOfTheStack, ::testing::Values("udp", "tcp"),
                         [](const auto& transport) { return std::string(transport.param); });

TEST_F(AMessageRecordOfTheStack, HoldsRetransmissionsToo)
{
    ASSERT_TRUE(siplib::MessageRecord::open(dir.file("trace").c_str()));
    start();
    RawSocket silent = RawSocket::bound(SOCK_DGRAM);
    ResponseEars client;
    ASSERT_EQ(request("MESSAGE", silent.port(), "udp", &client)->send(), SIPLIB_OK);
    ASSERT_EQ(client.next_status(), 408);
    SIPLIB_SIPStop();
    EXPECT_GT(count(dir.read("trace"), "MESSAGE sip:peer@"), 3u); // at 20, 60, 140 ms, ...
}

} // namespace
