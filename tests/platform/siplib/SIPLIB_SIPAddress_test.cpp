#include "siplib/SIPLIB.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Address = std::unique_ptr<SIPLIB_SIPAddress>;

Address parse(const char* header, const std::string& value)
{
    return Address(SIPLIB_SIPAddress::createSIPAddressObject(header, value));
}

// What a getter gave, or "!" and its status.
template <typename Getter>
std::string got(Getter getter)
{
    std::string text;
    const int status = getter(text);
    return status == SIPLIB_OK ? text : "!" + std::to_string(status);
}

std::string parameter(const SIPLIB_SIPAddress& a, const char* name)
{
    return got([&](std::string& s) { return a.getParameter(name, s); });
}

std::string printed(const SIPLIB_SIPAddress& a)
{
    return got([&](std::string& s) { return a.toString(s); });
}

int port(const SIPLIB_SIPAddress& a)
{
    int value = -7;
    const int status = a.getPort(value);
    EXPECT_TRUE(status == SIPLIB_OK || value == -7) << "a failing getter wrote its result";
    return status == SIPLIB_OK ? value : -status;
}

const char* const none = "!104"; // SIPLIB_ERR_NOT_FOUND
constexpr int no_port = -SIPLIB_ERR_NOT_FOUND;
constexpr int bad_port = -SIPLIB_ERR_SYNTAX;

struct Row {
    const char* header;
    const char* value;
    const char* display;
    const char* scheme;
    const char* user;
    const char* host;
    int port;
    const char* uri;
    const char* text;
};

const Row rows[] = {
    {"Contact", "<sip:127.0.0.1>", none, "sip", none, "127.0.0.1", 5060, "sip:127.0.0.1", "<sip:127.0.0.1>"},
    {"Contact", "sip:a@h", none, "sip", "a", "h", 5060, "sip:a@h", "<sip:a@h>"},
    {"Contact", "sip:proxy.example.com:5070;transport=tcp", none, "sip", none, "proxy.example.com", 5070,
     "sip:proxy.example.com:5070", "<sip:proxy.example.com:5070>;transport=tcp"},
    {"Route", "sip:127.0.0.1:5070;lr", none, "sip", none, "127.0.0.1", 5070, "sip:127.0.0.1:5070;lr",
     "<sip:127.0.0.1:5070;lr>"},
    {"Contact", "<SIP:A@H:5061;transport=TLS>", none, "sip", "A", "H", 5061, "SIP:A@H:5061;transport=TLS",
     "<SIP:A@H:5061;transport=TLS>"},
    {"From", "\"Alice\" <sip:alice@h>;tag=1", "Alice", "sip", "alice", "h", 5060, "sip:alice@h",
     "\"Alice\" <sip:alice@h>;tag=1"},
    {"From", "Alice B  <sip:alice@h>", "Alice B", "sip", "alice", "h", 5060, "sip:alice@h",
     "\"Alice B\" <sip:alice@h>"},
    {"From", "\"A \\\"x\\\" \\\\\\z\"<sip:a@h>", "A \"x\" \\z", "sip", "a", "h", 5060, "sip:a@h",
     "\"A \\\"x\\\" \\\\z\" <sip:a@h>"},
    {"From", "\"\" <sip:a@h>", none, "sip", "a", "h", 5060, "sip:a@h", "<sip:a@h>"},
    {"To", "\"\xC3\x89milie\" <sip:e@h>", "\xC3\x89milie", "sip", "e", "h", 5060, "sip:e@h",
     "\"\xC3\x89milie\" <sip:e@h>"},
    {"To", "sip:v@h ;   tag    = 19n ; x", none, "sip", "v", "h", 5060, "sip:v@h", "<sip:v@h>;tag=19n;x"},
    {"Contact", "<sip:alice:secret@h?x=y>", none, "sip", "alice", "h", 5060, "sip:alice:secret@h?x=y",
     "<sip:alice:secret@h?x=y>"},
    {"Contact", "<sip:a%20b%3B@h>", none, "sip", "a%20b%3B", "h", 5060, "sip:a%20b%3B@h", "<sip:a%20b%3B@h>"},
    {"Contact", "<sip:u@[::1]:5071>;expires=60", none, "sip", "u", "[::1]", 5071, "sip:u@[::1]:5071",
     "<sip:u@[::1]:5071>;expires=60"},
    {"Contact", "<sip:a@h>;q=0.7, \"B\" <sip:b@h>", none, "sip", "a", "h", 5060, "sip:a@h",
     "<sip:a@h>;q=0.7"},
    {"To", "<tel:+358-9-123;ext=5>", none, "tel", "+358-9-123", none, no_port, "tel:+358-9-123;ext=5",
     "<tel:+358-9-123;ext=5>"},
    {"To", "\"SOS\" <urn:service:sos>", "SOS", "urn", none, none, no_port, "urn:service:sos",
     "\"SOS\" <urn:service:sos>"},
};

