#include "siplib/uri_text.h"

#include <gtest/gtest.h>

#include <string>

using namespace siplib;

namespace {

// "scheme|user|host|port|params", "-" as port where there is no colon, or "none".
std::string split(std::string_view text)
{
    UriParts parts;
    if (!split_uri(text, parts)) return "none";
    EXPECT_EQ(parts.text, text);
    const std::string port = parts.has_port ? std::string(parts.port) : "-";
    std::string seen(parts.scheme);
    for (const std::string_view part : {parts.user, parts.host, std::string_view(port), parts.params})
        seen.append("|").append(part);
    return seen;
}

struct Row {
    const char* uri;
    const char* parts;
};

void expect_all(const Row* begin, const Row* end)
{
    for (const Row* row = begin; row != end; ++row)
        EXPECT_EQ(split(row->uri), row->parts) << row->uri;
}

} // namespace

TEST(ASipUri, IsTakenApart)
{
    const Row rows[] = {
        {"sip:127.0.0.1", "sip||127.0.0.1|-|"},
        {"sip:a@b", "sip|a|b|-|"},
        {"SIPS:a@b.example.com:5061;transport=tls;lr", "SIPS|a|b.example.com|5061|;transport=tls;lr"},
        {"sip:alice:secret@h;p?Subject=x&to=y%20z", "sip|alice|h|-|;p"},
        {"sip:alice:@h", "sip|alice|h|-|"},
        {"sip:h?Subject=x", "sip||h|-|"},
        {"sip:h:5060?Subject=x", "sip||h|5060|"},
        {"sip:a%20b%40c@h", "sip|a%20b%40c|h|-|"},
        {"sip:+1-212;isub=2?x/,y=&$@h", "sip|+1-212;isub=2?x/,y=&$|h|-|"},
        {"sip:h;maddr=[::1];a=:/&+$", "sip||h|-|;maddr=[::1];a=:/&+$"},
        {"sip:my_host.example.", "sip||my_host.example.|-|"},
        {"sip:a@3com.net", "sip|a|3com.net|-|"},
        {"sip:a@xn--bcher-kva.example", "sip|a|xn--bcher-kva.example|-|"},
    };
    expect_all(std::begin(rows), std::end(rows));
}

// RFC 3261 section 25.1, IPv6reference; RFC 4475 and RFC 5118 show what goes wrong here.
TEST(ASipUri, MayNameAnIpv6Address)
{
    const Row rows[] = {
        {"sip:[::1]", "sip||[::1]|-|"},
        {"sip:a@[2001:db8::10]:5070;lr", "sip|a|[2001:db8::10]|5070|;lr"},
        {"sip:[::ffff:127.0.0.1]:5060", "sip||[::ffff:127.0.0.1]|5060|"},
        {"sip:[2001:db8::10", "none"},
        {"sip:2001:db8::10", "none"},
        {"sip:[127.0.0.1]", "none"},
        {"sip:[]", "none"},
        {"sip:[", "none"},
        {"sip:[::1%25eth0]", "none"},
        {"sip:[::1]5060", "none"},
        {"sip:[1:2:3:4:5:6:7:8:9]", "none"},
        {"sip:[0000:0000:0000:0000:0000:0000:255.255.255.255.255]", "none"},
    };
    expect_all(std::begin(rows), std::end(rows));
}

TEST(ASipUri, IsNothingWithoutAHost)
{
    for (const char* uri :
         {"sip:", "sips:", "sip:a@", "sip:@", "sip::5060", "sip:a@:5060", "sip:;lr", "sip:a@;lr", "sip:?x=y"})
        EXPECT_EQ(split(uri), "none") << uri;
}

