#include "xml/proxy_list.h"

#include "tests/support/log_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using imsua::xml::append_proxies;
using imsua::xml::proxies_to_text;
using testing::IsEmpty;

IMS_DA_PROXY_INFO proxy(const char* address, const char* kind, int port)
{
    IMS_DA_PROXY_INFO p;
    p.address = address;
    p.kind = kind;
    p.port = port;
    return p;
}

const LogRecord WRONG{4, "parse_proxy_list", "Wrong number of elements in the proxy_list"};

// Appends the proxies of `text` to none and writes them out again.
std::string through(const std::string& text, char separator = ';')
{
    std::vector<IMS_DA_PROXY_INFO> proxies;
    append_proxies(text, separator, proxies);
    return proxies_to_text(proxies, separator);
}

TEST(AProxyList, IsWrittenAsAddressKindAndPort)
{
    EXPECT_EQ(proxies_to_text({}, ';'), "");
    EXPECT_EQ(proxies_to_text({proxy("10.0.0.1", "pcscf", 5060)}, ';'), "10.0.0.1:pcscf:5060");
    EXPECT_EQ(proxies_to_text({proxy("a", "x", 1), proxy("b", "", -2)}, ';'), "a:x:1;b::-2");
    EXPECT_EQ(proxies_to_text({proxy("a", "x", 1), proxy("b", "y", 2)}, ','), "a:x:1,b:y:2");
}

TEST(AProxyList, KeepsAProxyOfEmptyTextsInItsPlace)
{
    EXPECT_EQ(proxies_to_text({proxy("", "", 0), proxy("b", "y", 2)}, ';'), "::0;b:y:2");
}

TEST(AProxyList, IsReadInOrder)
{
    std::vector<IMS_DA_PROXY_INFO> proxies;
    append_proxies("10.0.0.1:pcscf:5060;host.example.com:backup:5061", ';', proxies);
    ASSERT_EQ(proxies.size(), 2u);
    EXPECT_EQ(proxies[0].address, "10.0.0.1");
    EXPECT_EQ(proxies[0].kind, "pcscf");
    EXPECT_EQ(proxies[0].port, 5060);
    EXPECT_EQ(proxies[1].address, "host.example.com");
    EXPECT_EQ(proxies[1].kind, "backup");
    EXPECT_EQ(proxies[1].port, 5061);
}

TEST(AProxyList, SkipsAnEntryOfAnotherShapeAndKeepsTheRest)
{
    LogRecords log;
    EXPECT_EQ(through("a:x:1;nonsense;b:y:2"), "a:x:1;b:y:2");
    EXPECT_EQ(log.all(), std::vector<LogRecord>{WRONG});
}

TEST(AProxyList, RefusesAddressesWithColons)
{
    LogRecords log;
    EXPECT_EQ(through("fe80::1:x:5060"), "");
    EXPECT_EQ(through("sip:a:x:5060"), "");
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{WRONG, WRONG}));
}

TEST(AProxyList, CountsEmptyEntriesAsWrong)
{
    LogRecords log;
    EXPECT_EQ(through("a:x:1;;b:y:2;"), "a:x:1;b:y:2");
    EXPECT_EQ(log.all(), (std::vector<LogRecord>{WRONG, WRONG}));
}

TEST(AProxyList, KeepsEmptyItems)
{
    EXPECT_EQ(through("::"), "::0");
    EXPECT_EQ(through("a::5"), "a::5");
}

TEST(AProxyList, ReadsAPortByItsLeadingDigits)
{
    EXPECT_EQ(through("a:x:port"), "a:x:0");
    EXPECT_EQ(through("a:x:50 60"), "a:x:50");
    EXPECT_EQ(through("a:x:-7"), "a:x:-7");
    EXPECT_EQ(through("a:x:99999999999"), "a:x:2147483647");
}

TEST(AProxyList, OfNoTextHasNoProxiesAndNoLine)
{
    LogRecords log;
    EXPECT_EQ(through(""), "");
    EXPECT_THAT(log.all(), IsEmpty());
}

TEST(AProxyList, IsAppendedToWhatIsThere)
{
    std::vector<IMS_DA_PROXY_INFO> proxies;
    append_proxies("a:x:1", ';', proxies);
    append_proxies("a:x:1", ';', proxies);
    EXPECT_EQ(proxies_to_text(proxies, ';'), "a:x:1;a:x:1");
}

TEST(AProxyList, MayBeReadFromATextOfItsOwn)
{
    std::vector<IMS_DA_PROXY_INFO> proxies = {proxy("a:x:1;b:y:2;c:z:3", "", 0)};
    proxies.shrink_to_fit();
    append_proxies(proxies[0].address, ';', proxies);
    ASSERT_EQ(proxies.size(), 4u);
    EXPECT_EQ(proxies[3].address, "c");
}

} // namespace