class Unset { // restores the real parser, also when an assertion ends a test
public:
    ~Unset() { SIPLIB_SIPAddress::setFactory(nullptr); }
};

} // namespace

TEST(AnAddress, IsReadAsTheTableSays)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        const Address a = parse(row.header, row.value);
        ASSERT_TRUE(a);
        EXPECT_EQ(got([&](std::string& s) { return a->getDisplayName(s); }), row.display);
        EXPECT_EQ(got([&](std::string& s) { return a->getScheme(s); }), row.scheme);
        EXPECT_EQ(got([&](std::string& s) { return a->getUser(s); }), row.user);
        EXPECT_EQ(got([&](std::string& s) { return a->getHost(s); }), row.host);
        EXPECT_EQ(port(*a), row.port);
        EXPECT_EQ(got([&](std::string& s) { return a->getURI(s); }), row.uri);
        EXPECT_EQ(printed(*a), row.text);
    }
}

TEST(AnAddress, PrintsATextThatReadsTheSame)
{
    for (const Row& row : rows) {
        const Address a = parse(row.header, row.value);
        ASSERT_TRUE(a);
        const Address again = parse(row.header, printed(*a));
        ASSERT_TRUE(again) << row.value;
        EXPECT_EQ(printed(*again), row.text);
    }
}

TEST(AnAddress, IsNullWhenTheValueIsNone)
{
    for (const char* value : {"", "   ", "\t", "*", "<>", "\"A\" <>", "sip:", "sips:", "<sip:a@>",
                              "<sip:;lr>", "sip::5060", "alice@h", "127.0.0.1:5060", "<sip:a@h",
                              "\"A <sip:a@h>", "<sip:a@h>;", "sip:a b@h", "<sip:a@h>\r\nRoute: <sip:x>"})
        EXPECT_FALSE(parse("Contact", value)) << value;
    EXPECT_FALSE(parse("Contact", std::string("<sip:a@h>\0", 10)));
}

TEST(AnAddress, LeavesTheResultAloneWhenAPartIsMissing)
{
    const Address a = parse("To", "<tel:+1>");
    ASSERT_TRUE(a);
    std::string text = "before";
    EXPECT_EQ(a->getHost(text), SIPLIB_ERR_NOT_FOUND);
    EXPECT_EQ(a->getDisplayName(text), SIPLIB_ERR_NOT_FOUND);
    EXPECT_EQ(a->getParameter("tag", text), SIPLIB_ERR_NOT_FOUND);
    EXPECT_EQ(text, "before");
}

TEST(ThePortOfAnAddress, IsTheExplicitOne)
{
    EXPECT_EQ(port(*parse("Contact", "<sip:h:1>")), 1);
    EXPECT_EQ(port(*parse("Contact", "<sips:h:65535;transport=tls>")), 65535);
}