TEST(ASipUri, IsRefusedWhenAPartBreaksTheGrammar)
{
    for (const char* uri : {
             "sip:@h",      "sip::p@h",      "sip:a b@h",      "sip:a@h@i",
             "sip:a@b@",    "sip:a%zz@h",    "sip:a%4@h",      "sip:\"a\"@h",
             "sip:a:p:q@h", "sip:a:p;q@h",   "sip:\xC3\xA9@h", "sip:<a@h",
             "sip:a#@h", // user and password
             "sip:h h",     "sip:h%41",      "sip:-h",         "sip:h-",
             "sip:a..b",    "sip:.a",        "sip:.", // host
             "sip:1.2.3",   "sip:1.2.3.4.5", "sip:1.2.3.256",  "sip:example.7com",
             "sip:1",                                        // nearly an IPv4 address
             "sip:h:50 60", "sip:h:50@60",   "sip:h:5060\"", // port
             "sip:h;",      "sip:h;;lr",     "sip:h;a=",       "sip:h;=b",
             "sip:h;a=b=c", "sip:h; lr",     "sip:h;a=\"b\"",  "sip:h?",
             "sip:h?a=b c", "sip:h?a=%4",    "sip:h?a;b", // headers
         })
        EXPECT_EQ(split(uri), "none") << uri;
}

// What is no port number is the port's problem, not the address's: the port's reader fails, the rest is
// there.
TEST(ASipUri, KeepsWhateverStandsWhereAPortBelongs)
{
    const Row rows[] = {
        {"sip:h:", "sip||h||"},
        {"sip:h:0", "sip||h|0|"},
        {"sip:h:99999;lr", "sip||h|99999|;lr"},
        {"sip:h:-1", "sip||h|-1|"},
        {"sip:h:5060x", "sip||h|5060x|"},
        {"sip:h:5060:5061", "sip||h|5060:5061|"},
        {"sip:h:+5060", "sip||h|+5060|"},
    };
    expect_all(std::begin(rows), std::end(rows));
}

TEST(ATelUri, HasANumberAndParametersButNoHost)
{
    const Row rows[] = {
        {"tel:+358-9-123-45678", "tel|+358-9-123-45678||-|"},
        {"TEL:1234;phone-context=example.com", "TEL|1234||-|;phone-context=example.com"},
        {"tel:*#06#", "tel|*#06#||-|"},
        {"tel:", "none"},
        {"tel:;isub=1", "none"},
        {"tel:alice", "none"},
        {"tel:+1;isub=", "none"},
        {"tel:+1 2", "none"},
    };
    expect_all(std::begin(rows), std::end(rows));
}

TEST(AnyOtherUri, IsCheckedAndLeftWhole)
{
    const Row rows[] = {
        {"mailto:watson@bell-telephone.com", "mailto|||-|"},
        {"http://[::1]:80/a?b=c", "http|||-|"},
        {"urn:service:sos.fire", "urn|||-|"},
        {"a+b-c.d1:x", "a+b-c.d1|||-|"},
        {"urn:", "none"},
        {"urn:a b", "none"},
        {"urn:a%2", "none"},
        {"urn:<a>", "none"},
    };
    expect_all(std::begin(rows), std::end(rows));
}

TEST(AnyOtherUri, NeedsAScheme)
{
    for (const char* uri : {"", ":", "h", "a@h", "127.0.0.1:5060", "//h", "1sip:h", "s ip:h", "*", "si%70:h"})
        EXPECT_EQ(split(uri), "none") << uri;
}

TEST(AUri, LeavesTheResultAloneWhenItIsNone)
{
    UriParts parts;
    ASSERT_TRUE(split_uri("sip:alice@h:5060", parts));
    ASSERT_FALSE(split_uri("sips:bob@", parts));
    EXPECT_EQ(parts.user, "alice");
    EXPECT_EQ(parts.kind, UriParts::Kind::sip);
}

TEST(APortNumber, IsOneTo65535InDigits)
{
    EXPECT_EQ(port_number("1"), 1);
    EXPECT_EQ(port_number("5060"), 5060);
    EXPECT_EQ(port_number("05060"), 5060);
    EXPECT_EQ(port_number("65535"), 65535);
    for (const char* bad : {"", "0", "000", "65536", "4294972356", "99999999999999999999", "-1", "+1", " 1",
                            "1 ", "0x10", "5060x"})
        EXPECT_EQ(port_number(bad), 0) << bad;
}