// RFC 3261 section 19.1.2.
TEST(ThePortOfAnAddress, IsTheDefaultOfSchemeAndTransportWhereNoneIsGiven)
{
    for (const char* value :
         {"<sip:h>", "<sip:h;transport=tcp>", "<sip:h;transport=udp>", "<sip:h;transport>", "<sip:h;x=tls>"})
        EXPECT_EQ(port(*parse("Contact", value)), 5060) << value;
    for (const char* value : {"<sips:h>", "SIPS:h", "<sip:h;transport=tls>", "<sip:h;TRANSPORT=Tls>",
                              "sip:h;transport=tls", "<sips:h;transport=tcp>"})
        EXPECT_EQ(port(*parse("Contact", value)), 5061) << value;
    EXPECT_EQ(port(*parse("Contact", "<sip:h;transport=tcp>;transport=tls")), 5060)
        << "the URI's own comes first";
}

TEST(ThePortOfAnAddress, FailsWhenItIsNoPortNumber)
{
    for (const char* value : {"<sip:h:>", "<sip:h:0>", "<sip:h:65536>", "<sip:h:99999999999>", "<sip:h:-1>",
                              "<sip:h:abc>", "<sip:h:5060x;lr>"}) {
        const Address a = parse("Contact", value);
        ASSERT_TRUE(a) << value;
        EXPECT_EQ(port(*a), bad_port) << value;
        EXPECT_EQ(got([&](std::string& s) { return a->getHost(s); }), "h") << value;
    }
}

TEST(AParameterOfAnAddress, IsFoundInTheUriFirstThenInTheHeader)
{
    const Address a =
        parse("Contact",
              "\"A\" <sip:a@h;transport=tcp;lr>;Transport=udp;expires=60;isfocus;i=\"<urn:x \\\"y\\\">\"");
    ASSERT_TRUE(a);
    EXPECT_EQ(parameter(*a, "transport"), "tcp");
    EXPECT_EQ(parameter(*a, "TRANSPORT"), "tcp");
    EXPECT_EQ(parameter(*a, "Expires"), "60");
    EXPECT_EQ(parameter(*a, "lr"), "");
    EXPECT_EQ(parameter(*a, "isfocus"), "");
    EXPECT_EQ(parameter(*a, "i"), "<urn:x \"y\">");
    EXPECT_EQ(parameter(*a, "tag"), none);
    EXPECT_EQ(parameter(*a, ""), none);
    EXPECT_EQ(parameter(*a, ";lr"), none);
}

TEST(AParameterOfAnAddress, IsFoundBehindABareUri)
{
    EXPECT_EQ(parameter(*parse("Contact", "sip:proxy.example.com:5060;transport=tcp"), "transport"), "tcp");
    EXPECT_EQ(parameter(*parse("Route", "sip:proxy.example.com:5060;transport=tcp"), "transport"), "tcp");
}

TEST(SettingAParameter, AppendsItToTheHeader)
{
    const Address a = parse("To", "<sip:a@h;lr>;x=1");
    ASSERT_TRUE(a);
    EXPECT_EQ(a->setParameter("tag", "a1b2"), SIPLIB_OK);
    EXPECT_EQ(printed(*a), "<sip:a@h;lr>;x=1;tag=a1b2");
    EXPECT_EQ(parameter(*a, "TAG"), "a1b2");
    EXPECT_EQ(a->setParameter("flag", ""), SIPLIB_OK);
    EXPECT_EQ(printed(*a), "<sip:a@h;lr>;x=1;tag=a1b2;flag");
    EXPECT_EQ(parameter(*a, "flag"), "");
}

TEST(SettingAParameter, ReplacesTheOneOfThatNameInItsPlace)
{
    const Address a = parse("Contact", "<sip:a@h>;EXPIRES=60;q=1;expires=70");
    ASSERT_TRUE(a);
    EXPECT_EQ(a->setParameter("expires", "3600"), SIPLIB_OK);
    EXPECT_EQ(printed(*a), "<sip:a@h>;expires=3600;q=1");
    EXPECT_EQ(a->setParameter("q", ""), SIPLIB_OK);
    EXPECT_EQ(printed(*a), "<sip:a@h>;expires=3600;q");
}

TEST(SettingAParameter, LeavesTheUriAlone)
{
    const Address a = parse("Contact", "<sip:a@h;transport=tcp>");
    ASSERT_TRUE(a);
    EXPECT_EQ(a->setParameter("transport", "udp"), SIPLIB_OK);
    EXPECT_EQ(printed(*a), "<sip:a@h;transport=tcp>;transport=udp");
    EXPECT_EQ(parameter(*a, "transport"), "tcp");
}

TEST(SettingAParameter, QuotesWhatNeedsQuotes)
{
    const Address a = parse("Contact", "<sip:a@h>");
    ASSERT_TRUE(a);
    EXPECT_EQ(a->setParameter("n", "two words, \"so\""), SIPLIB_OK);
    EXPECT_EQ(a->setParameter("+sip.instance", "\"<urn:uuid:1>\""), SIPLIB_OK);
    EXPECT_EQ(a->setParameter("half", "\"open"), SIPLIB_OK);
    EXPECT_EQ(printed(*a),
              "<sip:a@h>;n=\"two words, \\\"so\\\"\";+sip.instance=\"<urn:uuid:1>\";half=\"\\\"open\"");
    EXPECT_EQ(parameter(*a, "n"), "two words, \"so\"");
    EXPECT_EQ(parameter(*a, "+sip.instance"), "<urn:uuid:1>");
    EXPECT_EQ(parameter(*a, "half"), "\"open");
}

TEST(SettingAParameter, RefusesWhatWouldBreakTheHeader)
{
    const Address a = parse("Contact", "<sip:a@h>;x=1");
    ASSERT_TRUE(a);
    for (const char* name : {"", "a b", "a;b", "a=b", "a\r\nB: c", "\xC3\xA9"})
        EXPECT_EQ(a->setParameter(name, "1"), SIPLIB_ERR_ARGUMENT) << name;
    for (const std::string& value :
         {std::string("1\r\nVia: x"), std::string("1\n"), std::string("1\r"), std::string("1\0", 2)})
        EXPECT_EQ(a->setParameter("x", value), SIPLIB_ERR_ARGUMENT) << value;
    EXPECT_EQ(printed(*a), "<sip:a@h>;x=1");
}

TEST(TheAddressFactory, CanBeReplacedAndRestored)
{
    const Unset restore;
    static std::string seen;
    const auto refuse = [](const std::string& header, const std::string& value) -> SIPLIB_SIPAddress* {
        seen = header + "|" + value;
        return nullptr;
    };
    EXPECT_EQ(SIPLIB_SIPAddress::setFactory(refuse), nullptr);
    EXPECT_FALSE(parse("Route", "<sip:h>"));
    EXPECT_EQ(seen, "Route|<sip:h>");
    EXPECT_NE(SIPLIB_SIPAddress::setFactory(nullptr), nullptr);
    EXPECT_TRUE(parse("Route", "<sip:h>"));
}

TEST(TheAddressFactory, ServesManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 500; ++i)
                for (const Row& row : rows)
                    EXPECT_EQ(printed(*parse(row.header, row.value)), row.text);
        });
    for (std::thread& thread : threads)
        thread.join();
}

// Linear in the length of the value: a megabyte of parameters costs no more than its bytes.
TEST(TheAddressFactory, TakesVeryLongValues)
{
    std::string value = "<sip:a@h>";
    while (value.size() < 1u << 20)
        value += ";p=\"\\\"\"";
    const Address a = parse("Contact", value);
    ASSERT_TRUE(a);
    EXPECT_EQ(printed(*a), value);
    EXPECT_FALSE(parse("Contact", std::string(1u << 20, '"')));
    EXPECT_FALSE(parse("Contact", std::string(1u << 20, '<')));
    EXPECT_FALSE(parse("Contact", "sip:" + std::string(1u << 20, '@')));
}
